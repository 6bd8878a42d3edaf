// The workbook engine against real template files: round trips, filling pages, refusals, damaged and
// hostile files, and a bounded fuzz loop over corrupted copies.
#include "Workbook.h"
#include "XlsxTestSupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <random>
#include <regex>
#include <set>

using namespace xlsxtest;

namespace
{
// The first group of every match of a pattern.
std::vector<std::string> captures(const std::string& text, const std::string& pattern)
{
    std::vector<std::string> out;
    const std::regex re(pattern);
    for (auto it = std::sregex_iterator(text.begin(), text.end(), re); it != std::sregex_iterator(); ++it)
        out.push_back((*it)[1]);
    return out;
}

bool unique(const std::vector<std::string>& v)
{
    return std::set<std::string>(v.begin(), v.end()).size() == v.size();
}

Layout layout(const std::string& file)
{
    for (auto& l : templateLayouts())
        if (l.file == file)
            return l;
    throw std::runtime_error("no layout " + file);
}
} // namespace

TEST(XlsxWorkbook, UneditedWorkbooksStayAsTheyWere)
{
    TempDir dir("roundtrip");
    for (auto& l : templateLayouts()) {
        SCOPED_TRACE(l.file);
        auto out = dir / ("rt_" + l.file);
        {
            auto book = xlsx::Workbook::open(dataFile(l.file));
            for (std::size_t i = 0; i < book.sheetCount(); ++i) // reading is no change
                for (int r = 1; r <= book.sheet(i).lastUsedRow(); ++r)
                    (void)book.sheet(i).cellText(r, 1);
            EXPECT_FALSE(book.modified());
            book.saveAs(out);
        }
        EXPECT_EQ(zipParts(out), zipParts(dataFile(l.file)));
        auto before = readBytes(out);
        xlsx::Workbook::open(out).save(); // saved in place unchanged: the file stays as it was
        EXPECT_EQ(readBytes(out), before);
    }
}

TEST(XlsxWorkbook, PastedPagesCarryFormulasAnchorsValidationsAndReferences)
{
    TempDir dir("pages");
    // formulas: the page total follows each page, other sheets and names follow the rename
    auto out = dir / "formulas.xlsx";
    fillThreePages(layout("formulas.xlsx"), out);
    {
        auto book = xlsx::Workbook::open(out);
        auto& ws = book.sheet("DWG-2024-0815-A 01");
        EXPECT_EQ(ws.cellFormula(48, 8), "SUM(H8:H47)");
        EXPECT_EQ(ws.cellFormula(148, 8), "SUM(H108:H147)");
        EXPECT_EQ(ws.cellFormula(148, 7), "COUNTA(B108:B147)");
        // pages are added below the first one: references to the first page stay where they were
        auto& sum = book.sheet("集計");
        EXPECT_EQ(sum.cellFormula(1, 2), "'DWG-2024-0815-A 01'!H48");
        EXPECT_EQ(sum.cellFormula(2, 2), "SUM('DWG-2024-0815-A 01'!$H$8:$H$47)");
        EXPECT_EQ(sum.cellFormula(3, 2), "'DWG-2024-0815-A 01'!B3&\"/\"&'DWG-2024-0815-A 01'!B4");
        std::string wb = partOf(out, "xl/workbook.xml");
        EXPECT_NE(wb.find("<definedName name=\"頁合計\">'DWG-2024-0815-A 01'!$H$48<"), std::string::npos)
            << wb;
        EXPECT_NE(wb.find("fullCalcOnLoad=\"1\""), std::string::npos);
        // cached results are dropped so that no reader prints stale totals
        EXPECT_EQ(partOf(out, "xl/worksheets/sheet1.xml").find("</f><v>"), std::string::npos);
    }
    // logo: one picture per page anchored in its page's header, ids unique; a link in each page's
    // last row with a relationship of its own
    out = dir / "logo.xlsx";
    fillThreePages(layout("logo.xlsx"), out);
    std::string drawing = partOf(out, "xl/drawings/drawing1.xml");
    EXPECT_EQ(
        captures(drawing, "<xdr:from><xdr:col>4</xdr:col><xdr:colOff>[0-9]+</xdr:colOff><xdr:row>([0-9]+)<"),
        (std::vector<std::string>{"2", "52", "102"}));
    auto ids = captures(drawing, "<xdr:cNvPr id=\"([0-9]+)\"");
    EXPECT_TRUE(ids.size() == 3 && unique(ids)) << drawing;
    std::string sheet = partOf(out, "xl/worksheets/sheet1.xml");
    std::string rels = partOf(out, "xl/worksheets/_rels/sheet1.xml.rels");
    EXPECT_EQ(captures(sheet, "<hyperlink ref=\"(A[0-9]+)\""),
              (std::vector<std::string>{"A50", "A100", "A150"}));
    auto links = captures(sheet, "<hyperlink ref=\"A[0-9]+\" r:id=\"(rId[0-9]+)\"");
    EXPECT_TRUE(links.size() == 3 && unique(links));
    for (auto& id : links)
        EXPECT_NE(rels.find("Id=\"" + id +
                            "\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/"
                            "relationships/hyperlink\" Target=\"https://example.co.jp/parts\""),
                  std::string::npos)
            << rels;
    // validations and conditional formats are copied with each page, priorities kept unique
    out = dir / "validation.xlsx";
    fillThreePages(layout("validation.xlsx"), out);
    sheet = partOf(out, "xl/worksheets/sheet1.xml");
    for (const char* sq : {"H8:H47", "H58:H97", "H108:H147", "F58:G97", "G108:G147", "A108:H147"})
        EXPECT_NE(sheet.find(std::string("sqref=\"") + sq + "\""), std::string::npos) << sq;
    EXPECT_NE(sheet.find("<dataValidations count=\"6\""), std::string::npos);
    auto priorities = captures(sheet, "priority=\"([0-9]+)\"");
    EXPECT_TRUE(priorities.size() == 6 && unique(priorities));
}

