#pragma once

#include <QString>
#include <Qt>
#include <algorithm>
#include <array>

// The editor grid's fifteen columns. Column 0 is the fixed left column (line number or mark);
// columns 12 to 14 carry the stored row's identity and its two yes/no values and are never shown.
namespace EditorCol
{
enum : int {
    No = 0,       // line number, "廃止" or "追加"
    Zno = 1,      // CH_ZNO
    Hinmei = 2,   // CH_HINMEI
    Zaishitu = 3, // CH_ZAISHITU
    Suryo = 4,    // INT_SURYO
    Tani = 5,     // CH_TANI
    Suryo2 = 6,   // INT_SURYO2
    Tani2 = 7,    // CH_TANI2
    Biko = 8,     // CH_BIKO
    Tanka = 9,    // INT_TANKA
    Kingk = 10,   // INT_KINGK
    Maker = 11,   // CH_MAKER
    Number = 12,  // INT_NUMBER, empty for a line never stored
    Haishi = 13,  // CH_HAISHI
    Kakko = 14,   // CH_KAKKO
    Count = 15
};

struct ColumnSpec {
    const char16_t* header;
    int twips; // 0 hides the column
    Qt::Alignment alignment;
};

// Header texts (full-width blanks between characters where the users know them), widths in twips
// and alignments of the data cells.
inline const std::array<ColumnSpec, Count>& specs()
{
    static const std::array<ColumnSpec, Count> s{{
        {u"№", 500, Qt::AlignCenter},
        {u"図番№", 700, Qt::AlignLeft | Qt::AlignVCenter},
        {u"品　　名", 3000, Qt::AlignLeft | Qt::AlignVCenter},
        {u"材　質", 3000, Qt::AlignLeft | Qt::AlignVCenter},
        {u"数量", 700, Qt::AlignRight | Qt::AlignVCenter},
        {u"単位", 600, Qt::AlignLeft | Qt::AlignVCenter},
        {u"数量", 700, Qt::AlignRight | Qt::AlignVCenter},
        {u"単位", 600, Qt::AlignLeft | Qt::AlignVCenter},
        {u"備　考", 3000, Qt::AlignLeft | Qt::AlignVCenter},
        {u"単　価", 800, Qt::AlignRight | Qt::AlignVCenter},
        {u"金　額", 1000, Qt::AlignRight | Qt::AlignVCenter},
        {u"メーカー", 5000, Qt::AlignLeft | Qt::AlignVCenter},
        {u"", 0, Qt::AlignLeft | Qt::AlignVCenter},
        {u"", 0, Qt::AlignLeft | Qt::AlignVCenter},
        {u"", 0, Qt::AlignLeft | Qt::AlignVCenter},
    }};
    return s;
}

inline QString headerText(int col)
{
    return QString::fromUtf16(specs()[size_t(col)].header);
}

// Columns whose cells hold numbers: typed text there must pass the number check.
inline bool isNumberColumn(int col)
{
    return col == Suryo || col == Suryo2 || col == Tanka || col == Kingk;
}

// Columns the user may type into directly in the grid.
inline bool isEditableColumn(int col)
{
    return col >= Hinmei && col <= Maker;
}

// Twips to pixels at a resolution in dots per inch.
inline int twipsToPixels(int twips, int dpi)
{
    return (twips * dpi + 720) / 1440;
}

// The widths above were set for a screen font whose digit is 90 twips wide. A column keeps its
// share of the grid with the digits of the font in use, and a number column holds at least its
// longest usual value (quantity 1000000.5, unit price 1234567.89, amount 123456789.12) and its
// caption: pixels, given the width of a digit and the padding of a cell in pixels.
inline int columnPixels(int col, int dpi, int digitPixels, int padding)
{
    const int twips = specs()[size_t(col)].twips;
    const int scaled = twipsToPixels(twips, dpi) * std::max(digitPixels, twipsToPixels(90, dpi)) /
                       std::max(1, twipsToPixels(90, dpi));
    int digits = 0;
    if (col == Suryo || col == Suryo2)
        digits = 9;
    else if (col == Tanka)
        digits = 10;
    else if (col == Kingk)
        digits = 12;
    return std::max(scaled, digits * digitPixels + padding);
}
} // namespace EditorCol
