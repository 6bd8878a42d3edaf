#pragma once

#include "ListTable.h"

#include <QString>

class Database;

struct ListRequest {
    QString modeString; // ListMode::forPrint(...)
    QString dwgNo;
    QString assy;
    QString kind;
    bool makerFilterOn = false;
    QString makerFilterText;
};

// Runs the list query and takes its records into a table. A full list comes in item-number order
// (ItemNumberOrder; per maker when the pages break per maker), a summary in the query's order. On the
// local database the records are counted first and a summary is read while the table is laid out;
// other databases are read whole. The row counter is 16-bit: a list of more than 32,767 records ends with the
// overflow error.
ListTable FillListFromDatabase(Database& db, const ListRequest& request);
// The ten sample lines of a test print.
ListTable FillSampleData();
// A stored number as the sheet would show it: integers without a decimal point.
QString NumberText(const QVariant& value);