TEST(XlsxWorkbook, InsertingRowsMovesEverythingBelowAndGrowsWhatStraddles)
{
    TempDir dir("insert");
    auto book = xlsx::Workbook::open(dataFile("formulas.xlsx"));
    auto& ws = book.sheet("部品表");
    ws.addRowBreakAbove(30);
    ws.insertRows(20, 5);
    EXPECT_EQ(ws.cellFormula(53, 8), "SUM(H8:H52)"); // the total grew with its range
    EXPECT_EQ(ws.cellText(53, 6), "頁計");
    EXPECT_EQ(ws.rowBreaksAbove(), (std::vector<int>{35}));
    EXPECT_EQ(ws.printArea(), (xlsx::CellRange{1, 1, 55, 8}));
    auto merges = ws.mergedRanges();
    EXPECT_NE(std::find(merges.begin(), merges.end(), xlsx::CellRange{54, 5, 54, 8}), merges.end());
    EXPECT_EQ(book.sheet("集計").cellFormula(1, 2), "'部品表'!H53");
    EXPECT_EQ(ws.rowHeight(50), 18.0);
    EXPECT_FALSE(ws.rowHeight(22).has_value()); // inserted rows are plain
    book.saveAs(dir / "inserted.xlsx");
    EXPECT_EQ(xlsx::Workbook::open(dir / "inserted.xlsx").sheet("部品表").cellFormula(53, 8), "SUM(H8:H52)");
}

TEST(XlsxWorkbook, SharedFormulasBecomePlainFormulasThatMoveWithTheirPage)
{
    TempDir dir("shared");
    auto file = dir / "shared.xlsx";
    std::filesystem::copy_file(dataFile("header_boxes.xlsx"), file);
    // a formula filled down the way spreadsheet programs store it: one master, two followers
    const std::string part = "xl/worksheets/sheet1.xml";
    patchPart(file, part, "<c r=\"G8\" s=\"10\"/>",
              "<c r=\"G8\" s=\"10\"><f t=\"shared\" ref=\"G8:G10\" si=\"0\">F8*$D$1</f><v>0</v></c>");
    for (const char* cell : {"G9", "G10"})
        patchPart(file, part, std::string("<c r=\"") + cell + "\" s=\"10\"/>",
                  std::string("<c r=\"") + cell + "\" s=\"10\"><f t=\"shared\" si=\"0\"/><v>0</v></c>");
    {
        auto book = xlsx::Workbook::open(file);
        EXPECT_EQ(book.sheet(0).cellFormula(10, 7), "F10*$D$1");
        book.saveAs(dir / "same.xlsx"); // unchanged, the sheet is kept exactly as it was
        EXPECT_EQ(zipParts(dir / "same.xlsx"), zipParts(file));
    }
    auto book = xlsx::Workbook::open(file);
    auto& ws = book.sheet(0);
    ws.pasteForm(ws.snapshotRows(1, 50), 51);
    ws.setNumber(58, 6, 4);
    book.saveAs(dir / "out.xlsx");
    std::string sheet = partOf(dir / "out.xlsx", part);
    EXPECT_EQ(sheet.find("t=\"shared\""), std::string::npos);
    EXPECT_NE(sheet.find("<c r=\"G9\" s=\"10\"><f>F9*$D$1</f></c>"), std::string::npos) << sheet;
    EXPECT_NE(sheet.find("<c r=\"G60\" s=\"10\"><f>F60*$D$1</f></c>"), std::string::npos) << sheet;
}

