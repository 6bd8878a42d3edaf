#include "AppContext.h"
#include "Connect.h"
#include "Database.h"
#include "DbTestSupport.h"
#include "RuntimeError.h"
#include "TestSupport.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QtTest>

using namespace Qt::StringLiterals;

class TestConnect : public QObject
{
    Q_OBJECT
    std::unique_ptr<QTemporaryDir> m_dir;
    ScriptedMessageService m_messages;
    std::unique_ptr<AppContext> m_ctx;

    QString path(const QString& name) const { return m_dir->path() + u'/' + name; }

    // A program folder with the given settings file (or the shipped one) and DB/CADDB.sqlite; the
    // connect is run and its result returned.
    ConnectResult connect(const QString& iniText, int busyTimeoutMs = 5000)
    {
        if (iniText.isNull())
            QFile::copy(shippedIniPath(), path(u"PARA.ini"_s));
        else
            writeCp932File(path(u"PARA.ini"_s), iniText);
        m_ctx = std::make_unique<AppContext>();
        m_ctx->messages = &m_messages;
        m_ctx->setPaths(m_dir->path());
        m_ctx->makeIni();
        m_messages.clear();
        return ConnectDatabase(*m_ctx, busyTimeoutMs);
    }
    static QString local(const QString& mdb)
    {
        return u"[DBMS]\r\nDB=LOCAL\r\n[LOCAL]\r\nMDB="_s + mdb + u"\r\n"_s;
    }

private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QDir(m_dir->path()).mkpath(u"DB"_s);
        makeSqliteDatabase(path(u"DB"_s));
    }
    void cleanup()
    {
        m_ctx.reset();
        m_dir.reset();
    }

    void connectionTexts()
    {
        QCOMPARE(OracleConnectionText(u"CADSRV"_s, u"cad"_s, u"pw"_s),
                 u"PROVIDER=MSDASQL;Data Source=CADSRV;User ID=cad;Password=pw;"_s);
        QCOMPARE(OdbcKeywordText(u"PROVIDER=MSDASQL;Data Source=CADSRV;User ID=cad;Password=pw;"_s),
                 u"DSN=CADSRV;UID=cad;PWD=pw;"_s);
        const ConnectionParts p =
            ParseConnectionText(u"provider=MSDASQL;DATA SOURCE=x y;User ID=u;Password=p=q;"_s);
        QCOMPARE(QStringList({p.provider, p.dataSource, p.userId, p.password}),
                 QStringList({u"MSDASQL"_s, u"x y"_s, u"u"_s, u"p=q"_s}));
    }

    void localFileBecomesTheSharedConnection()
    {
        ConnectResult r = connect(local(u"DB\\CADDB.sqlite"_s));
        AppContext& ctx = *m_ctx;
        QVERIFY(!r.endProgram);
        QVERIFY(m_messages.shown.isEmpty());
        QCOMPARE(r.dbKind, u"LOCAL"_s);
        QCOMPARE(r.connectionText,
                 u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source="_s + ctx.AppPath + u"DB\\CADDB.sqlite;"_s);
        QVERIFY(ctx.DbConnection && ctx.DbConnection->isSqlite());
        QSqlQuery q(ctx.DbConnection->sql());
        QVERIFY(q.exec(u"PRAGMA journal_mode"_s) && q.next());
        QCOMPARE(q.value(0).toString(), u"wal"_s);

        // Every connect replaces the shared connection; a set opened on the old one keeps it alive.
        std::weak_ptr<Database> first = ctx.DbConnection;
        auto rs = std::make_unique<Recordset>(*ctx.DbConnection, u"SELECT * FROM BUHINHYO"_s);
        QVERIFY(!ConnectDatabase(ctx).endProgram);
        QVERIFY(ctx.DbConnection != first.lock());
        QVERIFY(!first.expired());
        rs->AddNew();
        rs->SetField(u"CH_DWGNO"_s, u"K-1"_s);
        rs->SetField(u"CH_ASSY"_s, u"100-01"_s);
        rs->SetField(u"CH_BUHIN"_s, u"1"_s);
        rs->Update();
        rs.reset();
        QVERIFY(first.expired());
        QCOMPARE(countRows(*ctx.DbConnection, u"SELECT * FROM BUHINHYO"_s), 1);

        // The shipped settings name the staged database.
        r = connect(QString());
        QVERIFY2(!r.endProgram, qPrintable(r.message));
        QVERIFY(m_messages.shown.isEmpty());
        QVERIFY(r.dbFilePath.endsWith(u"DB\\CADDB.sqlite"_s));
    }

    void earlierDatabaseComparesTextWithoutCase()
    {
        // A database file as the schema made it before its text columns were caseless.
        QString schema = QString::fromUtf8(readFileBytes(sourceDir() + u"/data/schema.sql"_s));
        QVERIFY(schema.contains(u" COLLATE NOCASE"_s));
        QFile old(path(u"old-schema.sql"_s));
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write(schema.remove(u" COLLATE NOCASE"_s).toUtf8());
        old.close();
        const QString file = path(u"old.sqlite"_s);
        QFile(makeSqliteDatabase(m_dir->path(), u"empty.sqlite"_s)).copy(file);
        {
            auto db = Database::openSqliteFile(file);
            for (const QString& table : {u"BUHINHYO_M"_s, u"BUHINHYO"_s, u"SETTEI"_s})
                QSqlQuery(db->sql()).exec(u"DROP TABLE "_s + table);
            applySchemaFile(*db, old.fileName());
            QSqlQuery q(db->sql());
            for (
                const QString& sql :
                {u"INSERT INTO BUHINHYO (CH_DWGNO, CH_ASSY, CH_BUHIN) VALUES ('K-2401', '01', '1')"_s,
                 u"INSERT INTO BUHINHYO_M (CH_DWGNO, CH_ASSY, CH_BUHIN, INT_SURYO) VALUES ('K-2401', '01', '1', 2.5)"_s,
                 u"INSERT INTO BUHINHYO_M (CH_DWGNO, CH_ASSY, CH_BUHIN) VALUES ('K-2401', '01', '1')"_s,
                 u"DELETE FROM BUHINHYO_M WHERE INT_NUMBER = 2"_s,
                 u"INSERT INTO SETTEI (CH_USER, CH_BUHIN) VALUES ('ABC精機', '1')"_s})
                QVERIFY2(q.exec(sql), qPrintable(q.lastError().text()));
            QCOMPARE(countRows(*db, u"SELECT * FROM BUHINHYO WHERE CH_DWGNO = 'k-2401'"_s), 0);
        }
        // Opened by the program: rebuilt once, rows, numbers, numbering and indexes kept.
        auto db = Database::openSqliteFile(file);
        QCOMPARE(countRows(*db, u"SELECT * FROM BUHINHYO WHERE CH_ASSY  = '01' AND CH_DWGNO = 'k-2401' AND "
                                u"CH_BUHIN = '1'"_s),
                 1);
        QCOMPARE(countRows(*db, u"SELECT * FROM SETTEI WHERE CH_USER = 'abc精機' and CH_BUHIN = '1'"_s), 1);
        Recordset rs(*db, u"SELECT * FROM BUHINHYO_M WHERE CH_DWGNO = 'k-2401' ORDER BY CH_ZNO"_s);
        QCOMPARE(rs.RecordCount(), 1);
        QCOMPARE(rs.Field(u"INT_SURYO"_s), u"2.5"_s);
        QSqlQuery q(db->sql());
        QVERIFY(q.exec(u"INSERT INTO BUHINHYO_M (CH_DWGNO) VALUES ('K-2402')"_s));
        QCOMPARE(q.lastInsertId().toInt(), 3);
        QCOMPARE(countRows(*db, u"SELECT * FROM sqlite_master WHERE name IN ('BUHINHYO_M_TABLE', "
                                u"'BUHINHYO_M_HINMEI', 'BUHINHYO_M_ZAISHITU')"_s),
                 3);
    }

    void anyOtherKindMeansLocal()
    {
        for (const QString& kind : {u"oracle"_s, u"Odbc"_s, u"ACCESS"_s, u"ORACLE8"_s, QString()}) {
            const ConnectResult r =
                connect(u"[DBMS]\r\nDB="_s + kind + u"\r\n[LOCAL]\r\nMDB=DB\\CADDB.sqlite\r\n"_s);
            QCOMPARE(r.dbKind, u"LOCAL"_s);
            QVERIFY2(!r.endProgram && m_ctx->DbConnection, qPrintable(kind));
        }
        // No [DBMS] at all: the settings box once, then the local file.
        const ConnectResult r = connect(u"[LOCAL]\r\nMDB=DB\\CADDB.sqlite\r\n"_s);
        QCOMPARE(r.dbKind, u"LOCAL"_s);
        QVERIFY(!r.endProgram);
        QCOMPARE(m_messages.shown.size(), 1);
        QCOMPARE(m_messages.shown[0].title, u"ＩＮＩファイルエラー"_s);

        // An absolute-looking setting is still read below the program folder.
        QDir(m_dir->path()).mkpath(u"abs/DB"_s);
        makeSqliteDatabase(path(u"abs/DB"_s));
        QVERIFY(!connect(local(u"/abs/DB/CADDB.sqlite"_s)).endProgram);
        QCOMPARE(QFileInfo(m_ctx->DbConnection->sql().databaseName()).canonicalFilePath(),
                 QFileInfo(path(u"abs/DB/CADDB.sqlite"_s)).canonicalFilePath());
    }

    void localFailuresEndTheProgramNamingTheFile()
    {
        writeCp932File(path(u"DB/notes.sqlite"_s), u"部品表のメモ\r\n"_s);
        QFile(path(u"DB/empty.sqlite"_s)).open(QIODevice::WriteOnly);
        // A mistyped name (no empty database is left behind), a text file and an empty file.
        for (const QString& name : {u"CADBD.sqlite"_s, u"notes.sqlite"_s, u"empty.sqlite"_s}) {
            const ConnectResult r = connect(local(u"DB\\"_s + name));
            QVERIFY(r.endProgram);
            QVERIFY(!m_ctx->DbConnection);
            QCOMPARE(m_messages.shown.size(), 1);
            QCOMPARE(m_messages.shown[0].icon, MsgIcon::Stop);
            QCOMPARE(m_messages.shown[0].text, r.message);
            QVERIFY2(r.message.startsWith(u"実行時エラー '"_s) && r.message.contains(path(u"DB/"_s) + name),
                     qPrintable(r.message));
            // (a text file is described in the database engine's own words)
            if (name != u"notes.sqlite")
                QVERIFY(r.message.contains(name == u"CADBD.sqlite"
                                               ? u"見つかりません"_s
                                               : u"データベース ファイルではありません"_s));
        }
        QVERIFY(!QFile::exists(path(u"DB/CADBD.sqlite"_s)));
        QCOMPARE(QFileInfo(path(u"DB/empty.sqlite"_s)).size(), 0);
        QVERIFY(QFileInfo(path(u"DB/notes.sqlite"_s)).size() < 100);
    }

    void lockedFileEndsTheProgram()
    {
        // Another program holds the file locked for writing (in the rollback-journal mode of an
        // older tool): switching to WAL cannot get the lock within the busy timeout.
        {
            QSqlDatabase other = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"other_program"_s);
            other.setDatabaseName(path(u"DB/locked.sqlite"_s));
            QVERIFY(other.open());
            QSqlQuery q(other);
            for (const QString& sql :
                 {u"PRAGMA journal_mode=DELETE"_s, u"CREATE TABLE BUHINHYO (CH_DWGNO TEXT)"_s,
                  u"BEGIN EXCLUSIVE"_s, u"INSERT INTO BUHINHYO VALUES ('K-1')"_s})
                QVERIFY(q.exec(sql));
            const ConnectResult r = connect(local(u"DB\\locked.sqlite"_s), 200);
            QVERIFY(r.endProgram);
            QVERIFY(!m_ctx->DbConnection);
            QVERIFY2(r.message.contains(path(u"DB/locked.sqlite"_s)) && r.message.contains(u"locked"_s),
                     qPrintable(r.message));
            QVERIFY(q.exec(u"ROLLBACK"_s));
        }
        QSqlDatabase::removeDatabase(u"other_program"_s);
        // Once the other program lets go, the same file connects.
        QVERIFY(!connect(local(u"DB\\locked.sqlite"_s), 200).endProgram);
        QVERIFY(m_messages.shown.isEmpty());
    }

    void dataSourcesAreOnlyCheckedAndFailuresEndTheProgram()
    {
        // A provider that is not there. An earlier local connect stays the shared connection.
        const QString odbc =
            u"[DBMS]\r\nDB=ODBC\r\n[ODBC]\r\nPRV=SQLOLEDB\r\nDSN=CADSRV\r\nUID=cad\r\nPWD=pw\r\n"_s;
        ConnectResult r = connect(odbc);
        const std::shared_ptr<Database> held =
            OpenConnectionText(LocalConnectionText(path(u"DB/CADDB.sqlite"_s)));
        m_ctx->DbConnection = held;
        m_messages.clear();
        r = ConnectDatabase(*m_ctx);
        QCOMPARE(r.dbKind, u"ODBC"_s);
        QCOMPARE(r.connectionText, u"PROVIDER=SQLOLEDB;Data Source=CADSRV;User ID=cad;Password=pw;"_s);
        QVERIFY(r.endProgram);
        QCOMPARE(m_messages.shown.size(), 1);
        QCOMPARE(m_messages.shown[0].icon, MsgIcon::None);
        QCOMPARE(m_messages.shown[0].buttons, MsgButtons::Ok);
        QCOMPARE(m_messages.shown[0].title, QString());
        QCOMPARE(m_messages.shown[0].text,
                 u"プロバイダが見つかりません。正しくインストールされていない可能性があります。"_s);
        QCOMPARE(m_ctx->DbConnection, held);

        // The ORACLE form through ODBC, with a data source that is not configured.
        r = connect(u"[DBMS]\r\nDB=ORACLE\r\n[ORACLE]\r\nDSN=NO_SUCH_DSN_HERE\r\nUID=cad\r\nPWD=pw\r\n"_s);
        QCOMPARE(r.connectionText,
                 u"PROVIDER=MSDASQL;Data Source=NO_SUCH_DSN_HERE;User ID=cad;Password=pw;"_s);
        QVERIFY(r.endProgram);
        QVERIFY(!m_ctx->DbConnection);
        QCOMPARE(m_messages.shown.size(), 1);
        QVERIFY(!r.message.isEmpty());
        QCOMPARE(m_messages.shown[0].text, r.message);

        // Missing keys: their placeholders become part of the text (one settings box each).
        r = connect(u"[DBMS]\r\nDB=ORACLE\r\n"_s);
        QVERIFY(r.connectionText.startsWith(u"PROVIDER=MSDASQL;Data Source=EOFタグ：ORACLE　キー：DSN;"_s));
        QCOMPARE(m_messages.shown.size(), 4);
        QVERIFY(r.endProgram);
    }
};

QTEST_GUILESS_MAIN(TestConnect)
#include "TestConnect.moc"
