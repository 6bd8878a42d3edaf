// Reference rewriting in formula text: row insertion, copying, sheet rename, quoting.
#include "Formula.h"
#include "Workbook.h"

#include <gtest/gtest.h>

using namespace xlsx::detail;

TEST(XlsxFormula, InsertingRowsMovesReferencesAtOrBelowTheRowAndGrowsRanges)
{
    // formula, sheet it stands on -> after inserting 5 rows above row 10 of Sheet1
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"A9+A10+$B$11", "Sheet1", "A9+A15+$B$16"},
        {"SUM(H8:H47)", "Sheet1", "SUM(H8:H52)"},
        {"SUM(H10:H47)", "Sheet1", "SUM(H15:H52)"},
        {"SUM(H1:H10)", "Sheet1", "SUM(H1:H15)"}, // a range ending on the row grows too
        {"SUM(H1:H9)", "Sheet1", "SUM(H1:H9)"},
        {"SUM(A:A)+SUM(3:12)", "Sheet1", "SUM(A:A)+SUM(3:17)"},
        {"sheet1!A12", "Sheet1", "sheet1!A17"}, // names compare without case
        {"Other!A12+A12", "Other", "Other!A12+A12"},
        {"Sheet1!A12+A12", "Other", "Sheet1!A17+A12"},
        {"'Sheet1'!$A$12", "", "'Sheet1'!$A$17"},
        {"A12", "", "A12"}, // an unqualified name refers to no sheet
        // things that look like references but are not
        {"\"A12\"&LOG10(A12)&TRUE", "Sheet1", "\"A12\"&LOG10(A17)&TRUE"},
        {"[1]Sheet1!A12+Table1[[#This Row],[A12]]", "Sheet1", "[1]Sheet1!A12+Table1[[#This Row],[A12]]"},
        {"1.5E+12*A12", "Sheet1", "1.5E+12*A17"},
        {"ABCD12+XFD12+R1C1", "Sheet1", "ABCD12+XFD17+R1C1"},
        // what reaches the last row ends there, what is pushed off becomes #REF!
        {"A1048575+SUM(A12:A1048576)+SUM(A2:A1048576)", "Sheet1", "#REF!+SUM(A17:A1048576)+SUM(A2:A1048576)"},
    };
    for (auto& [formula, own, shifted] : cases)
        EXPECT_EQ(shiftForInsert(formula, own, "Sheet1", 10, 5).value_or(formula), shifted) << formula;
    EXPECT_EQ(*shiftSqrefForInsert("A1048575 B3 C20:C1048576", 10, 5), "B3 C25:C1048576");
    EXPECT_EQ(*shiftSqrefForInsert("A1048575", 10, 5), "");
    EXPECT_EQ(
        *renameTableInFormula("SUM(Table1[Qty])&\"Table1[x]\"&table1[#Totals]&MyTable1[a]", "Table1", "T_2"),
        "SUM(T_2[Qty])&\"Table1[x]\"&T_2[#Totals]&MyTable1[a]");
    for (const char* threeD : {"SUM(Sheet1:Sheet3!A12)", "SUM('部品 表:集計'!A12)"}) {
        bool seen = false;
        shiftForInsert(threeD, "X", "Sheet1", 10, 5, &seen);
        EXPECT_TRUE(seen) << threeD;
    }
    // text that is not changed comes back as nullopt (written back byte-identical)
    EXPECT_FALSE(shiftForInsert("SUM( A1 , B2 )", "Sheet1", "Sheet1", 10, 5).has_value());
    EXPECT_EQ(*shiftForInsert("SUM( A1 , B20 )", "Sheet1", "Sheet1", 10, 5), "SUM( A1 , B25 )");
    EXPECT_EQ(*shiftSqrefForInsert("A8:H47 B3 C20", 10, 50), "A8:H97 B3 C70");
}

TEST(XlsxFormula, CopyingMovesRelativePartsOnly)
{
    // formula, rows, columns -> copied
    const std::tuple<const char*, int, int, const char*> cases[] = {
        {"SUM(H8:H47)", 50, 0, "SUM(H58:H97)"},
        {"$A8+A$8+$A$8+A8", 50, 0, "$A58+A$8+$A$8+A58"},
        {"A1+B2", 0, 2, "C1+D2"},
        {"'部品表'!B3&部品表!B4", 50, 0, "'部品表'!B53&部品表!B54"},
        {"A2", -5, 0, "#REF!"},
        {"A:A+3:3", 10, 1, "B:B+13:13"},
    };
    for (auto& [formula, rows, cols, copied] : cases)
        EXPECT_EQ(shiftForCopy(formula, rows, cols).value_or(formula), copied) << formula;
    EXPECT_EQ(*shiftSqrefForCopy("A8:H47 B3", 100), "A108:H147 B103");
}

TEST(XlsxFormula, RenameRequotesQualifiersAndReferencesParse)
{
    EXPECT_EQ(*renameSheetInFormula("Sheet1!A1+'Sheet1'!B2+Other!C3", "sheet1", "部品表"),
              "'部品表'!A1+'部品表'!B2+Other!C3");
    EXPECT_EQ(*renameSheetInFormula("'部品表'!A1", "部品表", "Parts"), "Parts!A1");
    EXPECT_EQ(*renameSheetInFormula("'a b'!A1:B2", "a b", "O'Neil"), "'O''Neil'!A1:B2");
    EXPECT_FALSE(renameSheetInFormula("\"Sheet1!A1\"", "Sheet1", "X").has_value());
    for (auto& [name, quoted] : {std::pair{"Sheet1", "Sheet1"},
                                 {"A1", "'A1'"},
                                 {"R2C3", "'R2C3'"},
                                 {"1st", "'1st'"},
                                 {"部品表", "'部品表'"}})
        EXPECT_EQ(quoteSheetName(name), quoted);
    EXPECT_EQ(columnName(1) + columnName(26) + columnName(27) + columnName(16384), "AZAAXFD");
    int r = 0, c = 0;
    EXPECT_TRUE(parseCellRef("XFD1048576", r, c));
    EXPECT_EQ(r * 100000LL + c, 1048576LL * 100000 + 16384);
    for (const char* bad : {"XFE1", "A0", "A1048577", "A1x"})
        EXPECT_FALSE(parseCellRef(bad, r, c)) << bad;
}