TEST(XlsxWorkbook, TextAndNumbersAreStoredExactly)
{
    TempDir dir("values");
    auto book = xlsx::Workbook::open(dataFile("plain.xlsx"));
    auto& ws = book.sheet("List");
    const std::vector<std::string> texts = {
        " 先頭と末尾に空白 ", "改行\nあり", "タブ\tと制御\x01文字", "_x0041_ は文字どおり", "<&>\"'", "",
        "①②Ⅲ㈱～－"};
    for (std::size_t i = 0; i < texts.size(); ++i)
        ws.setText(30 + static_cast<int>(i), 2, texts[i]);
    ws.setNumber(30, 3, 0.1 + 0.2);
    ws.setNumber(31, 3, -1e-300);
    ws.setNumber(32, 3, 123456789012345.0);
    EXPECT_THROW(ws.setNumber(33, 3, std::nan("")), xlsx::Error);
    EXPECT_THROW(ws.setText(34, 3, std::string("\xff\xfe", 2)), xlsx::Error);
    EXPECT_THROW(ws.setText(34, 3, std::string(32768, 'x')), xlsx::Error);
    ws.setText(3, 2, "置き換え"); // text over text
    ws.setNumber(3, 3, 7);        // number over text
    ws.clearValue(3, 4);
    book.saveAs(dir / "values.xlsx");
    auto again = xlsx::Workbook::open(dir / "values.xlsx");
    auto& rs = again.sheet("List");
    for (std::size_t i = 0; i < texts.size(); ++i)
        EXPECT_EQ(rs.cellText(30 + static_cast<int>(i), 2), texts[i]) << i;
    EXPECT_EQ(rs.cellNumber(30, 3), 0.1 + 0.2);
    EXPECT_EQ(rs.cellNumber(31, 3), -1e-300);
    EXPECT_EQ(rs.cellText(32, 3), "123456789012345");
    EXPECT_EQ(rs.cellText(3, 2) + rs.cellText(3, 3) + rs.cellText(3, 4) + rs.cellText(25, 4),
              "置き換え7end of page");
    std::string sst = partOf(dir / "values.xlsx", "xl/sharedStrings.xml");
    EXPECT_NE(sst.find("_x005F_x0041_"), std::string::npos);
    EXPECT_NE(sst.find("<t xml:space=\"preserve\"> 先頭と末尾に空白 </t>"), std::string::npos);
}

TEST(XlsxWorkbook, BreaksPrintAreaAndRenameFollowTheRules)
{
    TempDir dir("rules");
    auto book = xlsx::Workbook::open(dataFile("japanese_names.xlsx"));
    auto& ws = book.sheet("製作部品表 A");
    for (int row : {1, 51, 51, 21}) // nothing above the first row; a break once
        ws.addRowBreakAbove(row);
    EXPECT_EQ(ws.rowBreaksAbove(), (std::vector<int>{21, 51}));
    for (const char* bad : {"購入部品表", "表紙", "a:b", "[x]", "'quoted'", "history", "",
                            "あいうえおかきくけこさしすせそたちつてとなにぬねのはひふへほまみ"}) // 32
        EXPECT_THROW(ws.rename(bad), xlsx::Error) << bad;
    ws.rename("あいうえおかきくけこさしすせそたちつてとなにぬねのはひふへほま"); // 31
    ws.rename("O'Neil 図");
    EXPECT_EQ(book.sheet("表紙").cellFormula(1, 1), "'O''Neil 図'!B4");
    ws.setPrintArea({1, 1, 150, 8});
    book.saveAs(dir / "rules.xlsx");
    EXPECT_NE(
        partOf(dir / "rules.xlsx", "xl/workbook.xml").find("localSheetId=\"1\">'O''Neil 図'!$A$1:$H$150<"),
        std::string::npos);
}

