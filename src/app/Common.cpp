#include "Common.h"

#include "AppContext.h"
#include "IniAccess.h"
#include "RuntimeError.h"

#include <QDir>
#include <QLocale>

#include <algorithm>
#include <cmath>
#include <limits>

int StrictInt(const QString& text)
{
    bool ok = false;
    const QString t = text.trimmed();
    const double d = t.toDouble(&ok);
    if (!ok || t.isEmpty())
        throw RuntimeError::typeMismatch();
    if (d > 2147483647.0 || d < -2147483648.0)
        throw RuntimeError::overflow();
    return int(std::nearbyint(d)); // the default rounding mode rounds halves to even
}

int StrictIntSetting(IniAccess& ini, const QString& section, const QString& key)
{
    const QString value = ini.get(section, key);
    try {
        return StrictInt(value);
    } catch (const RuntimeError& e) {
        throw e.withCause(QStringLiteral("設定ファイル %1 の [%2] キー %3 の値「%4」")
                              .arg(QDir::toNativeSeparators(ini.iniPath()), section, key, value));
    }
}

long long LenientInt(const QString& text)
{
    const QString t = text.trimmed();
    const auto isDigit = [&t](qsizetype i) { return i < t.size() && t[i] >= u'0' && t[i] <= u'9'; };
    qsizetype end = 0;
    if (end < t.size() && (t[end] == u'-' || t[end] == u'+'))
        ++end;
    bool digits = false;
    while (isDigit(end)) {
        ++end;
        digits = true;
    }
    if (end < t.size() && t[end] == u'.') {
        ++end;
        while (isDigit(end)) {
            ++end;
            digits = true;
        }
    }
    if (!digits)
        return 0;
    // An exponent belongs to the number only when digits follow it ("1e2" is 100, "1e" is 1).
    if (end < t.size() && (t[end] == u'e' || t[end] == u'E')) {
        qsizetype e = end + 1;
        if (e < t.size() && (t[e] == u'-' || t[e] == u'+'))
            ++e;
        if (isDigit(e)) {
            while (isDigit(e))
                ++e;
            end = e;
        }
    }
    const double d = t.left(end).toDouble();
    // Far too large numbers stay far too large, so a checked conversion after this reports them.
    if (d >= 9.0e18)
        return std::numeric_limits<long long>::max();
    if (d <= -9.0e18)
        return std::numeric_limits<long long>::min();
    return static_cast<long long>(std::nearbyint(d)); // the default rounding mode rounds halves to even
}

QStringList ReadList(IniAccess& ini, const QString& section)
{
    const int count = StrictIntSetting(ini, section, QStringLiteral("MAX"));
    QStringList items;
    for (int i = 1; i <= count; ++i)
        items << ini.get(section, QString::number(i));
    return items;
}

QString AddToList(IniAccess& ini, const QString& section, const QString& value)
{
    const int count = StrictIntSetting(ini, section, QStringLiteral("MAX"));
    bool hit = false;
    for (int i = 1; i <= count; ++i) {
        if (ini.find(section, QString::number(i)) == value)
            hit = true;
    }
    if (hit)
        return QStringLiteral("OK");
    // A typed text that the settings file cannot hold is refused before anything is written, so the
    // list never gains a count without its item. Nothing changed: the drop-down stays as it is.
    if (!ini.CheckStorable(ini.iniPath(), value))
        return QStringLiteral("OK");
    ini.put(section, QStringLiteral("MAX"), QString::number(count + 1));
    ini.put(section, QString::number(count + 1), value);
    return QStringLiteral("REWRITE");
}

bool CheckNumberText(QString& text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        const bool rejected = (c == u'-' && i > 0) || (c >= 32 && c < 45) || c == u'/' || c > u'9';
        if (rejected) {
            // A character outside the basic plane is one character to the user: remove both halves.
            const bool pair =
                text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
            text.remove(i, pair ? 2 : 1);
            return true;
        }
    }
    return false;
}

QString DigitsOnly(const QString& text)
{
    QString out;
    for (QChar c : text)
        if (c >= u'0' && c <= u'9')
            out += c;
    return out;
}

int DigitsValue(const QString& text)
{
    const QString d = DigitsOnly(text);
    if (d.isEmpty())
        return 0;
    if (d.size() > 10)
        throw RuntimeError::overflow();
    const long long v = d.toLongLong();
    if (v > 2147483647LL)
        throw RuntimeError::overflow();
    return int(v);
}

namespace
{
// The digits of an item number without leading zeros: equal length compares as text, a longer one
// is the larger number.
QString ItemDigits(const QString& text)
{
    QString d = DigitsOnly(text);
    qsizetype zeros = 0;
    while (zeros < d.size() && d[zeros] == u'0')
        ++zeros;
    return d.mid(zeros);
}

bool SameGroup(const QString& a, const QString& b, bool asciiCase)
{
    if (!asciiCase)
        return a.compare(b, Qt::CaseInsensitive) == 0;
    if (a.size() != b.size())
        return false;
    for (qsizetype i = 0; i < a.size(); ++i) {
        char16_t x = a[i].unicode(), y = b[i].unicode();
        if (x >= u'a' && x <= u'z')
            x = char16_t(x - 32);
        if (y >= u'a' && y <= u'z')
            y = char16_t(y - 32);
        if (x != y)
            return false;
    }
    return true;
}
} // namespace

QList<int> ItemNumberOrder(const QStringList& itemNumbers, const QStringList& groups, bool asciiCase)
{
    const qsizetype n = itemNumbers.size();
    QList<int> order(n);
    QList<int> group(n, 0);
    QStringList digits;
    digits.reserve(n);
    for (qsizetype i = 0; i < n; ++i) {
        order[i] = int(i);
        digits << ItemDigits(itemNumbers[i]);
        if (i > 0 && i < groups.size())
            group[i] = group[i - 1] + (SameGroup(groups[i], groups[i - 1], asciiCase) ? 0 : 1);
    }
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        if (group[a] != group[b])
            return group[a] < group[b];
        const QString &x = digits[a], &y = digits[b];
        if (x.size() != y.size())
            return x.size() < y.size();
        return x < y;
    });
    return order;
}

QString DecimalText(double value)
{
    return QLocale::c().toString(value, 'f', QLocale::FloatingPointShortest);
}

bool NotTrue(int flag)
{
    return flag != kTrue;
}

QString FlagText(int flag)
{
    return flag == kTrue ? QStringLiteral("1") : QStringLiteral("0");
}

Int16 LastIndex(Int16 start, const QString& countText)
{
    return Int16::from(StrictInt(countText)) + start - Int16::from(1);
}

bool TextIsTrue(const QString& text)
{
    const QString t = text.trimmed();
    if (t.isEmpty())
        return false;
    if (t.compare(u"true", Qt::CaseInsensitive) == 0)
        return true;
    if (t.compare(u"false", Qt::CaseInsensitive) == 0)
        return false;
    bool ok = false;
    const double d = t.toDouble(&ok);
    return ok && d != 0.0;
}

void EnableMenuButtons(const AppContext& ctx, bool enabled)
{
    if (ctx.enableMenuButtons)
        ctx.enableMenuButtons(enabled);
}
