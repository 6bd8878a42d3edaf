#include "DbTestSupport.h"

#include "Connect.h"
#include "TestSupport.h"

using namespace Qt::StringLiterals;

bool DbFixture::postgresql()
{
    return qEnvironmentVariable("BUHINHYO_TEST_BACKEND") == u"postgresql";
}

QString DbFixture::connectionText(const QString& password)
{
    return OdbcConnectionText(u"MSDASQL"_s, qEnvironmentVariable("BUHINHYO_TEST_ODBC_DSN"),
                              qEnvironmentVariable("BUHINHYO_TEST_ODBC_UID"),
                              password.isNull() ? qEnvironmentVariable("BUHINHYO_TEST_ODBC_PWD") : password);
}

void DbFixture::open()
{
    shared.reset();
    dir = std::make_unique<QTemporaryDir>();
    if (!postgresql()) {
        shared = OpenConnectionText(LocalConnectionText(makeSqliteDatabase(dir->path())));
        return;
    }
    shared = OpenConnectionText(connectionText());
    for (const char* table : {"BUHINHYO_M", "BUHINHYO", "SETTEI"})
        shared->Execute(u"DELETE FROM "_s + QLatin1StringView(table));
}

int countRows(Database& db, const QString& sql)
{
    return Recordset(db, sql).RecordCount();
}
