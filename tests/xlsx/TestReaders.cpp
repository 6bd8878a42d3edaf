// Workbooks written by the engine, read by two independent programs: ExcelJS (values, merges, breaks and
// styles) and LibreOffice (every filled real workbook's values; the print run's tests print through it).
#include "Workbook.h"
#include "XlsxTestSupport.h"

#include <gtest/gtest.h>

#include <array>
#include <regex>
#include <sstream>

using namespace xlsxtest;

namespace
{
// The output of a shell command (with its errors); *status is its exit status.
std::string run(const std::string& cmd, int* status)
{
    std::string out;
    FILE* p = popen((cmd + " 2>&1").c_str(), "r");
    std::array<char, 4096> buf;
    while (std::size_t n = p ? fread(buf.data(), 1, buf.size(), p) : 0)
        out.append(buf.data(), n);
    const int rc = p ? pclose(p) : -1;
    *status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    return out;
}

std::string q(const std::filesystem::path& p)
{
    return "'" + p.string() + "'";
}
} // namespace

TEST(XlsxReaders, ExcelJsReadsBackWhatWasWritten)
{
    const auto modules = std::filesystem::path(XLSX_NODE_DIR) / "node_modules";
    int st = 0;
    if (!std::filesystem::exists(modules / "exceljs")) {
        run("command -v npm && command -v node", &st);
        if (st != 0)
            GTEST_SKIP() << "npm/node not found: ExcelJS reader check skipped";
        FAIL() << "ExcelJS is not installed in " << modules << " (the xlsx_install_exceljs test installs it)";
    }
    TempDir dir("exceljs");
    for (auto& l : templateLayouts()) {
        SCOPED_TRACE(l.file);
        writeBytes(dir / (l.file + ".json"), fillThreePages(l, dir / l.file).toJson());
        std::string output = run("NODE_PATH=" + q(modules) + " timeout -k 10 120 node " +
                                     q(std::filesystem::path(XLSX_NODE_SRC) / "check_workbook.js") + " " +
                                     q(dir / l.file) + " " + q(dir / (l.file + ".json")),
                                 &st);
        EXPECT_EQ(st, 0) << output;
    }
}

TEST(XlsxReaders, LibreOfficeReadsEveryFilledRealWorkbook)
{
    TempDir dir("real");
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
