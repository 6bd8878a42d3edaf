#include "AppContext.h"
#include "Connect.h"
#include "Database.h"
#include "DbTestSupport.h"
#include "TestSupport.h"

#include <QtTest>

using namespace Qt::StringLiterals;

// Connecting to the PostgreSQL server of the test fixture through ODBC, as configured in PARA.ini.
class TestOdbcConnect : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir m_dir;
    ScriptedMessageService m_messages;
    std::unique_ptr<AppContext> m_ctx;

    AppContext& program(const QString& section, const QString& provider, const QString& password)
    {
        QString ini = u"[HEAD]\r\nTITLE=部品表システム\r\n[DBMS]\r\nDB="_s + section +
                      u"\r\n[LOCAL]\r\nMDB=DB\\CADDB.sqlite\r\n["_s + section + u"]\r\n"_s;
        if (!provider.isEmpty())
            ini += u"PRV="_s + provider + u"\r\n"_s;
        ini += u"DSN="_s + qEnvironmentVariable("BUHINHYO_TEST_ODBC_DSN") + u"\r\nUID="_s +
               qEnvironmentVariable("BUHINHYO_TEST_ODBC_UID") + u"\r\nPWD="_s + password + u"\r\n"_s;
        writeCp932File(m_dir.path() + u"/PARA.ini"_s, ini);
        m_ctx = std::make_unique<AppContext>();
        m_ctx->messages = &m_messages;
        m_ctx->setPaths(m_dir.path());
        m_ctx->makeIni();
        m_messages.clear();
        return *m_ctx;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!postgresqlRequested())
            QSKIP("needs the PostgreSQL fixture of the test run");
        QVERIFY(m_dir.isValid());
    }

    void dataSourceConnectsOnAConnectionOfItsOwn()
    {
        const QString password = qEnvironmentVariable("BUHINHYO_TEST_ODBC_PWD");
        for (const auto& [section, provider] :
             {std::pair{u"ODBC"_s, u"MSDASQL"_s}, std::pair{u"ODBC"_s, u"ODBC"_s},
              std::pair{u"ORACLE"_s, QString()}}) {
            AppContext& ctx = program(section, provider, password);
            const ConnectResult r = ConnectDatabase(ctx);
            QVERIFY2(!r.endProgram, qPrintable(r.message));
            QVERIFY(m_messages.shown.isEmpty());
            QCOMPARE(r.dbKind, section);
            // The shared connection keeps what it held: nothing at the first connect.
            QVERIFY(!ctx.DbConnection);
        }
    }

    void wrongPasswordShowsTheServersMessageAndEndsTheProgram()
    {
        AppContext& ctx = program(u"ODBC"_s, u"MSDASQL"_s, u"not-the-password"_s);
        const ConnectResult r = ConnectDatabase(ctx);
        QVERIFY(r.endProgram);
        QCOMPARE(m_messages.shown.size(), 1);
        const ScriptedMessageService::Shown& box = m_messages.shown[0];
        QCOMPARE(box.icon, MsgIcon::None);
        QCOMPARE(box.buttons, MsgButtons::Ok);
        QCOMPARE(box.title, QString());
        QVERIFY2(box.text.contains(u"password authentication failed"_s), qPrintable(box.text));
        QCOMPARE(box.text, r.message);
        QVERIFY(!ctx.DbConnection);
    }
};

QTEST_GUILESS_MAIN(TestOdbcConnect)
#include "TestOdbcConnect.moc"
