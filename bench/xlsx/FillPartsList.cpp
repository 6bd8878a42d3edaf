#include "FillPartsList.h"

#include "Workbook.h"

#include <charconv>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace bench
{

namespace
{
constexpr int kPageRows = 50;
constexpr int kFirstDetail = 8;
constexpr int kDetailRows = 40;
constexpr double kDateSerial = 45519; // 2024-08-15

double toNumber(const std::string& s)
{
    double v = 0;
    auto res = std::from_chars(s.data(), s.data() + s.size(), v);
    if (res.ec != std::errc())
        throw std::runtime_error("not a number: " + s);
    return v;
}
} // namespace

std::vector<PartsLine> readPartsLines(const std::filesystem::path& csv)
{
    std::ifstream in(csv, std::ios::binary);
    if (!in)
        throw std::runtime_error("cannot read " + csv.string());
    std::vector<PartsLine> out;
    std::string line;
    bool first = true;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (first) {
            first = false;
            continue;
        }
        if (line.empty())
            continue;
        std::vector<std::string> f;
        std::size_t start = 0;
        while (true) {
            auto comma = line.find(',', start);
            f.push_back(line.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
            if (comma == std::string::npos)
                break;
            start = comma + 1;
        }
        if (f.size() != 9)
            throw std::runtime_error(csv.string() + ": a line without 9 fields");
        PartsLine p{f[0], f[1], f[2], f[3], f[4], toNumber(f[5]), toNumber(f[6]), f[7], f[8] == "1"};
        out.push_back(std::move(p));
    }
    return out;
}

int fillPartsList(const std::filesystem::path& templatePath, const std::vector<PartsLine>& lines,
                  const std::filesystem::path& out)
{
    auto book = xlsx::Workbook::open(templatePath);
    auto& ws = book.sheet("部品表");
    const int pages = std::max<int>(1, static_cast<int>((lines.size() + kDetailRows - 1) / kDetailRows));
    const auto form = ws.snapshotRows(1, kPageRows);
    const std::string total = std::to_string(pages);
    std::size_t next = 0;
    for (int p = 1; p <= pages; ++p) {
        const int top = (p - 1) * kPageRows + 1;
        if (p > 1) {
            ws.pasteForm(form, top);
            ws.addRowBreakAbove(top);
        }
        ws.setText(top + 2, 2, "DWG-2024-0815-A");
        ws.setText(top + 3, 2, "搬送ユニット組立");
        ws.setNumber(top + 2, 8, kDateSerial);
        ws.setText(top + 3, 8, std::to_string(p) + " / " + total);
        for (int i = 0; i < kDetailRows && next < lines.size(); ++i, ++next) {
            const PartsLine& l = lines[next];
            const int r = top + kFirstDetail - 1 + i;
            ws.setText(r, 1, l.item);
            ws.setText(r, 2, l.name);
            ws.setText(r, 3, l.material);
            ws.setText(r, 4, l.qty);
            if (!l.remarks.empty())
                ws.setText(r, 5, l.remarks);
            ws.setNumber(r, 6, l.unitPrice);
            ws.setNumber(r, 7, l.amount);
            ws.setText(r, 8, l.maker);
            if (l.abolished) {
                ws.setFill(r, 1, 0xBFBFBF);
                for (int c = 1; c <= 8; ++c)
                    ws.setStrike(r, c, true);
            }
        }
    }
    ws.setPrintArea({1, 1, pages * kPageRows, 8});
    book.saveAs(out);
    return pages;
}

} // namespace bench
