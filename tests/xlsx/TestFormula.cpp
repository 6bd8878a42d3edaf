// Reference rewriting in formula text: row insertion, copying, sheet rename, quoting.
#include "Formula.h"
#include "Workbook.h"

#include <gtest/gtest.h>

using namespace xlsx::detail;

namespace
{
std::string ins(const std::string& f, const std::string& own = "Sheet1", int top = 10, int n = 5)
{
    return shiftForInsert(f, own, "Sheet1", top, n).value_or(f);
}
std::string copy(const std::string& f, int rows, int cols = 0)
{
    return shiftForCopy(f, rows, cols).value_or(f);
}
} // namespace

TEST(XlsxFormula, InsertingRowsMovesReferencesAtOrBelowTheRowAndGrowsRanges)
{
    EXPECT_EQ(ins("A9+A10+$B$11"), "A9+A15+$B$16");
    EXPECT_EQ(ins("SUM(H8:H47)"), "SUM(H8:H52)");
    EXPECT_EQ(ins("SUM(H10:H47)"), "SUM(H15:H52)");
    EXPECT_EQ(ins("SUM(H1:H9)"), "SUM(H1:H9)");
    EXPECT_EQ(ins("SUM(A:A)+SUM(3:12)"), "SUM(A:A)+SUM(3:17)");
    EXPECT_EQ(ins("Sheet1!A12"), "Sheet1!A17");
    EXPECT_EQ(ins("sheet1!A12"), "sheet1!A17"); // names compare without case
    EXPECT_EQ(ins("Other!A12+A12", "Other"), "Other!A12+A12");
    EXPECT_EQ(ins("Sheet1!A12+A12", "Other"), "Sheet1!A17+A12");
    EXPECT_EQ(ins("'Sheet1'!$A$12", ""), "'Sheet1'!$A$17");
    EXPECT_EQ(ins("A12", ""), "A12"); // an unqualified name refers to no sheet
    // things that look like references but are not
    EXPECT_EQ(ins("\"A12\"&LOG10(A12)&TRUE"), "\"A12\"&LOG10(A17)&TRUE");
    EXPECT_EQ(ins("[1]Sheet1!A12+Table1[[#This Row],[A12]]"), "[1]Sheet1!A12+Table1[[#This Row],[A12]]");
    EXPECT_EQ(ins("1.5E+12*A12"), "1.5E+12*A17");
    EXPECT_EQ(ins("ABCD12+XFD12+R1C1"), "ABCD12+XFD17+R1C1");
    EXPECT_EQ(ins("A1048576", "Sheet1", 10, 0), "A1048576");
    // what reaches the last row ends there, what is pushed off becomes #REF! (or leaves a sqref)
    EXPECT_EQ(ins("A1048575+SUM(A12:A1048576)+SUM(A2:A1048576)"), "#REF!+SUM(A17:A1048576)+SUM(A2:A1048576)");
    EXPECT_EQ(*shiftSqrefForInsert("A1048575 B3 C20:C1048576", 10, 5), "B3 C25:C1048576");
    EXPECT_EQ(*shiftSqrefForInsert("A1048575", 10, 5), "");
    EXPECT_EQ(
        *renameTableInFormula("SUM(Table1[Qty])&\"Table1[x]\"&table1[#Totals]&MyTable1[a]", "Table1", "T_2"),
        "SUM(T_2[Qty])&\"Table1[x]\"&T_2[#Totals]&MyTable1[a]");
    bool threeD = false;
    shiftForInsert("SUM(Sheet1:Sheet3!A12)", "X", "Sheet1", 10, 5, &threeD);
    EXPECT_TRUE(threeD);
    threeD = false;
    shiftForInsert("SUM('部品 表:集計'!A12)", "X", "Sheet1", 10, 5, &threeD);
    EXPECT_TRUE(threeD);
    // text that is not changed comes back as nullopt (written back byte-identical)
    EXPECT_FALSE(shiftForInsert("SUM( A1 , B2 )", "Sheet1", "Sheet1", 10, 5).has_value());
    EXPECT_EQ(*shiftForInsert("SUM( A1 , B20 )", "Sheet1", "Sheet1", 10, 5), "SUM( A1 , B25 )");
    EXPECT_EQ(*shiftSqrefForInsert("A8:H47 B3 C20", 10, 50), "A8:H97 B3 C70");
}

TEST(XlsxFormula, CopyingMovesRelativePartsOnly)
{
    EXPECT_EQ(copy("SUM(H8:H47)", 50), "SUM(H58:H97)");
    EXPECT_EQ(copy("$A8+A$8+$A$8+A8", 50), "$A58+A$8+$A$8+A58");
    EXPECT_EQ(copy("A1+B2", 0, 2), "C1+D2");
    EXPECT_EQ(copy("'部品表'!B3&部品表!B4", 50), "'部品表'!B53&部品表!B54");
    EXPECT_EQ(copy("A2", -5), "#REF!");
    EXPECT_EQ(copy("A:A+3:3", 10, 1), "B:B+13:13");
    EXPECT_EQ(*shiftSqrefForCopy("A8:H47 B3", 100), "A108:H147 B103");
}

TEST(XlsxFormula, RenameRequotesQualifiers)
{
    EXPECT_EQ(*renameSheetInFormula("Sheet1!A1+'Sheet1'!B2+Other!C3", "sheet1", "部品表"),
              "'部品表'!A1+'部品表'!B2+Other!C3");
    EXPECT_EQ(*renameSheetInFormula("'部品表'!A1", "部品表", "Parts"), "Parts!A1");
    EXPECT_EQ(*renameSheetInFormula("'a b'!A1:B2", "a b", "O'Neil"), "'O''Neil'!A1:B2");
    EXPECT_FALSE(renameSheetInFormula("\"Sheet1!A1\"", "Sheet1", "X").has_value());
    EXPECT_EQ(quoteSheetName("Sheet1"), "Sheet1");
    EXPECT_EQ(quoteSheetName("A1"), "'A1'");
    EXPECT_EQ(quoteSheetName("R2C3"), "'R2C3'");
    EXPECT_EQ(quoteSheetName("1st"), "'1st'");
    EXPECT_EQ(quoteSheetName("部品表"), "'部品表'");
    EXPECT_EQ(columnName(1), "A");
    EXPECT_EQ(columnName(26), "Z");
    EXPECT_EQ(columnName(27), "AA");
    EXPECT_EQ(columnName(16384), "XFD");
    int r = 0, c = 0;
    EXPECT_TRUE(parseCellRef("XFD1048576", r, c));
    EXPECT_EQ(r, 1048576);
    EXPECT_EQ(c, 16384);
    EXPECT_FALSE(parseCellRef("XFE1", r, c));
    EXPECT_FALSE(parseCellRef("A0", r, c));
    EXPECT_FALSE(parseCellRef("A1048577", r, c));
    EXPECT_FALSE(parseCellRef("A1x", r, c));
}