TEST(XlsxWorkbook, RefusesWhatItCannotShiftAndLeavesTheWorkbookAsItWas)
{
    TempDir dir("refuse");
    // rows written out ahead of the save can no longer be read, written or inserted above
    {
        auto book = xlsx::Workbook::open(dataFile("plain.xlsx"));
        auto& ws = book.sheet(0);
        ASSERT_TRUE(ws.writeOutRowsAbove(3));
        EXPECT_THROW(ws.cellText(2, 1), xlsx::Error);
        EXPECT_THROW(ws.setText(1, 1, "x"), xlsx::Error);
        EXPECT_THROW(ws.insertRows(2, 1), xlsx::Error);
        EXPECT_NO_THROW(ws.setText(3, 1, "x"));
        auto withFormulas = xlsx::Workbook::open(dataFile("formulas.xlsx"));
        EXPECT_FALSE(withFormulas.sheet(0).writeOutRowsAbove(3));
        EXPECT_NO_THROW(withFormulas.sheet(0).cellText(1, 1));
    }
    // an array formula straddling the insertion row
    auto file =
        patchedCopy(dataFile("formulas.xlsx"), dir / "array.xlsx", "xl/worksheets/sheet2.xml", "</sheetData>",
                    "<row r=\"10\"><c r=\"A10\"><f t=\"array\" "
                    "ref=\"A10:A30\">'部品表'!A8:A28</f></c></row></sheetData>");
    {
        auto book = xlsx::Workbook::open(file);
        auto& sum = book.sheet("集計");
        EXPECT_THROW(sum.insertRows(20, 2), xlsx::Error);
        EXPECT_THROW(sum.insertRows(11, 1), xlsx::Error);
        sum.insertRows(31, 2); // below it is fine
    }
    // a 3-D reference: refused, and nothing changed
    file = patchedCopy(dataFile("formulas.xlsx"), dir / "threed.xlsx", "xl/worksheets/sheet2.xml",
                       "</sheetData>",
                       "<row r=\"10\"><c r=\"A10\"><f>SUM('部品表:集計'!A1)</f></c></row></sheetData>");
    {
        auto book = xlsx::Workbook::open(file);
        auto& ws = book.sheet("部品表");
        try { // refused when the form is taken, before the first page is written
            ws.snapshotRows(1, 50);
            FAIL() << "3-D reference not refused";
        } catch (const xlsx::Error& e) {
            EXPECT_NE(std::string(e.what()).find("3-D"), std::string::npos) << e.what();
        }
        EXPECT_THROW(ws.insertRows(51, 50), xlsx::Error);
        EXPECT_EQ(ws.lastUsedRow(), 49);
        EXPECT_EQ(ws.cellFormula(48, 8), "SUM(H8:H47)");
        EXPECT_FALSE(book.modified());
    }
    // a table: moved when wholly below, refused when the rows would split it
    {
        auto book = xlsx::Workbook::open(dataFile("table.xlsx"));
        auto& ws = book.sheet(0);
        auto form = ws.snapshotRows(1, 50);
        EXPECT_THROW(ws.insertRows(57, 1), xlsx::Error);
        ws.pasteForm(form, 51);
        EXPECT_EQ(ws.cellText(106, 1), "製作");
        book.saveAs(dir / "table_out.xlsx");
        EXPECT_NE(partOf(dir / "table_out.xlsx", "xl/tables/table1.xml").find("ref=\"A105:C108\""),
                  std::string::npos);
    }
    // past the last row of the sheet, bad ranges and sheets, a form of another workbook
    auto a = xlsx::Workbook::open(dataFile("header_boxes.xlsx"));
    auto b = xlsx::Workbook::open(dataFile("logo.xlsx"));
    auto& ws = a.sheet(0);
    EXPECT_THROW(ws.insertRows(2, 1048576 - 10), xlsx::Error);
    EXPECT_THROW(ws.snapshotRows(10, 5), xlsx::Error);
    EXPECT_THROW(b.sheet(0).pasteForm(ws.snapshotRows(1, 50), 51), xlsx::Error);
    EXPECT_THROW(b.sheet(0).pasteForm(xlsx::PageForm{}, 51), xlsx::Error);
}

