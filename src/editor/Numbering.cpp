#include "Numbering.h"

#include "Common.h"
#include "PartsGrid.h"
#include "RuntimeError.h"

#include <cmath>
#include <limits>

int AssemblyBase(const QString& assy)
{
    const qsizetype dash = assy.lastIndexOf(u'-');
    const QString kept = dash < 0 ? assy : assy.left(dash);
    return DigitsValue(kept);
}

QString ThreeDigits(long long n)
{
    if (n < 0)
        return u'-' + QString::number(-n).rightJustified(3, u'0');
    return QString::number(n).rightJustified(3, u'0');
}

QString ItemNumberText(int base, int line, int start)
{
    const long long n = static_cast<long long>(base) + line + start - 1;
    if (n > std::numeric_limits<int>::max() || n < std::numeric_limits<int>::min())
        throw RuntimeError::overflow();
    return ThreeDigits(n);
}

QString FormatStoredZno(const QString& zno)
{
    const QString t = zno.trimmed();
    bool ok = false;
    const double d = t.toDouble(&ok);
    if (!ok || t.isEmpty() || std::abs(d) > 9.0e15)
        return zno;
    return ThreeDigits(static_cast<long long>(std::nearbyint(d)));
}

void Renumber(PartsGrid& grid, const QString& assy, int start)
{
    const int base = AssemblyBase(assy);
    // Check the largest number first, so that an overflow leaves the grid as it was.
    if (grid.lineCount() > 0)
        ItemNumberText(base, grid.lineCount(), start);
    const QString abolished = QStringLiteral("廃止");
    grid.rewriteNumbers([&](int row, PartsGrid::Cells& c) {
        c[EditorCol::No] = TextIsTrue(c[EditorCol::Haishi]) ? abolished : QString::number(row);
        const QString zno = ItemNumberText(base, row, start);
        c[EditorCol::Zno] = TextIsTrue(c[EditorCol::Kakko]) ? u'(' + zno + u')' : zno;
    });
}

StartNumberResult CheckStartNumber(QString& text, int& value)
{
    if (text.isEmpty() || CheckNumberText(text))
        return StartNumberResult::NotNumber;
    bool ok = false;
    const double d = text.toDouble(&ok);
    if (!ok)
        return StartNumberResult::NotNumber;
    const double r = std::nearbyint(d);
    if (r > 99 || r < 0)
        return StartNumberResult::OutOfRange;
    value = int(r);
    return StartNumberResult::Ok;
}
