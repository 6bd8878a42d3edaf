#include "XlsxTestSupport.h"

#include "Formula.h"

#include <zip.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

namespace xlsxtest
{

std::filesystem::path sourceDir()
{
    const char* s = std::getenv("BUHINHYO_SOURCE_DIR");
    if (s && *s)
        return s;
    return std::filesystem::path(__FILE__).parent_path().parent_path().parent_path();
}

std::filesystem::path dataFile(const std::string& name)
{
    return sourceDir() / "tests/data/xlsx" / name;
}

std::string readBytes(const std::filesystem::path& p)
{
    std::ifstream in(p, std::ios::binary);
    if (!in)
        throw std::runtime_error("cannot read " + p.string());
    std::ostringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

void writeBytes(const std::filesystem::path& p, const std::string& bytes)
{
    std::ofstream out(p, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out)
        throw std::runtime_error("cannot write " + p.string());
}

TempDir::TempDir(const std::string& tag)
{
    const char* b = std::getenv("BUHINHYO_BINARY_DIR");
    path_ = (b && *b ? std::filesystem::path(b) / "tests/xlsx/tmp" : std::filesystem::temp_directory_path()) /
            (tag + "_" + std::to_string(std::random_device()() % 1000000));
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
}

TempDir::~TempDir()
{
    std::error_code ec;
    if (!std::getenv("BH_KEEP_TEST_FILES"))
        std::filesystem::remove_all(path_, ec);
}

std::vector<std::pair<std::string, std::string>> zipParts(const std::filesystem::path& p)
{
    int err = 0;
    zip_t* z = zip_open(p.c_str(), ZIP_RDONLY, &err);
    if (!z)
        throw std::runtime_error("not a zip: " + p.string());
    std::vector<std::pair<std::string, std::string>> out;
    zip_int64_t n = zip_get_num_entries(z, 0);
    for (zip_int64_t i = 0; i < n; ++i) {
        zip_stat_t st;
        zip_stat_index(z, static_cast<zip_uint64_t>(i), 0, &st);
        std::string data(static_cast<std::size_t>(st.size), '\0');
        zip_file_t* f = zip_fopen_index(z, static_cast<zip_uint64_t>(i), 0);
        zip_fread(f, data.data(), st.size);
        zip_fclose(f);
        out.emplace_back(st.name, std::move(data));
    }
    zip_discard(z);
    std::sort(out.begin(), out.end());
    return out;
}

std::vector<Layout> templateLayouts()
{
    return {
        {"plain.xlsx", "List", 25, 4, 23, 4, false},
        {"header_boxes.xlsx", "部品表", 50, 8, 47, 8, true},
        {"header_boxes_lo.xlsx", "部品表", 50, 8, 47, 8, true},
        {"logo.xlsx", "部品表", 50, 8, 47, 8, true},
        {"formulas.xlsx", "部品表", 50, 8, 47, 8, true},
        {"validation.xlsx", "部品表", 50, 8, 47, 8, true},
        {"japanese_names.xlsx", "製作部品表 A", 50, 8, 47, 8, true},
        {"table.xlsx", "部品表", 50, 8, 47, 8, true},
    };
}

static std::string jsonString(const std::string& s)
{
    std::string o = "\"";
    for (char c : s) {
        if (c == '"' || c == '\\') {
            o += '\\';
            o += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\u%04x", c);
            o += buf;
        } else
            o += c;
    }
    return o + "\"";
}

static std::string rangeRef(const xlsx::CellRange& r)
{
    return xlsx::detail::cellName(r.firstRow, r.firstCol) + ":" +
           xlsx::detail::cellName(r.lastRow, r.lastCol);
}

std::string Expected::toJson() const
{
    std::ostringstream o;
    o << "{\"sheet\":" << jsonString(sheet) << ",\"pages\":" << pages << ",\"cells\":[";
    for (std::size_t i = 0; i < cells.size(); ++i) {
        auto& c = cells[i];
        if (i)
            o << ",";
        o << "{\"ref\":\"" << xlsx::detail::cellName(c.row, c.col) << "\",";
        if (c.text)
            o << "\"text\":" << jsonString(*c.text) << ",";
        if (c.number)
            o << "\"number\":" << *c.number << ",";
        if (c.fill) {
            char buf[16];
            std::snprintf(buf, sizeof buf, "%06X", *c.fill);
            o << "\"fill\":\"" << buf << "\",";
        }
        if (!c.numFmt.empty())
            o << "\"numFmt\":" << jsonString(c.numFmt) << ",";
        if (c.align) {
            static const char* names[] = {"general", "left", "center", "right"};
            o << "\"align\":\"" << names[static_cast<int>(*c.align)] << "\",";
        }
        o << "\"strike\":" << (c.strike ? "true" : "false") << "}";
    }
    o << "],\"merges\":[";
    for (std::size_t i = 0; i < merges.size(); ++i)
        o << (i ? "," : "") << "\"" << rangeRef(merges[i]) << "\"";
    o << "],\"breaks\":[";
    for (std::size_t i = 0; i < breaks.size(); ++i)
        o << (i ? "," : "") << breaks[i];
    o << "],\"printArea\":\"" << rangeRef(printArea) << "\",\"rowHeights\":[";
    for (std::size_t i = 0; i < rowHeights.size(); ++i)
        o << (i ? "," : "") << "[" << rowHeights[i].first << "," << rowHeights[i].second << "]";
    o << "]}";
    return o.str();
}

Expected fillThreePages(const Layout& l, const std::filesystem::path& out)
{
    auto book = xlsx::Workbook::open(dataFile(l.file));
    auto& ws = book.sheet(l.sheet);
    Expected e;
    e.pages = 3;
    const auto form = ws.snapshotRows(1, l.pageRows);
    const auto templateMerges = ws.mergedRanges();
    std::vector<std::pair<int, double>> heights;
    for (int r = 1; r <= l.pageRows; ++r)
        if (auto h = ws.rowHeight(r))
            heights.emplace_back(r, *h);
    int line = 0;
    const int perPage = l.lastDetail - l.firstDetail + 1;
    const int lines = perPage * 2 + 5;
    for (int p = 1; p <= 3; ++p) {
        const int top = (p - 1) * l.pageRows + 1;
        if (p > 1) {
            // as a print run does: the pages above the last filled one leave memory (not on a sheet
            // with formulas, which may still move)
            ws.writeOutRowsAbove(top - l.pageRows);
            ws.pasteForm(form, top);
            ws.addRowBreakAbove(top);
            e.breaks.push_back(top);
        }
        for (auto m : templateMerges) {
            m.firstRow += top - 1;
            m.lastRow += top - 1;
            e.merges.push_back(m);
        }
        for (auto& [r, h] : heights)
            e.rowHeights.emplace_back(r + top - 1, h);
        auto put = [&](int row, int col, const std::string& text) {
            ws.setText(row, col, text);
            e.cells.push_back({row, col, text, {}, false, {}, "", {}});
        };
        const std::string label = std::to_string(p) + " / 3";
        if (l.headerBoxes) {
            put(top + 2, 2, "DWG-2024-0815-A");
            put(top + 3, 2, "搬送ユニット組立　（第" + std::to_string(p) + "版）");
            put(top + 3, 8, label);
            ws.setNumber(top + 2, 8, 45519);
            e.cells.push_back({top + 2, 8, {}, 45519.0, false, {}, "yyyy/mm/dd", {}});
            // the fixed customer name of the template comes along with every page
            e.cells.push_back({top + 4, 2, "株式会社　東邦精機", {}, false, {}, "", {}});
        } else {
            put(top, 4, label);
        }
        for (int i = 0; i < perPage && line < lines; ++i, ++line) {
            const int r = top + l.firstDetail - 1 + i;
            const bool abolished = (line + 1) % 10 == 0;
            char item[16];
            std::snprintf(item, sizeof item, "%03d", line + 1);
            const std::string name = line % 3 == 0   ? "ベースプレート"
                                     : line % 3 == 1 ? " Shaft φ20 "
                                                     : "カバー<右>&\"左\"";
            const double price = 1250.0 * (line + 1);
            const int priceCol = l.cols < 8 ? 4 : 6;
            ws.setNumberFormat(r, 1, "@");
            ws.setHorizontalAlignment(r, 1, xlsx::HAlign::Right);
            ws.setText(r, 1, item);
            ws.setText(r, 2, name);
            ws.setNumberFormat(r, priceCol, "#,##0");
            ws.setNumber(r, priceCol, price);
            if (abolished) {
                ws.setFill(r, 1, 0x808080);
                for (int c : {1, 2, priceCol})
                    ws.setStrike(r, c, true);
            }
            const auto grey = abolished ? std::optional<std::uint32_t>(0x808080) : std::nullopt;
            e.cells.push_back({r, 1, std::string(item), {}, abolished, grey, "@", xlsx::HAlign::Right});
            e.cells.push_back({r, 2, name, {}, abolished, {}, "", {}});
            e.cells.push_back({r, priceCol, {}, price, abolished, {}, "#,##0", {}});
        }
    }
    ws.setPrintArea({1, 1, 3 * l.pageRows, l.cols});
    e.printArea = {1, 1, 3 * l.pageRows, l.cols};
    ws.rename("DWG-2024-0815-A 01");
    e.sheet = "DWG-2024-0815-A 01";
    book.validate();
    book.saveAs(out);
    return e;
}

std::string partOf(const std::filesystem::path& file, const std::string& name)
{
    for (auto& [n, d] : zipParts(file))
        if (n == name)
            return d;
    return {};
}

void patchPart(const std::filesystem::path& file, const std::string& part, const std::string& from,
               const std::string& to)
{
    std::string d = partOf(file, part);
    auto pos = d.find(from);
    if (pos == std::string::npos)
        throw std::runtime_error(from + " not in " + part);
    d.replace(pos, from.size(), to);
    replacePart(file, part, d);
}

std::filesystem::path patchedCopy(const std::filesystem::path& file, const std::filesystem::path& copy,
                                  const std::string& part, const std::string& from, const std::string& to)
{
    std::filesystem::copy_file(file, copy, std::filesystem::copy_options::overwrite_existing);
    patchPart(copy, part, from, to);
    return copy;
}

void replacePart(const std::filesystem::path& file, const std::string& part, const std::string& data)
{
    int err = 0;
    zip_t* z = zip_open(file.c_str(), 0, &err);
    zip_file_add(z, part.c_str(), zip_source_buffer(z, data.data(), data.size(), 0), ZIP_FL_OVERWRITE);
    if (zip_close(z) != 0)
        throw std::runtime_error("cannot write " + file.string());
}

std::filesystem::path realFile(const std::string& name)
{
    return sourceDir() / "tests/data/xlsx/real" / name;
}

std::vector<RealWorkbook> realWorkbooks()
{
    return {
        {"cal_merge_cells.xlsx", 10, ""},
        {"cal_nonstandard-xml-ns-prefix.xlsx", 10, ""},
        {"cal_pass_protected.xlsx", 10, "パスワード"},
        {"cal_picture_richdata.xlsx", 10, ""},
        {"cal_pivots.xlsx", 10, "ピボットテーブル"},
        {"cal_strict_iso_paths.xlsx", 10, "Strict"},
        {"gnm_rows_to_end.xlsx", 10, ""},
        {"lo_numbers_only.xlsx", 10, ""},
        {"minimal_inline.xlsx", 10, ""},
        {"xw_chartsheet01.xlsx", 10, ""},
        {"xw_comment01.xlsx", 10, ""},
        {"xw_cond_format01.xlsx", 10, ""},
        {"xw_data_validation01.xlsx", 10, ""},
        {"xw_defined_name01.xlsx", 10, ""},
        {"xw_dynamic_array01.xlsx", 10, ""},
        {"xw_image01.xlsx", 10, ""},
        {"xw_merge_range01.xlsx", 10, ""},
        {"xw_page_breaks01.xlsx", 10, ""},
        {"xw_print_area01.xlsx", 10, ""},
        {"xw_rich_string01.xlsx", 10, ""},
        {"xw_table01.xlsx", 15, ""},
    };
}

std::string pageText(int page, int row)
{
    return "品名 " + std::to_string(page) + "-" + std::to_string(row);
}

double pageNumber(int page, int row)
{
    return page * 1000 + row + 0.5;
}

FillResult fillPages(const std::filesystem::path& in, const std::filesystem::path& out, int formRows,
                     int pages)
{
    FillResult result;
    std::optional<xlsx::Workbook> book;
    try {
        book.emplace(xlsx::Workbook::open(in));
        xlsx::Worksheet* ws = nullptr;
        for (std::size_t i = 0; i < book->sheetCount() && !ws; ++i) {
            auto& sheet = book->sheet(i); // reads the sheet
            try {
                (void)sheet.lastUsedRow();
                ws = &sheet;
            } catch (const xlsx::Error&) { // a chart sheet
            }
        }
        if (!ws)
            throw xlsx::Error("no worksheet");
        result.sheet = ws->name();
        const auto form = ws->snapshotRows(1, formRows);
        for (int p = 1; p <= pages; ++p) {
            const int top = (p - 1) * formRows + 1;
            if (p > 1) {
                ws->pasteForm(form, top);
                ws->addRowBreakAbove(top);
            }
            for (int i = 1; i <= 10; ++i) {
                const int r = top + i - 1;
                ws->setNumberFormat(r, 1, "@");
                ws->setText(r, 1, pageText(p, i));
                ws->setNumberFormat(r, 2, "#,##0.0");
                ws->setNumber(r, 2, pageNumber(p, i));
            }
            ws->setStrike(top + 1, 1, true);
            ws->setFill(top + 2, 1, 0x808080);
            ws->setHorizontalAlignment(top + 3, 2, xlsx::HAlign::Center);
        }
        ws->setPrintArea({1, 1, pages * formRows, 8});
        book->saveAs(out);
    } catch (const xlsx::Error& e) {
        result.error = e.what();
        result.changedBeforeError = book && book->modified();
    }
    return result;
}

} // namespace xlsxtest
