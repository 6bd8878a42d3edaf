#pragma once

#include <QList>
#include <QString>
#include <QStringList>

class Database;

// The conditions of the data search: stored parts tables of one kind, narrowed by the beginnings
// of their drawing number, assembly, name and designer, and by customer.
struct DataSearchFilter {
    QString kind;  // "1" or "2"
    QString dwgNo; // prefixes; empty (after trimming) means no condition
    QString assy;
    QString name;
    QString designer;
    QString customer; // the whole customer name; empty means every customer
};

// One stored parts table as the data search lists it.
struct StoredTable {
    QString dwgNo;
    QString assy;
    QString kind;
    QString name;
    QString date;
    QString designer;
    QString customer;
    int lines = 0; // every detail line, abolished ones included
};

// The query text: headers of the kind with their line count, sorted by drawing number and
// assembly. Values go between single quotes as they are typed, like every query of the program.
QString BuildDataSearchQuery(const DataSearchFilter& filter);
QList<StoredTable> FindStoredTables(Database& db, const DataSearchFilter& filter);

// The grid of the editor: 15 texts per line (line number, item number, name, material, quantity,
// unit, second quantity, second unit, remarks, unit price, amount, maker, stored number, abolish
// value, bracket value).
constexpr int kGridColumns = 15;
constexpr int kColNumber = 12;
constexpr int kColHaishi = 13;
constexpr int kColKakko = 14;

// The lines of a stored table as new editor lines: all lines, abolished ones included, in the order
// of their item numbers; no stored number, so the next save inserts them as new rows.
QList<QStringList> ReadCopySourceLines(Database& db, const QString& dwgNo, const QString& assy,
                                       const QString& kind);

// A line that holds nothing the user entered (the fresh editor's one empty line).
bool IsBlankGridLine(const QStringList& line);
// Puts the copied lines below the editor's lines. An editor that holds only one blank line has the
// copies in place of it. Returns the index of the first copied line.
int AppendCopiedLines(QList<QStringList>& grid, const QList<QStringList>& copies);
