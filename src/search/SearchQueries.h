#pragma once

#include <QString>
#include <QStringList>

class Database;

// The statements of the drawing list search. Values are pasted between quotes as they are typed.

// The names stored for drawing numbers beginning with the typed text (trimmed); with an exact
// drawing number, only the names of that drawing.
QString BuildNameListQuery(const QString& dwgNo, const QString& exactDwgNo = QString());
// The condition naming one parts table (assembly, drawing number, kind).
QString TableCondition(const QString& assy, const QString& dwgNo, const QString& kind);
QString BuildHeaderSelect(const QString& assy, const QString& dwgNo, const QString& kind);
QString BuildHeaderDelete(const QString& assy, const QString& dwgNo, const QString& kind);
QString BuildDetailDelete(const QString& assy, const QString& dwgNo, const QString& kind);

// Runs the name list query: each value trimmed, empty ones left out.
QStringList ReadNameList(Database& db, const QString& dwgNo, const QString& exactDwgNo = QString());
// True when the header of the table exists.
bool TableExists(Database& db, const QString& assy, const QString& dwgNo, const QString& kind);
// Deletes the header and all detail rows of the table in one transaction.
void DeleteTable(Database& db, const QString& assy, const QString& dwgNo, const QString& kind);
