// Fills a one-page parts-list template with N lines: one page of 50 rows per 40 lines, every page
// a copy of the template's page with a manual break above it, the header boxes filled, and the
// print area covering every page. Shared by the command-line tool and the benchmark.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace bench
{

struct PartsLine {
    std::string item, name, material, qty, remarks;
    double unitPrice = 0, amount = 0;
    std::string maker;
    bool abolished = false;
};

std::vector<PartsLine> readPartsLines(const std::filesystem::path& csv);
// Returns the number of pages written.
int fillPartsList(const std::filesystem::path& templatePath, const std::vector<PartsLine>& lines,
                  const std::filesystem::path& out);

} // namespace bench
