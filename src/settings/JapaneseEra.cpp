#include "JapaneseEra.h"

#include <array>

namespace
{
struct Era {
    int year, month, day;
    const char16_t* name;
};
// First days of the eras, newest first.
constexpr std::array<Era, 5> kEras{{
    {2019, 5, 1, u"令和"},
    {1989, 1, 8, u"平成"},
    {1926, 12, 25, u"昭和"},
    {1912, 7, 30, u"大正"},
    {1868, 1, 25, u"明治"},
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
