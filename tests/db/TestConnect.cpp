#include "Connect.h"
#include "DbTestSupport.h"
#include "TestSupport.h"

#include <QSqlQuery>
#include <QtTest>

using namespace Qt::StringLiterals;

// Connecting as configured in PARA.ini: the local file, and (test_db_connect_postgresql) the data
// source of the PostgreSQL fixture through ODBC.
class TestConnect : public QObject
{
    Q_OBJECT
    std::unique_ptr<AppFolder> m_f;

    ConnectResult connect(const QString& iniText, int busyTimeoutMs = 5000)
    {
        m_f->writeIni(iniText);
        m_f->messages.clear();
        return ConnectDatabase(m_f->ctx, busyTimeoutMs);
    }
    static QString local(const QString& mdb)
    {
        return u"[DBMS]\r\nDB=LOCAL\r\n[LOCAL]\r\nMDB="_s + mdb + u"\r\n"_s;
    }
    static QString source(const QString& section, const QString& provider, const QString& password)
    {
        return u"[DBMS]\r\nDB=%1\r\n[%1]\r\nPRV=%2\r\nDSN=%3\r\nUID=%4\r\nPWD=%5\r\n"_s.arg(
            section, provider, qEnvironmentVariable("BUHINHYO_TEST_ODBC_DSN"),
            qEnvironmentVariable("BUHINHYO_TEST_ODBC_UID"), password);
    }

private Q_SLOTS:
    void init() { m_f = std::make_unique<AppFolder>(); }

    void localFileBecomesTheSharedConnection()
    {
        ConnectResult r = connect(local(u"DB\\CADDB.sqlite"_s));
        AppContext& ctx = m_f->ctx;
        QVERIFY(!r.endProgram && m_f->messages.shown.isEmpty());
        QCOMPARE(r.connectionText,
                 u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source="_s + ctx.AppPath + u"DB\\CADDB.sqlite;"_s);
        QSqlQuery q(ctx.DbConnection->sql());
        QVERIFY(q.exec(u"PRAGMA journal_mode"_s) && q.next());
        QCOMPARE(q.value(0).toString(), u"wal"_s);
        // Every connect replaces the shared connection; a set opened on the old one keeps it alive.
        std::weak_ptr<Database> first = ctx.DbConnection;
        auto rs = std::make_unique<Recordset>(*ctx.DbConnection, u"SELECT * FROM BUHINHYO"_s);
        QVERIFY(!ConnectDatabase(ctx).endProgram);
        QVERIFY(ctx.DbConnection != first.lock());
        rs->AddNew();
        for (const QString& key : {u"CH_DWGNO"_s, u"CH_ASSY"_s, u"CH_BUHIN"_s})
            rs->SetField(key, u"1"_s);
        rs->Update();
        rs.reset();
        QVERIFY(first.expired());
        QCOMPARE(m_f->count(u"SELECT COUNT(*) FROM BUHINHYO"_s), 1);
        // Any other kind means the local file; without [DBMS] the settings box comes first.
        const QString file = u"[LOCAL]\r\nMDB=DB\\CADDB.sqlite\r\n"_s;
        for (const QString& kind : {u"oracle"_s, u"ACCESS"_s, QString()})
            QCOMPARE(connect(u"[DBMS]\r\nDB="_s + kind + u"\r\n"_s + file).dbKind, u"LOCAL"_s);
        QVERIFY(!connect(file).endProgram);
        QCOMPARE(m_f->messages.shown.size(), 1);
        // An absolute-looking setting is still read below the program folder.
        QDir(m_f->dir.path()).mkpath(u"abs/DB"_s);
        makeSqliteDatabase(m_f->path(u"abs/DB"_s));
        QVERIFY(!connect(local(u"/abs/DB/CADDB.sqlite"_s)).endProgram);
        QCOMPARE(QFileInfo(ctx.DbConnection->sql().databaseName()).canonicalFilePath(),
                 QFileInfo(m_f->path(u"abs/DB/CADDB.sqlite"_s)).canonicalFilePath());
    }

    void localFailuresEndTheProgramNamingTheFile()
    {
        writeCp932File(m_f->path(u"DB/notes.sqlite"_s), u"部品表のメモ\r\n"_s);
        QFile(m_f->path(u"DB/empty.sqlite"_s)).open(QIODevice::WriteOnly);
        // A mistyped name (no empty database is left behind), a text file and an empty file.
        for (const QString& name : {u"CADBD.sqlite"_s, u"notes.sqlite"_s, u"empty.sqlite"_s}) {
            const ConnectResult r = connect(local(u"DB\\"_s + name));
            QVERIFY(r.endProgram && !m_f->ctx.DbConnection);
            QCOMPARE(m_f->messages.texts(), QStringList(r.message));
            QCOMPARE(m_f->messages.shown[0].icon, MsgIcon::Stop);
            QVERIFY2(r.message.startsWith(u"実行時エラー '"_s) &&
                         r.message.contains(m_f->path(u"DB/"_s) + name),
                     qPrintable(r.message));
        }
        QVERIFY(!QFile::exists(m_f->path(u"DB/CADBD.sqlite"_s)));
        QCOMPARE(QFileInfo(m_f->path(u"DB/empty.sqlite"_s)).size(), 0);
        // Another program holds the file locked for writing: switching to WAL cannot get the lock.
        {
            QSqlDatabase other = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"other_program"_s);
            other.setDatabaseName(m_f->path(u"DB/locked.sqlite"_s));
            QVERIFY(other.open());
            QSqlQuery q(other);
            for (const QString& sql :
                 {u"PRAGMA journal_mode=DELETE"_s, u"CREATE TABLE BUHINHYO (CH_DWGNO TEXT)"_s,
                  u"BEGIN EXCLUSIVE"_s, u"INSERT INTO BUHINHYO VALUES ('K-1')"_s})
                QVERIFY(q.exec(sql));
            const ConnectResult r = connect(local(u"DB\\locked.sqlite"_s), 200);
            QVERIFY(r.endProgram && r.message.contains(u"locked"_s));
            QVERIFY(q.exec(u"ROLLBACK"_s));
        }
        QSqlDatabase::removeDatabase(u"other_program"_s);
        QVERIFY(!connect(local(u"DB\\locked.sqlite"_s), 200).endProgram);
    }