TEST(XlsxWorkbook, DamagedAndHostileFilesGiveClearErrors)
{
    // file, what the message names
    const std::pair<const char*, const char*> cases[] = {
        {"broken_truncated.xlsx", "broken_truncated.xlsx"},
        {"broken_not_zip.xlsx", " (xlsx（ZIP）形式のファイルではありません。原因: Not a zip archive)"},
        {"broken_no_workbook.xlsx", "workbook"},
        {"broken_no_sheet.xlsx", "sheet1.xml"},
        {"broken_no_content_types.xlsx", "[Content_Types].xml"},
        {"broken_bad_xml.xlsx", "sheet1.xml"},
        {"broken_row_order.xlsx", "行の順序"},
        {"broken_entities.xlsx", "DOCTYPE"},
        {"broken_zip_bomb.xlsx", "sheet1.xml"},
        {"broken_path_traversal.xlsx", "../"},
        {"no_such_file.xlsx", "no_such_file.xlsx"},
    };
    TempDir dir("broken");
    for (auto& [file, says] : cases) {
        SCOPED_TRACE(file);
        auto start = std::chrono::steady_clock::now();
        try {
            auto book = xlsx::Workbook::open(dataFile(file));
            for (std::size_t i = 0; i < book.sheetCount(); ++i)
                book.sheet(i);
            book.saveAs(dir / "out.xlsx");
            ADD_FAILURE() << "no error";
        } catch (const xlsx::Error& e) {
            EXPECT_NE(std::string(e.what()).find(says), std::string::npos) << e.what();
        }
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    }
    EXPECT_FALSE(std::filesystem::exists("/tmp/buhinhyo_evil.txt"));
    EXPECT_FALSE(std::filesystem::exists(dir / "out.xlsx"));
}

TEST(XlsxWorkbook, CorruptedCopiesNeverCrashOrHang)
{
    TempDir dir("fuzz");
    std::mt19937 rng(20240815);
    // the project's templates, and real workbooks with pictures, notes and a table
    std::vector<std::string> files{"real/xw_image01.xlsx", "real/xw_comment01.xlsx", "real/xw_table01.xlsx"};
    for (auto& l : templateLayouts())
        files.push_back(l.file);
    // what damaged XML inside a well-formed package may hold
    const std::vector<std::string> junk{"<",
                                        ">",
                                        "\"",
                                        "&",
                                        "r=\"XFE1048577\"",
                                        "<row r=\"0\">",
                                        "s=\"99999\"",
                                        "t=\"s\"",
                                        "<v>4294967296</v>",
                                        "\xE3\x81",
                                        "</sheetData>",
                                        "<c/>"};
    for (auto& name : files) {
        const std::string good = readBytes(dataFile(name));
        const auto parts = zipParts(dataFile(name));
        for (int k = 0; k < 30; ++k) { // bytes flipped, the package cut short, or one part's XML damaged
            std::string bytes = k % 3 == 1 ? good.substr(0, rng() % good.size()) : good;
            for (int i = k % 3 == 0 ? 1 + static_cast<int>(rng() % 8) : 0; i > 0; --i)
                bytes[rng() % bytes.size()] ^= static_cast<char>(1 << (rng() % 8));
            writeBytes(dir / "case.xlsx", bytes);
            if (k % 3 == 2) {
                auto [part, xml] = parts[rng() % parts.size()];
                for (int i = 1 + static_cast<int>(rng() % 6); i > 0 && !xml.empty(); --i) {
                    const std::size_t pos = rng() % xml.size();
                    if (rng() % 2)
                        xml.insert(pos, junk[rng() % junk.size()]);
                    else
                        xml.erase(pos, 1 + rng() % 16);
                }
                replacePart(dir / "case.xlsx", part, xml);
            }
            try { // only xlsx::Error may come out, and what is saved opens again and is valid
                auto book = xlsx::Workbook::open(dir / "case.xlsx");
                auto& ws = book.sheet(0);
                for (int r = 1; r <= std::min(ws.lastUsedRow(), 60); ++r)
                    (void)ws.cellText(r, 2);
                ws.pasteForm(ws.snapshotRows(1, 50), 51);
                ws.setText(53, 2, "テスト");
                ws.setNumberFormat(60, 6, "#,##0");
                ws.rename("ファズ 1");
                book.saveAs(dir / "out.xlsx");
                xlsx::Workbook::open(dir / "out.xlsx").validate();
            } catch (const xlsx::Error&) {
            }
        }
    }
}

