#include "DbTestSupport.h"

#include "Connect.h"
#include "Database.h"
#include "TestSupport.h"

#include <QFile>
#include <QRegularExpression>
#include <QSqlQuery>
#include <QtTest>

void applySchemaFile(Database& db, const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    QString text = QString::fromUtf8(f.readAll());
    text.remove(QRegularExpression(QStringLiteral("--[^\n]*")));
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
        QSqlDatabase raw =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("schema_maker"));
        raw.setDatabaseName(path);
        raw.open();
        QSqlQuery(raw).exec(QStringLiteral("PRAGMA user_version = 0"));
        QSqlQuery(raw).exec(QStringLiteral("CREATE TABLE bh_probe(x)"));
        QSqlQuery(raw).exec(QStringLiteral("DROP TABLE bh_probe"));
        raw.close();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("schema_maker"));
    auto db = Database::openSqliteFile(path);
    applySchemaFile(*db, sourceDir() + QStringLiteral("/data/schema.sql"));
    return path;
}

bool postgresqlRequested()
{
    return qEnvironmentVariable("BUHINHYO_TEST_BACKEND") == u"postgresql";
}

QString fixtureConnectionText(const QString& password)
{
    return OdbcConnectionText(QStringLiteral("MSDASQL"), qEnvironmentVariable("BUHINHYO_TEST_ODBC_DSN"),
                              qEnvironmentVariable("BUHINHYO_TEST_ODBC_UID"),
                              password.isNull() ? qEnvironmentVariable("BUHINHYO_TEST_ODBC_PWD") : password);
}

TestDatabase openTestDatabase(const QString& folder)
{
    TestDatabase t;
    if (postgresqlRequested()) {
        t.backend = QStringLiteral("postgresql");
        t.db = OpenConnectionText(fixtureConnectionText());
        for (const char* table : {"BUHINHYO_M", "BUHINHYO", "SETTEI"})
            t.db->Execute(QStringLiteral("DELETE FROM ") + QLatin1StringView(table));
    } else {
        t.backend = QStringLiteral("sqlite");
        t.filePath = makeSqliteDatabase(folder);
        t.db = OpenConnectionText(LocalConnectionText(t.filePath));
    }
    return t;
}
