#include "JapaneseEra.h"

#include <array>

namespace
{
struct Era {
    int year, month, day;
    const char16_t* name;
    char16_t letter; // as dates are abbreviated: "R7.3.1"
};
// First days of the eras, newest first.
constexpr std::array<Era, 5> kEras{{
    {2019, 5, 1, u"令和", u'R'},
    {1989, 1, 8, u"平成", u'H'},
    {1926, 12, 25, u"昭和", u'S'},
    {1912, 7, 30, u"大正", u'T'},
    {1868, 1, 25, u"明治", u'M'},
}};
} // namespace

EraYear JapaneseEra(const QDate& date)
{
    for (const Era& era : kEras) {
        const QDate first(era.year, era.month, era.day);
        if (date >= first)
            return {QString::fromUtf16(era.name), date.year() - era.year + 1};
    }
    return {QString(), date.year()};
}

int EraFirstYear(const QString& era)
{
    for (const Era& e : kEras)
        if (era == QString::fromUtf16(e.name) || (era.size() == 1 && era[0].toUpper() == QChar(e.letter)))
            return e.year;
    return 0;
}

QString JapaneseEraDateTime(const QDateTime& when)
{
    const QDate d = when.date();
    const EraYear era = JapaneseEra(d);
    const QString year =
        era.year == 1 && !era.name.isEmpty() ? QStringLiteral("元") : QString::number(era.year);
    return era.name + year + QStringLiteral("年") + QString::number(d.month()) + QStringLiteral("月") +
           QString::number(d.day()) + QStringLiteral("日 ") +
           when.time().toString(QStringLiteral("hh:mm:ss"));
}