TEST(XlsxWorkbook, RealWorkbooksFillOrAreRefusedBeforeAnyChange)
{
    TempDir dir("real");
    // parts a fill may rewrite; every other part comes through byte for byte
    const std::regex mayChange("\\[Content_Types\\]\\.xml|.*\\.rels|xl/workbook\\.xml|xl/worksheets/.*|"
                               "xl/sharedStrings.*|xl/styles\\.xml|xl/(drawings|tables|charts)/.*|"
                               "xl/comments.*|docProps/app\\.xml");
    for (auto& w : realWorkbooks()) {
        SCOPED_TRACE(w.file);
        auto out = dir / w.file;
        auto r = fillPages(realFile(w.file), out, w.formRows, 4);
        if (!w.refusal.empty()) {
            EXPECT_NE(r.error.find(w.refusal), std::string::npos) << r.error;
            EXPECT_FALSE(r.changedBeforeError);
            EXPECT_FALSE(std::filesystem::exists(out));
            continue;
        }
        if (!r.error.empty()) {
            ADD_FAILURE() << r.error;
            continue;
        }
        auto book = xlsx::Workbook::open(out);
        book.validate();
        auto& ws = book.sheet(r.sheet);
        for (int p = 1; p <= 4; ++p)
            for (int i = 1; i <= 10; ++i) {
                const int row = (p - 1) * w.formRows + i;
                EXPECT_EQ(ws.cellText(row, 1), pageText(p, i)) << row;
                EXPECT_EQ(ws.cellNumber(row, 2), pageNumber(p, i)) << row;
            }
        auto breaks = ws.rowBreaksAbove();
        for (int p = 2; p <= 4; ++p)
            EXPECT_NE(std::find(breaks.begin(), breaks.end(), (p - 1) * w.formRows + 1), breaks.end());
        auto after = zipParts(out);
        for (auto& [name, bytes] : zipParts(realFile(w.file))) {
            if (name.find("calcChain") != std::string::npos)
                continue;
            auto it = std::find_if(after.begin(), after.end(), [&](auto& p) { return p.first == name; });
            if (it == after.end()) {
                ADD_FAILURE() << name << " lost";
            } else if (!std::regex_match(name, mayChange)) {
                EXPECT_EQ(it->second, bytes) << name << " changed";
            }
        }
    }
}

namespace
{

// (editAs, from row, to row) of every picture of a drawing, in document order.
std::vector<std::tuple<std::string, int, int>> anchors(const std::string& drawing)
{
    std::regex anchor("<xdr:twoCellAnchor( editAs=\"([a-zA-Z]+)\")?>.*?<xdr:row>([0-9]+)</xdr:row>.*?"
                      "<xdr:row>([0-9]+)</xdr:row>");
    std::vector<std::tuple<std::string, int, int>> v;
    for (auto it = std::sregex_iterator(drawing.begin(), drawing.end(), anchor); it != std::sregex_iterator();
         ++it)
        v.emplace_back((*it)[2], std::stoi((*it)[3]), std::stoi((*it)[4]));
    return v;
}

} // namespace

