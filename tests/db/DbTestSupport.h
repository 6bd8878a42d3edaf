#pragma once

#include <QString>
#include <QTemporaryDir>
#include <functional>
#include <memory>

class Database;

// The database a test runs against: a fresh SQLite file made from data/schema.sql, or (when the
// test run provides one through BUHINHYO_TEST_ODBC_DSN) the PostgreSQL server of the test fixture,
// opened through ODBC with the connection text the program builds, its tables emptied.
struct TestDatabase {
    QString backend;  // "sqlite" or "postgresql"
    QString filePath; // the SQLite file
    std::shared_ptr<Database> db;
};

// Runs the statements of a schema file (comments removed, split at ";").
void applySchemaFile(Database& db, const QString& path);
// A new SQLite file in the folder, with the schema.
QString makeSqliteDatabase(const QString& folder, const QString& name = QStringLiteral("CADDB.sqlite"));
// The backend chosen by BUHINHYO_TEST_BACKEND ("postgresql"; anything else means sqlite).
TestDatabase openTestDatabase(const QString& folder);
bool postgresqlRequested();
// The connection text of the fixture's data source ("PROVIDER=MSDASQL;Data Source=...;...").
QString fixtureConnectionText(const QString& password = QString());

// The number of the RuntimeError that f throws; 0 when it throws none.
int errorNumber(const std::function<void()>& f);
// The record count of a query.
int countRows(Database& db, const QString& sql);

// A fresh test database for each test function: open() from init(), close() from cleanup().
struct DbFixture {
    std::unique_ptr<QTemporaryDir> dir;
    TestDatabase t;
    void open();
    void close();
    Database& db() { return *t.db; }
};
