// Google Benchmark cases of the workbook engine: filling the header-box page template with
// 1,000 and 10,000 parts lines, and an open/save round trip.
#include "FillPartsList.h"
#include "Workbook.h"

#include <benchmark/benchmark.h>

#include <filesystem>

namespace
{

std::filesystem::path templatePath()
{
    return std::filesystem::path(BUHINHYO_SOURCE_DIR) / "tests/data/xlsx/header_boxes.xlsx";
}

std::vector<bench::PartsLine> makeLines(int n)
{
    static const char* names[] = {"ブラケット", "シャフト", "カラー", "ベースプレート", "カバー"};
    static const char* materials[] = {"SS400", "S45C", "A5052", "SUS304"};
    std::vector<bench::PartsLine> v;
    for (int i = 1; i <= n; ++i) {
        char item[8];
        std::snprintf(item, sizeof item, "%03d", i % 1000);
        v.push_back({item, names[i % 5], materials[i % 4], i % 3 ? "4" : "R=2 L=2", i % 7 ? "" : "焼入れ",
                     static_cast<double>(100 * (i % 50 + 1)), static_cast<double>(400 * (i % 50 + 1)),
                     "ミスミ", i % 10 == 0});
    }
    return v;
}

void BM_FillPartsList(benchmark::State& state)
{
    auto lines = makeLines(static_cast<int>(state.range(0)));
    auto out = std::filesystem::temp_directory_path() / "bench_xlsx_fill.xlsx";
    for (auto _ : state)
        benchmark::DoNotOptimize(bench::fillPartsList(templatePath(), lines, out));
    std::filesystem::remove(out);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_FillPartsList)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_OpenSaveRoundTrip(benchmark::State& state)
{
    auto out = std::filesystem::temp_directory_path() / "bench_xlsx_roundtrip.xlsx";
    for (auto _ : state) {
        auto book = xlsx::Workbook::open(templatePath());
        book.sheet(0);
        book.saveAs(out);
    }
    std::filesystem::remove(out);
}
BENCHMARK(BM_OpenSaveRoundTrip)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
