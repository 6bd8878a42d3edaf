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
