#pragma once

#include <QString>
#include <memory>

struct AppContext;
class Database;

// The connection texts, built exactly as the old tool built them for its data-access layer.
// "Provider=" for the local file, "PROVIDER=" for the two ODBC forms; the trailing ";" is part of it.
QString LocalConnectionText(const QString& dbFilePath);
QString OracleConnectionText(const QString& dsn, const QString& user, const QString& password);
QString OdbcConnectionText(const QString& provider, const QString& dsn, const QString& user,
                           const QString& password);

// The parts of a connection text: "Name=value;" pairs, names compared without regard to case.
struct ConnectionParts {
    QString provider;
    QString dataSource;
    QString userId;
    QString password;
};
ConnectionParts ParseConnectionText(const QString& text);

// The same data source in ODBC keywords: "DSN=...;UID=...;PWD=...;".
QString OdbcKeywordText(const QString& connectionText);

// Opens a connection text: the local-file provider opens the SQLite file named by Data Source
// (a path written with "\" works), "MSDASQL" (or "ODBC") opens the ODBC data source through QODBC.
// Any other provider is the provider error. Failures throw RuntimeError.
std::shared_ptr<Database> OpenConnectionText(const QString& connectionText);

// What ConnectDatabase decided. The caller (the screen) ends the program when endProgram is set;
// the box explaining why has already been shown.
struct ConnectResult {
    bool endProgram = false;
    QString message; // the text of the box shown before ending, else empty

    // The values read for this connect.
    QString dbKind;      // "LOCAL", "ORACLE" or "ODBC"
    bool shared = false; // "ODBC" with [ODBC] SHARED=1: the data source is the program's connection
    QString dbFilePath;
    QString dbProvider;
    QString dbDsn;
    QString dbUser;
    QString dbPassword;
    QString connectionText;
};

// Reads [DBMS] DB and connects:
// - "ORACLE" (exactly) and "ODBC" (exactly) open their data source on a connection of their own,
//   which is released again: ctx.DbConnection keeps what it held. A failure shows a plain box
//   (OK, empty title) with the first error's description and ends the program.
// - anything else is "LOCAL": AppPath + [LOCAL] MDB (AppPath is put in front even of an absolute
//   path) becomes ctx.DbConnection. A missing, locked or non-database file is the run-time error
//   box naming the file, and the program ends.
// - "ODBC" with [ODBC] SHARED=1 (team use, see TeamMode.h): the data source becomes ctx.DbConnection.
ConnectResult ConnectDatabase(AppContext& ctx, int busyTimeoutMs = 5000);
