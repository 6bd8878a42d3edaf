#include "AppContext.h"
#include "Connect.h"
#include "Database.h"
#include "DbTestSupport.h"
#include "RuntimeError.h"
#include "TestSupport.h"

#include <QSqlQuery>
#include <QtTest>

namespace
{

QString settings(const QString& body)
{
    return QStringLiteral("[HEAD]\r\nTITLE=部品表システム\r\n") + body;
}

} // namespace

class TestConnect : public QObject
{
    Q_OBJECT
private:
    std::unique_ptr<QTemporaryDir> m_dir;
    ScriptedMessageService m_messages;
    std::unique_ptr<AppContext> m_ctx;

    // A program folder with the settings file and its database DB/CADDB.sqlite.
    AppContext& program(const QString& iniBody)
    {
        writeCp932File(m_dir->path() + QStringLiteral("/PARA.ini"), settings(iniBody));
        m_ctx = std::make_unique<AppContext>();
        m_ctx->messages = &m_messages;
        m_ctx->setPaths(m_dir->path());
        m_ctx->makeIni();
        return *m_ctx;
    }

private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        QDir(m_dir->path()).mkpath(QStringLiteral("DB"));
        makeSqliteDatabase(m_dir->path() + QStringLiteral("/DB"));
        m_messages.clear();
    }
    void cleanup()
    {
        m_ctx.reset();
        m_dir.reset();
    }

    void connectionTexts()
    {
        QCOMPARE(LocalConnectionText(QStringLiteral("C:\\CAD\\DB\\CADDB.mdb")),
                 QStringLiteral("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=C:\\CAD\\DB\\CADDB.mdb;"));
        QCOMPARE(OracleConnectionText(QStringLiteral("CADSRV"), QStringLiteral("cad"), QStringLiteral("pw")),
                 QStringLiteral("PROVIDER=MSDASQL;Data Source=CADSRV;User ID=cad;Password=pw;"));
        QCOMPARE(
            OdbcConnectionText(QStringLiteral("MSDASQL"), QStringLiteral("部品表"), QString(), QString()),
            QStringLiteral("PROVIDER=MSDASQL;Data Source=部品表;User ID=;Password=;"));
        QCOMPARE(
            OdbcKeywordText(QStringLiteral("PROVIDER=MSDASQL;Data Source=CADSRV;User ID=cad;Password=pw;")),
            QStringLiteral("DSN=CADSRV;UID=cad;PWD=pw;"));
        const ConnectionParts p =
            ParseConnectionText(QStringLiteral("provider=MSDASQL;DATA SOURCE=x y;User ID=u;Password=p=q;"));
        QCOMPARE(p.provider, QStringLiteral("MSDASQL"));
        QCOMPARE(p.dataSource, QStringLiteral("x y"));
        QCOMPARE(p.userId, QStringLiteral("u"));
        QCOMPARE(p.password, QStringLiteral("p=q"));
    }

    void localFileBecomesTheSharedConnection()
    {
        AppContext& ctx =
            program(QStringLiteral("[DBMS]\r\nDB=LOCAL\r\n[LOCAL]\r\nMDB=DB\\CADDB.sqlite\r\n"));
        const ConnectResult r = ConnectDatabase(ctx);
        QVERIFY(!r.endProgram);
        QVERIFY(m_messages.shown.isEmpty());
        QCOMPARE(r.dbKind, QStringLiteral("LOCAL"));
        QCOMPARE(r.dbFilePath, ctx.AppPath + QStringLiteral("DB\\CADDB.sqlite"));
        QCOMPARE(r.connectionText, QStringLiteral("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=") +
                                       ctx.AppPath + QStringLiteral("DB\\CADDB.sqlite;"));
        QVERIFY(ctx.DbConnection);
        QVERIFY(ctx.DbConnection->isSqlite());
        QSqlQuery q(ctx.DbConnection->sql());
        QVERIFY(q.exec(QStringLiteral("PRAGMA journal_mode")) && q.next());
        QCOMPARE(q.value(0).toString(), QStringLiteral("wal"));
        QVERIFY(q.exec(QStringLiteral("PRAGMA synchronous")) && q.next());
        QCOMPARE(q.value(0).toInt(), 1); // NORMAL

        // Every connect replaces the shared connection; a set opened on the old one keeps it alive.
        std::weak_ptr<Database> first = ctx.DbConnection;
        auto rs = std::make_unique<Recordset>(*ctx.DbConnection, QStringLiteral("SELECT * FROM BUHINHYO"));
        QVERIFY(!ConnectDatabase(ctx).endProgram);
        QVERIFY(ctx.DbConnection != first.lock());
        QVERIFY(!first.expired());
        rs->AddNew();
        rs->SetField(QStringLiteral("CH_DWGNO"), QStringLiteral("K-1"));
        rs->SetField(QStringLiteral("CH_ASSY"), QStringLiteral("100-01"));
        rs->SetField(QStringLiteral("CH_BUHIN"), QStringLiteral("1"));
        rs->Update();
        rs.reset();
        QVERIFY(first.expired());
        QCOMPARE(Recordset(*ctx.DbConnection, QStringLiteral("SELECT * FROM BUHINHYO")).RecordCount(), 1);
    }

    void anyOtherKindMeansLocal()
    {
        for (const QString& kind : {QStringLiteral("oracle"), QStringLiteral("Odbc"),
                                    QStringLiteral("ACCESS"), QStringLiteral("ORACLE8"), QString()}) {
            m_messages.clear();
            AppContext& ctx = program(QStringLiteral("[DBMS]\r\nDB=") + kind +
                                      QStringLiteral("\r\n[LOCAL]\r\nMDB=DB\\CADDB.sqlite\r\n"));
            const ConnectResult r = ConnectDatabase(ctx);
            QCOMPARE(r.dbKind, QStringLiteral("LOCAL"));
            QVERIFY2(!r.endProgram, qPrintable(kind));
            QVERIFY(ctx.DbConnection);
        }
        // No [DBMS] at all: the settings box once, then the local file.
        m_messages.clear();
        AppContext& ctx = program(QStringLiteral("[LOCAL]\r\nMDB=DB\\CADDB.sqlite\r\n"));
        const ConnectResult r = ConnectDatabase(ctx);
        QCOMPARE(r.dbKind, QStringLiteral("LOCAL"));
        QVERIFY(!r.endProgram);
        QCOMPARE(m_messages.shown.size(), 1);
        QCOMPARE(m_messages.shown[0].title, QStringLiteral("ＩＮＩファイルエラー"));
    }

    void appPathGoesInFrontOfAnAbsoluteSetting()
    {
        // "/DB/CADDB.sqlite" is read below the program folder, not from the root.
        QDir(m_dir->path()).mkpath(QStringLiteral("abs/DB"));
        makeSqliteDatabase(m_dir->path() + QStringLiteral("/abs/DB"));
        AppContext& ctx =
            program(QStringLiteral("[DBMS]\r\nDB=LOCAL\r\n[LOCAL]\r\nMDB=/abs/DB/CADDB.sqlite\r\n"));
        const ConnectResult r = ConnectDatabase(ctx);
        QCOMPARE(r.dbFilePath, ctx.AppPath + QStringLiteral("/abs/DB/CADDB.sqlite"));
        QVERIFY(!r.endProgram);
        QCOMPARE(QFileInfo(ctx.DbConnection->sql().databaseName()).canonicalFilePath(),
                 QFileInfo(m_dir->path() + QStringLiteral("/abs/DB/CADDB.sqlite")).canonicalFilePath());
    }

    void localFailuresEndTheProgramNamingTheFile()
    {
        // A mistyped name: the program ends, and no empty database is left behind.
        AppContext& ctx =
            program(QStringLiteral("[DBMS]\r\nDB=LOCAL\r\n[LOCAL]\r\nMDB=DB\\CADBD.sqlite\r\n"));
        ConnectResult r = ConnectDatabase(ctx);
        QVERIFY(r.endProgram);
        QVERIFY(!ctx.DbConnection);
        QVERIFY(!QFile::exists(m_dir->path() + QStringLiteral("/DB/CADBD.sqlite")));
        QCOMPARE(m_messages.shown.size(), 1);
        QCOMPARE(m_messages.shown[0].icon, MsgIcon::Stop);
        QCOMPARE(m_messages.shown[0].text, r.message);
        QVERIFY2(r.message.contains(m_dir->path() + QStringLiteral("/DB/CADBD.sqlite")),
                 qPrintable(r.message));
        QVERIFY(r.message.contains(QStringLiteral("見つかりません")));
        QVERIFY(r.message.startsWith(QStringLiteral("実行時エラー '")));

        // Not a database: a text file and an empty file.
        writeCp932File(m_dir->path() + QStringLiteral("/DB/notes.sqlite"),
                       QStringLiteral("部品表のメモ\r\n"));
        QFile(m_dir->path() + QStringLiteral("/DB/empty.sqlite")).open(QIODevice::WriteOnly);
        for (const QString& name : {QStringLiteral("notes.sqlite"), QStringLiteral("empty.sqlite")}) {
            m_messages.clear();
            AppContext& c = program(QStringLiteral("[DBMS]\r\nDB=LOCAL\r\n[LOCAL]\r\nMDB=DB\\") + name +
                                    QStringLiteral("\r\n"));
            r = ConnectDatabase(c);
            QVERIFY(r.endProgram);
            QVERIFY(!c.DbConnection);
            QCOMPARE(m_messages.shown.size(), 1);
            QVERIFY2(r.message.contains(m_dir->path() + QStringLiteral("/DB/") + name),
                     qPrintable(r.message));
        }
        QVERIFY(r.message.contains(QStringLiteral("データベース ファイルではありません")));
        QCOMPARE(QFileInfo(m_dir->path() + QStringLiteral("/DB/empty.sqlite")).size(), 0);
        QVERIFY(QFileInfo(m_dir->path() + QStringLiteral("/DB/notes.sqlite")).size() < 100);
    }

    void lockedFileEndsTheProgram()
    {
        // Another program holds the file locked for writing (in the rollback-journal mode of an
        // older tool): switching to WAL cannot get the lock within the busy timeout.
        const QString path = m_dir->path() + QStringLiteral("/DB/locked.sqlite");
        QSqlDatabase other =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("other_program"));
        other.setDatabaseName(path);
        QVERIFY(other.open());
        QSqlQuery q(other);
        QVERIFY(q.exec(QStringLiteral("PRAGMA journal_mode=DELETE")));
        QVERIFY(q.exec(QStringLiteral("CREATE TABLE BUHINHYO (CH_DWGNO TEXT)")));
        QVERIFY(q.exec(QStringLiteral("BEGIN EXCLUSIVE")));
        QVERIFY(q.exec(QStringLiteral("INSERT INTO BUHINHYO VALUES ('K-1')")));

        AppContext& ctx =
            program(QStringLiteral("[DBMS]\r\nDB=LOCAL\r\n[LOCAL]\r\nMDB=DB\\locked.sqlite\r\n"));
        const ConnectResult r = ConnectDatabase(ctx, 200);
        QVERIFY(r.endProgram);
        QVERIFY(!ctx.DbConnection);
        QVERIFY2(r.message.contains(path), qPrintable(r.message));
        QVERIFY2(r.message.contains(QStringLiteral("locked")), qPrintable(r.message));
        QVERIFY(q.exec(QStringLiteral("ROLLBACK")));
        q = QSqlQuery();
        other.close();
        other = QSqlDatabase();
        QSqlDatabase::removeDatabase(QStringLiteral("other_program"));

        // Once the other program lets go, the same file connects.
        m_messages.clear();
        QVERIFY(!ConnectDatabase(ctx, 200).endProgram);
        QVERIFY(m_messages.shown.isEmpty());
    }

    void dataSourceFailuresShowAPlainBoxAndEndTheProgram()
    {
        // An earlier local connect stays the shared connection whatever the data source does.
        AppContext& ctx =
            program(QStringLiteral("[DBMS]\r\nDB=ODBC\r\n[LOCAL]\r\nMDB=DB\\CADDB.sqlite\r\n"
                                   "[ODBC]\r\nPRV=SQLOLEDB\r\nDSN=CADSRV\r\nUID=cad\r\nPWD=pw\r\n"));
        ctx.DbConnection =
            OpenConnectionText(LocalConnectionText(m_dir->path() + QStringLiteral("/DB/CADDB.sqlite")));
        const std::shared_ptr<Database> held = ctx.DbConnection;

        ConnectResult r = ConnectDatabase(ctx);
        QCOMPARE(r.dbKind, QStringLiteral("ODBC"));
        QCOMPARE(r.connectionText,
                 QStringLiteral("PROVIDER=SQLOLEDB;Data Source=CADSRV;User ID=cad;Password=pw;"));
        QVERIFY(r.endProgram);
        QCOMPARE(m_messages.shown.size(), 1);
        QCOMPARE(m_messages.shown[0].icon, MsgIcon::None);
        QCOMPARE(m_messages.shown[0].buttons, MsgButtons::Ok);
        QCOMPARE(m_messages.shown[0].title, QString());
        QCOMPARE(
            m_messages.shown[0].text,
            QStringLiteral("プロバイダが見つかりません。正しくインストールされていない可能性があります。"));
        QCOMPARE(ctx.DbConnection, held);

        // The ORACLE form through ODBC, with a data source that is not configured.
        m_messages.clear();
        AppContext& c2 = program(QStringLiteral(
            "[DBMS]\r\nDB=ORACLE\r\n[ORACLE]\r\nDSN=NO_SUCH_DSN_HERE\r\nUID=cad\r\nPWD=pw\r\n"));
        r = ConnectDatabase(c2);
        QCOMPARE(r.connectionText,
                 QStringLiteral("PROVIDER=MSDASQL;Data Source=NO_SUCH_DSN_HERE;User ID=cad;Password=pw;"));
        QVERIFY(r.endProgram);
        QVERIFY(!c2.DbConnection);
        QCOMPARE(m_messages.shown.size(), 1);
        QCOMPARE(m_messages.shown[0].title, QString());
        QVERIFY(!m_messages.shown[0].text.isEmpty());
        QCOMPARE(m_messages.shown[0].text, r.message);

        // Missing keys: their placeholders become part of the text (one settings box each).
        m_messages.clear();
        AppContext& c3 = program(QStringLiteral("[DBMS]\r\nDB=ORACLE\r\n"));
        r = ConnectDatabase(c3);
        QVERIFY(r.connectionText.startsWith(
            QStringLiteral("PROVIDER=MSDASQL;Data Source=EOFタグ：ORACLE　キー：DSN;")));
        QCOMPARE(m_messages.shown.size(), 4);
        QVERIFY(r.endProgram);
    }
};

QTEST_GUILESS_MAIN(TestConnect)
#include "TestConnect.moc"