    void dataSourcesAreOnlyCheckedAndFailuresEndTheProgram()
    {
        // A provider that is not there. An earlier local connect stays the shared connection.
        QVERIFY(m_f->connect());
        const std::shared_ptr<Database> held = m_f->ctx.DbConnection;
        ConnectResult r =
            connect(u"[DBMS]\r\nDB=ODBC\r\n[ODBC]\r\nPRV=SQLOLEDB\r\nDSN=CADSRV\r\nUID=cad\r\nPWD=pw\r\n"_s);
        QCOMPARE(r.connectionText, u"PROVIDER=SQLOLEDB;Data Source=CADSRV;User ID=cad;Password=pw;"_s);
        QVERIFY(r.endProgram);
        QCOMPARE(
            m_f->shownBoxes(),
            QStringList(u"|プロバイダが見つかりません。正しくインストールされていない可能性があります。"_s));
        QCOMPARE(m_f->messages.shown[0].icon, MsgIcon::None);
        QCOMPARE(m_f->ctx.DbConnection, held);
        // The ORACLE form through ODBC, with a data source that is not configured.
        r = connect(u"[DBMS]\r\nDB=ORACLE\r\n[ORACLE]\r\nDSN=NO_SUCH_DSN_HERE\r\nUID=cad\r\nPWD=pw\r\n"_s);
        QCOMPARE(r.connectionText,
                 u"PROVIDER=MSDASQL;Data Source=NO_SUCH_DSN_HERE;User ID=cad;Password=pw;"_s);
        QVERIFY(r.endProgram && !r.message.isEmpty());
        QCOMPARE(m_f->messages.texts(), QStringList(r.message));
        // Missing keys: their placeholders become part of the text (one settings box each).
        r = connect(u"[DBMS]\r\nDB=ORACLE\r\n"_s);
        QVERIFY(r.connectionText.startsWith(u"PROVIDER=MSDASQL;Data Source=EOFタグ：ORACLE　キー：DSN;"_s));
        QCOMPARE(m_f->messages.shown.size(), 4);
    }

    void theFixturesDataSourceConnectsOnAConnectionOfItsOwn()
    {
        if (!DbFixture::postgresql())
            QSKIP("needs the PostgreSQL fixture of the test run");
        const QString password = qEnvironmentVariable("BUHINHYO_TEST_ODBC_PWD");
        for (const auto& [section, provider] :
             {std::pair{u"ODBC"_s, u"MSDASQL"_s}, {u"ODBC"_s, u"ODBC"_s}, {u"ORACLE"_s, QString()}}) {
            const ConnectResult r = connect(source(section, provider, password));
            QVERIFY2(!r.endProgram && m_f->messages.shown.isEmpty(), qPrintable(r.message));
            QVERIFY(!m_f->ctx.DbConnection); // the shared connection keeps what it held
        }
        // A wrong password: the server's message in a plain box, and the end.
        const ConnectResult r = connect(source(u"ODBC"_s, u"MSDASQL"_s, u"not-the-password"_s));
        QVERIFY(r.endProgram);
        QCOMPARE(m_f->shownBoxes(), QStringList(u"|"_s + r.message));
        QVERIFY2(r.message.contains(u"password authentication failed"_s), qPrintable(r.message));
    }
};

QTEST_GUILESS_MAIN(TestConnect)
#include "TestConnect.moc"
