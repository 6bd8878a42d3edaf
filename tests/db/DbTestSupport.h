#pragma once

#include "Database.h"
#include "TestSupport.h"

#include <QTemporaryDir>
#include <functional>
#include <memory>

// The database a test runs against: a fresh SQLite file made from data/schema.sql, or (when the test
// run provides one: BUHINHYO_TEST_BACKEND=postgresql) the PostgreSQL cluster of the test fixture, opened
// through ODBC with the connection text the program builds, its tables emptied. open() from init().
struct DbFixture {
    std::unique_ptr<QTemporaryDir> dir;
    std::shared_ptr<Database> shared;
    void open();
    Database& db() { return *shared; }
    static bool postgresql();
    // "PROVIDER=MSDASQL;Data Source=...;..." of the fixture's data source.
    static QString connectionText(const QString& password = QString());
};

int countRows(Database& db, const QString& sql);
