#include "QuantityNotation.h"

#include <QRegularExpression>

namespace
{
const QRegularExpression& numberAtStart()
{
    static const QRegularExpression re(QStringLiteral("^(-?[0-9]+(?:\\.[0-9]+)?)(.*)$"));
    return re;
}
bool isNumber(const QString& text)
{
    static const QRegularExpression re(QStringLiteral("^-?[0-9]+(?:\\.[0-9]+)?$"));
    return re.match(text).hasMatch();
}
} // namespace

bool ParseQuantityHalf(const QString& half, QString& qty, QString& unit)
{
    qty.clear();
    unit.clear();
    if (half.isEmpty())
        return true;
    // Unit words written in front of the quantity.
    for (QStringView word : {QStringView(u"R/L×"), QStringView(u"L/R×"), QStringView(u"計")}) {
        if (half.startsWith(word) && isNumber(half.mid(word.size()))) {
            unit = word.toString();
            qty = half.mid(word.size());
            return true;
        }
    }
    for (QStringView side : {QStringView(u"R="), QStringView(u"L=")}) {
        if (half.startsWith(side) && isNumber(half.mid(2))) {
            unit = side.left(1).toString();
            qty = half.mid(2);
            return true;
        }
    }
    const auto m = numberAtStart().match(half);
    if (!m.hasMatch())
        return false;
    qty = m.captured(1);
    // "3 個" and "3　個" are the unit "個": the blank only sets it off from the number.
    unit = m.captured(2);
    while (!unit.isEmpty() && unit.front().isSpace())
        unit.remove(0, 1);
    return true;
}

bool ParseQuantityText(const QString& text, QuantityPair& out)
{
    out = {};
    if (text.isEmpty())
        return true;
    // The halves are joined by one blank; a unit may hold blanks of its own, so the first blank at
    // which both halves read as quantities is the joint. A first half of zero is left out (" L=3").
    for (qsizetype i = text.indexOf(u' '); i >= 0; i = text.indexOf(u' ', i + 1)) {
        QuantityPair p;
        const QString first = text.left(i);
        const QString second = text.mid(i + 1);
        if (second.isEmpty())
            continue;
        if (ParseQuantityHalf(first, p.qty1, p.unit1) && ParseQuantityHalf(second, p.qty2, p.unit2) &&
            !p.qty2.isEmpty()) {
            out = p;
            return true;
        }
    }
    QuantityPair p;
    if (ParseQuantityHalf(text, p.qty1, p.unit1)) {
        out = p;
        return true;
    }
    return false;
}