TEST(XlsxWorkbook, PagesCarryTheFormsPicturesNotesAndTables)
{
    TempDir dir("objects");
    // a picture over rows 1-30 of a 10-row form, once of each kind, and a tall row 3 in the form
    auto pictures = dir / "pictures.xlsx";
    std::filesystem::copy_file(realFile("xw_image01.xlsx"), pictures);
    std::string drawing = partOf(pictures, "xl/drawings/drawing1.xml");
    std::smatch m;
    ASSERT_TRUE(std::regex_search(
        drawing, m, std::regex("<xdr:twoCellAnchor editAs=\"oneCell\">.*</xdr:twoCellAnchor>")));
    std::string one =
        std::regex_replace(std::regex_replace(m.str(), std::regex("<xdr:row>8<"), "<xdr:row>0<"),
                           std::regex("<xdr:row>9<"), "<xdr:row>29<");
    std::string two = std::regex_replace(std::regex_replace(one, std::regex(" editAs=\"oneCell\""), ""),
                                         std::regex("id=\"2\""), "id=\"3\"");
    std::string fixed = std::regex_replace(std::regex_replace(one, std::regex("\"oneCell\""), "\"absolute\""),
                                           std::regex("id=\"2\""), "id=\"4\"");
    patchPart(pictures, "xl/drawings/drawing1.xml", m.str(), one + two + fixed);
    patchPart(pictures, "xl/worksheets/sheet1.xml", "<sheetData/>",
              "<sheetData><row r=\"3\" ht=\"30\" customHeight=\"1\"/></sheetData>");
    ASSERT_EQ(fillPages(pictures, dir / "pictures_out.xlsx", 10, 4).error, "");
    using A = std::tuple<std::string, int, int>;
    // moved, not sized: the same height everywhere, whatever rows come in under it; moved and
    // sized: stretched by every page inserted inside it; absolute: where it was put
    EXPECT_EQ(anchors(partOf(dir / "pictures_out.xlsx", "xl/drawings/drawing1.xml")),
              (std::vector<A>{{"oneCell", 0, 27},
                              {"", 0, 59},
                              {"absolute", 0, 29},
                              {"oneCell", 10, 37},
                              {"", 10, 59},
                              {"absolute", 10, 39},
                              {"oneCell", 20, 48},
                              {"", 20, 59},
                              {"absolute", 20, 49},
                              {"oneCell", 30, 59},
                              {"", 30, 59},
                              {"absolute", 30, 59}}));

    // a note is copied with its cell; a form control stays on page 1 and the workbook says so
    auto notes = patchedCopy(
        realFile("xw_comment01.xlsx"), dir / "notes.xlsx", "xl/drawings/vmlDrawing1.vml", "</xml>",
        "<v:shape id=\"_x0000_s2047\" type=\"#_x0000_t201\"><x:ClientData ObjectType=\"Checkbox\">"
        "<x:Anchor>1, 0, 4, 0, 2, 0, 5, 0</x:Anchor></x:ClientData></v:shape></xml>");
    {
        auto book = xlsx::Workbook::open(notes);
        auto form = book.sheet(0).snapshotRows(1, 10);
        ASSERT_EQ(book.warnings().size(), 1u);
        EXPECT_NE(book.warnings()[0].find("フォームコントロール"), std::string::npos);
        book.sheet(0).pasteForm(form, 11);
        book.sheet(0).pasteForm(form, 21);
        book.sheet(0).insertRows(1, 5); // and everything moves down with its cells
        book.saveAs(dir / "notes_out.xlsx");
    }
    std::string comments = partOf(dir / "notes_out.xlsx", "xl/comments1.xml");
    std::string vml = partOf(dir / "notes_out.xlsx", "xl/drawings/vmlDrawing1.vml");
    for (const char* ref : {"B7", "B17", "B27"})
        EXPECT_NE(comments.find(std::string("ref=\"") + ref + "\""), std::string::npos) << ref;
    // the drawing's block of shape numbers (1024-2047) is full: the copies open the next one
    for (const char* shape : {"<x:Row>6</x:Row>", "<x:Row>16</x:Row>", "<x:Row>26</x:Row>", "data=\"1,2\"",
                              "_x0000_s2049", "_x0000_s2050", "<div style=\"text-align:left\"></div>",
                              "<x:Anchor>1, 0, 9, 0, 2, 0, 10, 0</x:Anchor>"})
        EXPECT_NE(vml.find(shape), std::string::npos) << shape << vml;
    EXPECT_EQ(vml.find("Checkbox"), vml.rfind("Checkbox"));

    // a table is copied with each page under a name of its own; its column names follow the
    // header cells, kept unique and never empty as the spreadsheet keeps them
    auto book = xlsx::Workbook::open(realFile("xw_table01.xlsx"));
    auto& ws = book.sheet(0);
    auto form = ws.snapshotRows(1, 15);
    ws.pasteForm(form, 16);
    ws.setText(3, 3, "品番");
    ws.setNumber(3, 4, 5);
    ws.clearValue(3, 5);
    ws.setText(3, 6, "品番");
    ws.setText(18, 3, "図番");
    book.saveAs(dir / "table_out.xlsx");
    EXPECT_EQ(ws.cellText(3, 5), "列3");
    EXPECT_EQ(ws.cellText(3, 6), "品番2");
    EXPECT_NE(partOf(dir / "table_out.xlsx", "xl/tables/table1.xml")
                  .find("<tableColumn id=\"1\" name=\"品番\"/><tableColumn id=\"2\" name=\"5\"/><tableColumn "
                        "id=\"3\" name=\"列3\"/><tableColumn id=\"4\" name=\"品番2\"/>"),
              std::string::npos);
    std::string copy = partOf(dir / "table_out.xlsx", "xl/tables/table2.xml");
    EXPECT_NE(copy.find("id=\"2\" name=\"Table1_2\" displayName=\"Table1_2\" ref=\"C18:F28\""),
              std::string::npos)
        << copy;
    EXPECT_NE(copy.find("<tableColumn id=\"1\" name=\"図番\"/><tableColumn id=\"2\" name=\"Column2\"/>"),
              std::string::npos);
    EXPECT_NE(partOf(dir / "table_out.xlsx", "[Content_Types].xml").find("/xl/tables/table2.xml"),
              std::string::npos);
}

