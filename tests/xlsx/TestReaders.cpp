// Workbooks written by the engine, read by two independent programs: LibreOffice (export to
// PDF: one printed page per filled page) and ExcelJS (values, merges, breaks and styles).
#include "Workbook.h"
#include "XlsxTestSupport.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <regex>
#include <sstream>

using namespace xlsxtest;

namespace
{

std::string run(const std::string& cmd, int* status)
{
    std::string out;
    FILE* p = popen((cmd + " 2>&1").c_str(), "r");
    if (!p) {
        *status = -1;
        return out;
    }
    std::array<char, 4096> buf;
    while (std::size_t n = fread(buf.data(), 1, buf.size(), p))
        out.append(buf.data(), n);
    int rc = pclose(p);
    *status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    return out;
}

std::string q(const std::filesystem::path& p)
{
    return "'" + p.string() + "'";
}

bool onPath(const std::string& tool)
{
    int st = 0;
    run("command -v " + tool, &st);
    return st == 0;
}

// A folder that stays after the test, so that the files can be looked at.
std::filesystem::path keptFolder(const std::string& name)
{
    const char* b = std::getenv("BUHINHYO_BINARY_DIR");
    auto dir =
        (b && *b ? std::filesystem::path(b) : std::filesystem::temp_directory_path()) / "tests/xlsx" / name;
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    return dir;
}

int pdfPages(const std::filesystem::path& pdf)
{
    int st = 0;
    std::string info = run("pdfinfo " + q(pdf), &st);
    auto pos = info.find("Pages:");
    return pos == std::string::npos ? -1 : std::atoi(info.c_str() + pos + 6);
}

} // namespace

TEST(XlsxReaders, ExcelJsReadsBackWhatWasWritten)
{
    std::filesystem::path modules = std::filesystem::path(XLSX_NODE_DIR) / "node_modules";
    if (!std::filesystem::exists(modules / "exceljs")) {
        if (!onPath("npm") || !onPath("node"))
            GTEST_SKIP() << "npm/node not found: ExcelJS reader check skipped";
        FAIL() << "ExcelJS is not installed in " << modules << " (the xlsx_install_exceljs test installs it)";
    }
    auto dir = keptFolder("exceljs");
    for (auto& l : templateLayouts()) {
        SCOPED_TRACE(l.file);
        auto out = dir / l.file;
        auto expected = fillThreePages(l, out);
        auto json = dir / (l.file + ".json");
        writeBytes(json, expected.toJson());
        int st = 0;
        std::string cmd = "NODE_PATH=" + q(modules) + " timeout -k 10 120 node " +
                          q(std::filesystem::path(XLSX_NODE_SRC) / "check_workbook.js") + " " + q(out) + " " +
                          q(json);
        std::string output = run(cmd, &st);
        EXPECT_EQ(st, 0) << output;
    }
}

TEST(XlsxReaders, LibreOfficePrintsOnePagePerFilledPage)
{
    ASSERT_TRUE(onPath("soffice")) << "LibreOffice (soffice) is needed for this test";
    ASSERT_TRUE(onPath("pdfinfo")) << "poppler-utils (pdfinfo) is needed for this test";
    auto dir = keptFolder("libreoffice");
    std::string files;
    std::vector<std::string> names;
    std::map<std::string, int> expectedPages;
    for (auto& l : templateLayouts()) {
        auto out = dir / l.file;
        fillThreePages(l, out);
        files += " " + q(out);
        names.push_back(out.stem().string());
        // every other sheet of these templates prints on one page of its own
        expectedPages[names.back()] = 3 + static_cast<int>(xlsx::Workbook::open(out).sheetCount()) - 1;
    }
    // the template itself prints as one page
    std::filesystem::copy_file(dataFile("header_boxes.xlsx"), dir / "template.xlsx");
    files += " " + q(dir / "template.xlsx");
    int st = 0;
    std::string profile = "file://" + (dir / "profile").string();
    // A converter that hangs is stopped (and killed if it must be) well before the test's own limit.
    std::string output =
        run("timeout -k 10 300 soffice -env:UserInstallation=" + profile +
                " --headless --convert-to pdf --outdir " + q(dir / "pdf") + files + " </dev/null",
            &st);
    ASSERT_EQ(output.find("Error:"), std::string::npos) << output;
    for (auto& n : names) {
        SCOPED_TRACE(n);
        auto pdf = dir / "pdf" / (n + ".pdf");
        ASSERT_TRUE(std::filesystem::exists(pdf)) << output;
        EXPECT_EQ(pdfPages(pdf), expectedPages[n]);
        std::string text = run("pdftotext -layout " + q(pdf) + " -", &st);
        if (n != "plain") {
            EXPECT_TRUE(std::regex_search(text, std::regex("頁 +3 ?/ ?3"))) << text.substr(0, 2000);
            EXPECT_NE(text.find("DWG-2024-0815-A"), std::string::npos);
            EXPECT_NE(text.find("2024/08/15"), std::string::npos);
            EXPECT_NE(text.find("100,000"), std::string::npos); // line 80's price with its number format
        }
        if (n == "formulas") { // the page totals were recalculated for every page
            auto count = [&](const std::regex& re) {
                return std::distance(std::sregex_iterator(text.begin(), text.end(), re),
                                     std::sregex_iterator());
            };
            EXPECT_EQ(count(std::regex("頁計 +40 ")), 2) << text;
            EXPECT_EQ(count(std::regex("頁計 +5 ")), 1) << text;
        }
    }
    EXPECT_EQ(pdfPages(dir / "pdf/template.pdf"), 1);
}

TEST(XlsxReaders, LibreOfficeReadsEveryFilledRealWorkbook)
{
    ASSERT_TRUE(onPath("soffice")) << "LibreOffice (soffice) is needed for this test";
    auto dir = keptFolder("real");
    std::string files;
    std::vector<std::pair<RealWorkbook, std::string>> filled; // with the filled sheet's name
    for (auto& w : realWorkbooks())
        if (w.refusal.empty()) {
            auto r = fillPages(realFile(w.file), dir / w.file, w.formRows, 4);
            ASSERT_EQ(r.error, "") << w.file;
            files += " " + q(dir / w.file);
            filled.emplace_back(w, r.sheet);
        }
    // one converter for all of them: every sheet of every workbook as CSV (sheet "-1")
    int st = 0;
    std::string output =
        run("timeout -k 10 300 soffice -env:UserInstallation=file://" + (dir / "profile").string() +
                " --headless --convert-to 'csv:Text - txt - csv (StarCalc):44,34,76,1,,0,false,"
                "true,false,false,false,-1' --outdir " +
                q(dir / "csv") + files + " </dev/null",
            &st);
    ASSERT_EQ(output.find("Error"), std::string::npos) << output;
    for (auto& [w, sheet] : filled) {
        SCOPED_TRACE(w.file);
        auto csv = dir / "csv" / (std::filesystem::path(w.file).stem().string() + "-" + sheet + ".csv");
        ASSERT_TRUE(std::filesystem::exists(csv)) << output;
        std::vector<std::string> lines;
        std::istringstream in(readBytes(csv));
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
        for (int p = 1; p <= 4; ++p)
            for (int i = 1; i <= 10; ++i) {
                std::size_t row = static_cast<std::size_t>((p - 1) * w.formRows + i - 1);
                char number[32];
                std::snprintf(number, sizeof number, "%.1f", pageNumber(p, i));
                ASSERT_LT(row, lines.size());
                EXPECT_EQ(lines[row].rfind(pageText(p, i) + "," + number, 0), 0u) << lines[row];
            }
    }
}
