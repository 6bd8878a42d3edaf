#pragma once

#include "ImportParser.h"

#include <QDate>
#include <QString>

class Database;

// What to do with a parts table read from a workbook.
enum class ImportAction {
    Create,  // no table of this key yet: header and lines are created
    Add,     // the table exists: its lines are appended, the stored header is kept
    Replace, // the table exists: its lines are deleted and the read ones written, header updated
    Skip,    // the table exists and is left as it is
};

// Whether a parts table (drawing number, assembly, kind) is stored already.
bool PartsTableExists(Database& db, const QString& dwgNo, const QString& assy, const QString& kind);
// The number of stored lines of a parts table.
int StoredLineCount(Database& db, const QString& dwgNo, const QString& assy, const QString& kind);

// Writes one table as the action says (nothing for Skip). The caller holds the transaction.
// Lines get today's date as their update date ("yyyymmdd"); the header keeps the date read ("YYYY/MM/DD").
void WriteImportedTable(Database& db, const ImportTable& table, const QString& customer, const QString& kind,
                        ImportAction action, const QDate& today);