TEST(XlsxWorkbook, NumbersOutOfRangeAreRefusedBeforeAnyChange)
{
    struct Case {
        const char* file;
        const char* part;
        const char* from;
        const char* to;
        const char* says;
    };
    const Case cases[] = {
        {"xw_image01.xlsx", "xl/drawings/drawing1.xml", "<xdr:row>8<", "<xdr:row>2147483647<",
         "drawing1.xml"},
        {"xw_image01.xlsx", "xl/drawings/drawing1.xml", "id=\"2\"", "id=\"4294967296\"", "drawing1.xml"},
        {"xw_page_breaks01.xlsx", "xl/worksheets/sheet1.xml", "<brk id=\"1\"", "<brk id=\"2147483647\"",
         "改ページ"},
        {"xw_comment01.xlsx", "xl/drawings/vmlDrawing1.vml", "<x:Row>1<", "<x:Row>2147483647<",
         "vmlDrawing1"},
        {"xw_comment01.xlsx", "xl/drawings/vmlDrawing1.vml", "2, 15, 0, 10", "2, 15, 2147483647, 10",
         "vmlDrawing1"},
        {"xw_table01.xlsx", "xl/tables/table1.xml", "id=\"1\"", "id=\"9223372036854775808\"", "table1.xml"},
        {"xw_cond_format01.xlsx", "xl/worksheets/sheet1.xml", "priority=\"1\"", "priority=\"2147483647\"",
         "優先順位"},
    };
    TempDir dir("hostile");
    for (auto& c : cases) {
        SCOPED_TRACE(std::string(c.file) + " " + c.to);
        auto r = fillPages(patchedCopy(realFile(c.file), dir / "in.xlsx", c.part, c.from, c.to),
                           dir / "out.xlsx", 15, 4);
        EXPECT_NE(r.error.find(c.says), std::string::npos) << r.error;
        EXPECT_FALSE(r.changedBeforeError);
        EXPECT_FALSE(std::filesystem::exists(dir / "out.xlsx"));
    }
}

TEST(XlsxWorkbook, CustomersFormsCarryTheirListValidationsAndTableFormulasToEveryPage)
{
    TempDir dir("forms");
    // lists read from another sheet, kept in the sheet's extension list: one more for each page
    {
        auto book = xlsx::Workbook::open(realFile("jp15_kenshusho_dv.xlsx"));
        auto& ws = book.sheet("Acceptance Request");
        auto form = ws.snapshotRows(1, 39);
        ws.pasteForm(form, 40);
        ws.pasteForm(form, 79);
        book.saveAs(dir / "validations.xlsx");
    }
    const std::string sheet = partOf(dir / "validations.xlsx", "xl/worksheets/sheet1.xml");
    EXPECT_EQ(captures(sheet, "<xm:sqref>([^<]*)</xm:sqref>"),
              (std::vector<std::string>{"C15:C32", "C54:C71", "C93:C110"}));
    EXPECT_EQ(captures(sheet, "<xm:f>([^<]*)</xm:f>"), std::vector<std::string>(3, "Data!$A$1:$A$7"));
    EXPECT_NE(sheet.find("<x14:dataValidations count=\"3\""), std::string::npos);
    // a form that is an Excel table: each copy's column formulas read the copy's own rows
    {
        auto book = xlsx::Workbook::open(realFile("jp09_espwifi_table.xlsx"));
        auto& ws = book.sheet(0);
        auto form = ws.snapshotRows(1, 18);
        ws.pasteForm(form, 19);
        ws.pasteForm(form, 37);
        book.saveAs(dir / "table.xlsx");
    }
    EXPECT_EQ(captures(partOf(dir / "table.xlsx", "xl/tables/table3.xml"),
                       "<calculatedColumnFormula>([^<]*)</calculatedColumnFormula>"),
              (std::vector<std::string>{"E38*10", "ROUNDUP(IF(H38-F38&gt;0,1,F38/H38),0)", "I38*G38"}));
    // page rows that end inside a merged box: refused, naming the box and the page rows
    auto book = xlsx::Workbook::open(realFile("jp14_mitsumorisho_dv.xlsx"));
    try {
        book.sheet(0).snapshotRows(1, 36);
        FAIL() << "a cut merged box not refused";
    } catch (const xlsx::Error& e) {
        EXPECT_NE(std::string(e.what()).find("結合セル A34:B37 が1ページの行（1〜36行）の境目で切れます"),
                  std::string::npos)
            << e.what();
    }
    EXPECT_NO_THROW(book.sheet(0).snapshotRows(1, 37));
}
