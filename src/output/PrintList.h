#pragma once

#include <QString>
#include <array>
#include <vector>

class Database;

// The list a print run lays out: one row per record of the list query, 13 columns numbered as
// below (1-based, like the columns of the old list sheet). Every value is text; a null field is "".
enum ListColumn {
    LcZno = 1,    // drawing item number, "(12)" when shown in brackets; empty in a summary
    LcHinmei = 2, // part name
    LcZaishitu = 3,
    LcSuryo = 4, // quantity (summed in a summary)
    LcTani = 5,  // unit of the quantity
    LcBiko = 6,
    LcTanka = 7, // unit price; empty in a summary
    LcKingk = 8, // amount (summed in a summary)
    LcMaker = 9,
    LcNumber = 10, // line number in the database; empty in a summary
    LcHaishi = 11, // abolished flag as the database returns it; empty in a summary
    LcSuryo2 = 12, // second quantity; empty in a summary
    LcTani2 = 13,
};

struct ListRow {
    std::array<QString, 13> cells;
    const QString& at(int column) const { return cells[static_cast<size_t>(column - 1)]; }
    QString& at(int column) { return cells[static_cast<size_t>(column - 1)]; }
};
using ListTable = std::vector<ListRow>;

struct ListRequest {
    QString modeString; // ListMode::forPrint(...)
    QString dwgNo;
    QString assy;
    QString kind;
    bool makerFilterOn = false;
    QString makerFilterText;
};

// Runs the list query and takes its records into a table. The row counter is 16-bit: a list of
// more than 32,767 records ends with the overflow error.
ListTable FillListFromDatabase(Database& db, const ListRequest& request);
// The ten sample lines of a test print.
ListTable FillSampleData();
// A stored number as the sheet would show it: integers without a decimal point.
QString NumberText(const QVariant& value);
