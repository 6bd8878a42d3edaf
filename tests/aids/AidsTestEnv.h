#pragma once

#include "Database.h"
#include "EditorTestEnv.h"

// The editor's test folder with the lists the aids are checked against (name lists with slots out of
// order, one feeding no field), the clock at 2026-11-21, connected the way the program connects.
class AidsTestEnv : public EditorTestEnv
{
public:
    AidsTestEnv();

    bool ok() const { return ctx.DbConnection != nullptr; }
    Database& db() { return *ctx.DbConnection; }

    // Rows written straight into the tables.
    void addHeader(const QString& dwgNo, const QString& assy, const QString& kind, const QString& user,
                   const QString& name, const QString& designer,
                   const QString& date = QStringLiteral("2026/01/15"));
    void addLine(const QString& dwgNo, const QString& assy, const QString& kind, const QString& user,
                 const QString& zno, const QString& hinmei, const QString& zaishitu, const QString& suryo,
                 const QString& maker);

    static QString iniText();
};
