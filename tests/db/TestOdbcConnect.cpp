#include "AppContext.h"
#include "Connect.h"
#include "Database.h"
#include "DbTestSupport.h"
#include "PartsRecords.h"
#include "TestSupport.h"

#include <QtTest>

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
        QString ini = QStringLiteral("[HEAD]\r\nTITLE=部品表システム\r\n[DBMS]\r\nDB=") + section +
                      QStringLiteral("\r\n[LOCAL]\r\nMDB=DB\\CADDB.sqlite\r\n[") + section +
                      QStringLiteral("]\r\n");
        if (!provider.isEmpty())
            ini += QStringLiteral("PRV=") + provider + QStringLiteral("\r\n");
        ini += QStringLiteral("DSN=") + qEnvironmentVariable("BUHINHYO_TEST_ODBC_DSN") +
               QStringLiteral("\r\nUID=") + qEnvironmentVariable("BUHINHYO_TEST_ODBC_UID") +
               QStringLiteral("\r\nPWD=") + password + QStringLiteral("\r\n");
        writeCp932File(m_dir.path() + QStringLiteral("/PARA.ini"), ini);
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
        for (const auto& [section, provider] : {std::pair{QStringLiteral("ODBC"), QStringLiteral("MSDASQL")},
                                                std::pair{QStringLiteral("ODBC"), QStringLiteral("ODBC")},
                                                std::pair{QStringLiteral("ORACLE"), QString()}}) {
            AppContext& ctx = program(section, provider, password);
            const ConnectResult r = ConnectDatabase(ctx);
            QVERIFY2(!r.endProgram, qPrintable(r.message));
            QVERIFY(m_messages.shown.isEmpty());
            QCOMPARE(r.dbKind, section);
            // The shared connection keeps what it held: nothing at the first connect.
            QVERIFY(!ctx.DbConnection);
        }

        // The same text opens a connection that works with the parts table records.
        const QString text =
            OdbcConnectionText(QStringLiteral("MSDASQL"), qEnvironmentVariable("BUHINHYO_TEST_ODBC_DSN"),
                               qEnvironmentVariable("BUHINHYO_TEST_ODBC_UID"), password);
        std::shared_ptr<Database> db = OpenConnectionText(text);
        QCOMPARE(db->dialect(), Database::Dialect::PostgreSql);
        db->Execute(QStringLiteral("DELETE * FROM BUHINHYO"));
        PartsHeader h{QStringLiteral("東和工業"),     QStringLiteral("100-01"),
                      QStringLiteral("TW-0117"),      QStringLiteral("2"),
                      QStringLiteral("位置決め治具"), QStringLiteral("2024/06/21"),
                      QStringLiteral("鈴木")};
        SaveHeader(*db, h);
        QCOMPARE(ReadHeader(*db, h.assy, h.dwgNo, h.kind)->name, QStringLiteral("位置決め治具"));
    }

    void wrongPasswordShowsTheServersMessageAndEndsTheProgram()
    {
        AppContext& ctx =
            program(QStringLiteral("ODBC"), QStringLiteral("MSDASQL"), QStringLiteral("not-the-password"));
        const ConnectResult r = ConnectDatabase(ctx);
        QVERIFY(r.endProgram);
        QCOMPARE(m_messages.shown.size(), 1);
        const ScriptedMessageService::Shown& box = m_messages.shown[0];
        QCOMPARE(box.icon, MsgIcon::None);
        QCOMPARE(box.buttons, MsgButtons::Ok);
        QCOMPARE(box.title, QString());
        QVERIFY2(box.text.contains(QStringLiteral("password authentication failed")), qPrintable(box.text));
        QCOMPARE(box.text, r.message);
        QVERIFY(!ctx.DbConnection);
    }
};

QTEST_GUILESS_MAIN(TestOdbcConnect)
#include "TestOdbcConnect.moc"
