#include "DbTestSupport.h"

#include "Connect.h"
#include "Database.h"
#include "RuntimeError.h"
#include "TestSupport.h"

#include <QFile>
#include <QRegularExpression>
#include <QSqlQuery>
#include <QtTest>

using namespace Qt::StringLiterals;

void applySchemaFile(Database& db, const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    QString text = QString::fromUtf8(f.readAll());
    text.remove(QRegularExpression(u"--[^\n]*"_s));
    for (const QString& statement : text.split(u';')) {
        if (!statement.trimmed().isEmpty())
            db.Execute(statement.trimmed());
    }
}

QString makeSqliteDatabase(const QString& folder, const QString& name)
{
    const QString path = folder + u'/' + name;
    // The connection refuses to make a new file (a mistyped path must not become an empty
    // database), so the file is made here first.
    {
        QSqlDatabase raw = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"schema_maker"_s);
        raw.setDatabaseName(path);
        raw.open();
        QSqlQuery(raw).exec(u"PRAGMA user_version = 0"_s);
        QSqlQuery(raw).exec(u"CREATE TABLE bh_probe(x)"_s);
        QSqlQuery(raw).exec(u"DROP TABLE bh_probe"_s);
        raw.close();
    }
    QSqlDatabase::removeDatabase(u"schema_maker"_s);
    auto db = Database::openSqliteFile(path);
    applySchemaFile(*db, sourceDir() + u"/data/schema.sql"_s);
    return path;
}

bool postgresqlRequested()
{
    return qEnvironmentVariable("BUHINHYO_TEST_BACKEND") == u"postgresql";
}

QString fixtureConnectionText(const QString& password)
{
    return OdbcConnectionText(u"MSDASQL"_s, qEnvironmentVariable("BUHINHYO_TEST_ODBC_DSN"),
                              qEnvironmentVariable("BUHINHYO_TEST_ODBC_UID"),
                              password.isNull() ? qEnvironmentVariable("BUHINHYO_TEST_ODBC_PWD") : password);
}

TestDatabase openTestDatabase(const QString& folder)
{
    TestDatabase t;
    if (postgresqlRequested()) {
        t.backend = u"postgresql"_s;
        t.db = OpenConnectionText(fixtureConnectionText());
        for (const char* table : {"BUHINHYO_M", "BUHINHYO", "SETTEI"})
            t.db->Execute(u"DELETE FROM "_s + QLatin1StringView(table));
    } else {
        t.backend = u"sqlite"_s;
        t.filePath = makeSqliteDatabase(folder);
        t.db = OpenConnectionText(LocalConnectionText(t.filePath));
    }
    return t;
}

int errorNumber(const std::function<void()>& f)
{
    try {
        f();
    } catch (const RuntimeError& e) {
        return e.number();
    }
    return 0;
}

int countRows(Database& db, const QString& sql)
{
    return Recordset(db, sql).RecordCount();
}

void DbFixture::open()
{
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(dir->isValid());
    t = openTestDatabase(dir->path());
}

void DbFixture::close()
{
    t = TestDatabase();
    dir.reset();
}
