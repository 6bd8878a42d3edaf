// fill_parts_list TEMPLATE.xlsx LINES.csv OUT.xlsx
// Fills the parts-list template with the lines of the CSV and writes OUT.xlsx.
#include "FillPartsList.h"
#include "Workbook.h"

#include <cstdio>
#include <exception>

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: fill_parts_list TEMPLATE.xlsx LINES.csv OUT.xlsx\n");
        return 2;
    }
    try {
        auto lines = bench::readPartsLines(argv[2]);
        bench::fillPartsList(argv[1], lines, argv[3]);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "fill_parts_list: %s\n", e.what());
        return 1;
    }
    return 0;
}
