// Team use on the PostgreSQL cluster of the test fixture: desks are processes of this program (each
// with its own session), the editor is the real screen, the administration command the staged one.
#include "Connect.h"
#include "Cursor.h"
#include "DbTestSupport.h"
#include "DrawingSearch.h"
#include "EditorColumns.h"
#include "EditorScreen.h"
#include "PartsRecords.h"
#include "RuntimeError.h"
#include "ScreenTestHelpers.h"
#include "TeamMode.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QPushButton>
#include <QScopeGuard>
#include <QThread>
#include <QtTest>
#include <csignal>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{

// "test_team --hold DWG": a second desk holding the table open, until it is killed. "--save DWG N": a
// desk saving a new table of N lines, line by line.
int deskProcess(const QString& mode, const QString& dwgNo, int lines)
{
    try {
        const std::shared_ptr<Database> db = OpenConnectionText(DbFixture::connectionText());
        if (mode == u"--save") {
            QList<PartsLine> table;
            for (int i = 1; i <= lines; ++i)
                table.append({QString(), u"%1"_s.arg(i, 3, 10, QChar(u'0')), u"品%1"_s.arg(i), u"SS400"_s,
                              u"1"_s, u"個"_s});
            SaveTable(*db,
                      {u"客先A"_s, u"01"_s, dwgNo, u"1"_s, u"搬送ユニット"_s, u"2026/11/21"_s, u"山田"_s},
                      table, u"20261121"_s);
            return 0;
        }
        // The holding desk connects as the program does, with the team connection's settings.
        AppFolder desk(AppFolder::kIni, AppFolder::Server::Joined);
        if (!desk.connect())
            throw RuntimeError(1, desk.messages.texts().join(u'\n'));
        LockHolder holder;
        const auto lock =
            TeamLock::take(desk.ctx.DbConnection, PartsTableLockName(dwgNo, u"01"_s, u"1"_s), &holder);
        // It listens for notices, so that the server can be made to send it something unasked.
        desk.ctx.DbConnection->Execute(u"LISTEN buhinhyo_test_desk"_s);
        // The port its session comes from, for a test to cut its network.
        Cursor port(*desk.ctx.DbConnection, u"SELECT inet_client_port()"_s);
        std::printf("%s\nport %s\n", lock ? "held" : qPrintable(holder.describe()),
                    port.next() ? qPrintable(port.value(0).toString()) : "?");
        std::fflush(stdout);
        for (int i = 0; lock && i < 600; ++i)
            QThread::msleep(100);
    } catch (const RuntimeError& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    return 0;
}

} // namespace

class TestTeam : public QObject
{
    Q_OBJECT
    std::unique_ptr<AppFolder> m_app;

    QString self() const { return QCoreApplication::applicationFilePath(); }
    static int run(const QString& program, const QStringList& args, QString* out = nullptr,
                   const QStringList& env = {})
    {
        QProcess p;
        QProcessEnvironment e = QProcessEnvironment::systemEnvironment();
        for (const QString& kv : env)
            e.insert(kv.section(u'=', 0, 0), kv.section(u'=', 1));
        p.setProcessEnvironment(e);
        p.start(program, args);
        const bool ended = p.waitForFinished(120000) && p.exitStatus() == QProcess::NormalExit;
        if (out)
            *out = QString::fromUtf8(p.readAllStandardOutput() + p.readAllStandardError());
        return ended ? p.exitCode() : -1;
    }
    EditorScreen* openEditor(const QString& dwgNo)
    {
        auto editor = std::make_unique<EditorScreen>(m_app->ctx, m_app->ctx.DbConnection);
        return editor->openTable({dwgNo, u"01"_s, u"搬送ユニット"_s, u"1"_s, u"2026/11/21"_s, u"山田"_s})
                   ? editor.release()
                   : nullptr;
    }

private Q_SLOTS:
    void init()
    {
        if (!teamMode())
            QSKIP("needs the PostgreSQL fixture of the test run in team mode");
        m_app = std::make_unique<AppFolder>();
        QVERIFY(m_app->connect());
    }

    // The second desk is told who has the table and may only read it; the first desk killed, the
    // table is free for the second within seconds.
    void twoDesksOneTable()
    {
        // The desk's session: listed under the program's name, its commits not waiting for the
        // server's disk, its network watched.
        {
            Cursor session(
                *m_app->ctx.DbConnection,
                u"SELECT current_setting('application_name'), current_setting('synchronous_commit'), "
                "current_setting('tcp_keepalives_idle'), current_setting('tcp_user_timeout')"_s);
            QVERIFY(session.next());
            QCOMPARE(session.row(), (QList<QVariant>{u"buhinhyo"_s, u"off"_s, u"30"_s, u"60000"_s}));
        }
        std::unique_ptr<EditorScreen> first(openEditor(u"T-1"_s));
        QVERIFY(first && first->readOnlyReason().isEmpty() && m_app->messages.shown.isEmpty());
        QString told;
        QCOMPARE(run(self(), {u"--hold"_s, u"T-1"_s}, &told), 0);
        QVERIFY2(told.contains(ThisDesk() + u" の "_s + ThisUser() + u" さんが "_s), qPrintable(told));
        first.reset(); // closing the editor frees the table

        QProcess other;
        other.start(self(), {u"--hold"_s, u"T-1"_s});
        QVERIFY(other.waitForReadyRead(30000) && other.readLine().trimmed() == "held");
        // Nor is it deleted from the drawing search of this desk.
        m_app->storeTable(u"T-1"_s, u"01"_s, u"1"_s, u"搬送ユニット"_s, u"客先A"_s, {{u"001"_s, u"軸"_s}});
        {
            DrawingSearchScreen search(m_app->ctx);
            QVERIFY(search.load());
            typeInto(&search, "txtDwgNo", u"T-1"_s);
            typeInto(&search, "txtAssy", u"01"_s);
            click(&search, "cmd3");
        }
        QVERIFY2(m_app->shownBoxes().value(0).startsWith(u"注意|部品表 T-1 / 01 (製作) は "_s) &&
                     m_app->shownBoxes().value(0).endsWith(u"削除できません。"_s),
                 qPrintable(m_app->shownBoxes().value(0)));
        QCOMPARE(m_app->count(u"SELECT COUNT(*) FROM BUHINHYO_M WHERE CH_DWGNO = 'T-1'"_s), 1);
        m_app->messages.clear();
        QVERIFY(m_app->connect());
        m_app->messages.setNextAnswer(MsgAnswer::No);
        QVERIFY(!openEditor(u"T-1"_s)); // cancelled
        m_app->messages.setNextAnswer(MsgAnswer::Yes);
        std::unique_ptr<EditorScreen> second(openEditor(u"T-1"_s));
        QVERIFY(second && m_app->messages.shown.size() == 2);
        QVERIFY2(m_app->messages.shown[1].text.contains(u"部品表 T-1 / 01 (製作) は "_s + ThisDesk()),
                 qPrintable(m_app->messages.shown[1].text));
        QVERIFY(second->readOnlyReason().contains(u"更新と行削除はできません"_s) &&
                second->windowTitle().contains(second->readOnlyReason()));
        for (const char* name : {"cmdUpdate", "cmdDeleteLine"})
            QVERIFY(!second->findChild<QPushButton*>(QLatin1StringView(name))->isEnabled());
        QVERIFY(second->findChild<QPushButton*>(u"cmdPreview"_s)->isEnabled());
        second.reset();

        ::kill(static_cast<pid_t>(other.processId()), SIGKILL);
        QVERIFY(other.waitForFinished(10000));
        QElapsedTimer waited;
        waited.start();
        std::unique_ptr<TeamLock> lock;
        QTRY_VERIFY_WITH_TIMEOUT(
            (lock = TeamLock::take(m_app->ctx.DbConnection, PartsTableLockName(u"T-1"_s, u"01"_s, u"1"_s),
                                   nullptr)),
            10000);
        qInfo("the killed desk's table was free after %lld ms", waited.elapsed());
    }

    // A desk whose network goes away (from then on its packets are lost both ways, as when a cable is
    // pulled, a reply on its way to it too): the server notices within about a minute and the table
    // is free for the others.
    void aDeskThatLosesItsNetworkFreesItsTable()
    {
        QProcess other;
        const auto ended = qScopeGuard([&] {
            other.kill();
            other.waitForFinished(10000);
        });
        other.start(self(), {u"--hold"_s, u"T-2"_s});
        QVERIFY(other.waitForReadyRead(30000) && other.readLine().trimmed() == "held");
        QTRY_VERIFY(other.canReadLine());
        const QString port = QString::fromLatin1(other.readLine().trimmed().sliced(5));
        // From now on that connection's packets are dropped as they arrive, both ways, by a table of
        // the kernel's packet filter of this run's own.
        const QString table = u"buhinhyo_test_%1"_s.arg(QCoreApplication::applicationPid());
        QString out;
        const auto nft = [&](const QStringList& args) { return run(u"nft"_s, args, &out) == 0; };
        if (!nft({u"add"_s, u"table"_s, u"inet"_s, table}))
            QSKIP(qPrintable(u"packets cannot be dropped here (nft as root, package nftables): "_s + out));
        const auto restore = qScopeGuard([&] { nft({u"delete"_s, u"table"_s, u"inet"_s, table}); });
        QVERIFY2(nft({u"add"_s, u"chain"_s, u"inet"_s, table, u"input"_s,
                      u"{ type filter hook input priority 0 ; }"_s}),
                 qPrintable(out));
        for (const QString& side : {u"sport"_s, u"dport"_s})
            QVERIFY2(
                nft({u"add"_s, u"rule"_s, u"inet"_s, table, u"input"_s, u"tcp"_s, side, port, u"drop"_s}),
                qPrintable(out));
        // A notice on its way to the desk when the network went: the server has data that the desk
        // never acknowledges, not only silence to probe.
        m_app->ctx.DbConnection->Execute(u"NOTIFY buhinhyo_test_desk"_s);
        QElapsedTimer waited;
        waited.start();
        LockHolder holder;
        QVERIFY(
            !TeamLock::take(m_app->ctx.DbConnection, PartsTableLockName(u"T-2"_s, u"01"_s, u"1"_s), &holder));
        std::unique_ptr<TeamLock> lock;
        QTRY_VERIFY_WITH_TIMEOUT(
            (lock = TeamLock::take(m_app->ctx.DbConnection, PartsTableLockName(u"T-2"_s, u"01"_s, u"1"_s),
                                   nullptr)),
            90000);
        qInfo("the table of the desk without network was free after %lld s", waited.elapsed() / 1000);
        QVERIFY(waited.elapsed() > 25000); // by the server's own watch, not by the desk's doing
    }

    // Eight desks save different tables at the same time: every line once, every number unique.
    void eightDesksSaveAtOnce()
    {
        std::vector<std::unique_ptr<QProcess>> desks;
        for (int d = 1; d <= 8; ++d) {
            desks.push_back(std::make_unique<QProcess>());
            desks.back()->start(self(), {u"--save"_s, u"D-%1"_s.arg(d), u"150"_s});
        }
        for (auto& p : desks)
            QVERIFY(p->waitForFinished(120000) && p->exitCode() == 0);
        QCOMPARE(
            m_app->lines(u"SELECT COUNT(*), COUNT(DISTINCT INT_NUMBER), COUNT(DISTINCT CH_DWGNO || CH_ZNO), "
                         "(SELECT COUNT(*) FROM BUHINHYO) FROM BUHINHYO_M"_s),
            QStringList(u"1200|1200|1200|8"_s));
    }

    // The server ends a desk's session (restarted, or by its administrator): the next save ends with
    // a box that says the database cannot be reached, with the driver's words; the editor keeps what
    // was typed.
    void aDeskWhoseSessionEndsIsTold()
    {
        std::unique_ptr<EditorScreen> editor(openEditor(u"T-3"_s));
        QVERIFY(editor);
        m_app->exec(
            u"SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE application_name = 'buhinhyo'"_s);
        typeInto(editor.get(), "cboUser", u"客先A"_s);
        editor->editor().grid().setCell(1, EditorCol::Hinmei, u"軸"_s);
        click(editor.get(), "cmdUpdate");
        QVERIFY2(m_app->shownBoxes().join(u'\n').contains(u"データベースに接続できません。原因: "_s),
                 qPrintable(m_app->shownBoxes().join(u'\n')));
        QCOMPARE(editor->editor().grid().cell(1, EditorCol::Hinmei), u"軸"_s); // the user's lines stay
    }

    // The administration command beside the program moves the sample data in, refuses a second run
    // and lists who holds what.
    void copyToServerAndWho()
    {
        const QString admin = qEnvironmentVariable("BUHINHYO_BINARY_DIR") + u"/app/buhinhyo-admin"_s;
        QVERIFY(QFile::copy(admin, m_app->path(u"buhinhyo-admin"_s)));
        // The staged program folder's database: the sample tables and the sample customers' layouts,
        // one of them naming a template this desk does not have.
        const QString staged = qEnvironmentVariable("BUHINHYO_BINARY_DIR") + u"/app/DB/CADDB.sqlite"_s;
        const QString file = m_app->path(u"DB/sample.sqlite"_s);
        if (!QFile::copy(staged, file))
            QSKIP("the program folder is not staged");
        OpenConnectionText(LocalConnectionText(file))
            ->Execute(u"UPDATE SETTEI SET CH_ORGPATH = '/nowhere/雛形.xlsx' WHERE CH_USER = 'ABC精機'"_s);
        m_app->writeIni(QString(AppFolder::kIni).replace(u"CADDB.sqlite"_s, u"sample.sqlite"_s));
        m_app->exec(u"INSERT INTO SETTEI (CH_USER, CH_BUHIN) VALUES ('別の客先', '1')"_s);

        QString out;
        QCOMPARE(run(m_app->path(u"buhinhyo-admin"_s), {u"copy-to-server"_s}, &out), 0);
        const auto local = OpenConnectionText(LocalConnectionText(file));
        QStringList counts;
        for (const char* table : {"BUHINHYO", "BUHINHYO_M", "SETTEI"}) {
            const int n = countRows(*local, u"SELECT * FROM "_s + QLatin1StringView(table));
            QVERIFY(n > 0);
            counts << u"%1: %2 行"_s.arg(QLatin1StringView(table)).arg(n);
        }
        QVERIFY2(out.contains(counts.join(u", "_s)) &&
                     out.contains(u"ファイルがこの端末にありません: /nowhere/雛形.xlsx"_s),
                 qPrintable(out));
        const QStringList before = m_app->lines(u"SELECT CH_DWGNO, CH_ZNO, CH_HINMEI, CH_HAISHI, INT_SURYO "
                                                "FROM BUHINHYO_M ORDER BY 1, 2, 3"_s);
        QCOMPARE(run(m_app->path(u"buhinhyo-admin"_s), {u"copy-to-server"_s}, &out), 3);
        QVERIFY2(out.contains(u"何もコピーしていません:\nbuhinhyo-admin:   出力設定 ABC精機 (製作ﾘｽﾄ)"_s),
                 qPrintable(out));
        QCOMPARE(m_app->lines(u"SELECT CH_DWGNO, CH_ZNO, CH_HINMEI, CH_HAISHI, INT_SURYO FROM BUHINHYO_M "
                              "ORDER BY 1, 2, 3"_s),
                 before);

        std::unique_ptr<EditorScreen> editor(openEditor(u"W-1"_s));
        QVERIFY(editor);
        QCOMPARE(run(m_app->path(u"buhinhyo-admin"_s), {u"who"_s}, &out), 0);
        QVERIFY2(out.contains(u"部品表 W-1 / 01 (製作)\t"_s + ThisDesk() + u'\t' + ThisUser()),
                 qPrintable(out));
        editor.reset();
        QCOMPARE(run(m_app->path(u"buhinhyo-admin"_s), {u"who"_s}, &out), 0);
        QVERIFY2(out.contains(u"ありません"_s), qPrintable(out));
    }

    // The set-up script makes role, database, tables, the server's setting and the data source
    // once; a second run changes nothing and the data sources already in the file stay.
    void serverSetUpTwice()
    {
        QFile fixtureIni(qEnvironmentVariable("ODBCINI"));
        QVERIFY(fixtureIni.open(QIODevice::ReadOnly));
        const QString port =
            QString::fromUtf8(fixtureIni.readAll()).section(u"Port="_s, 1).section(u'\n', 0, 0);
        const QString odbcIni = m_app->path(u"odbc.ini"_s);
        QFile f(odbcIni);
        QVERIFY(f.open(QIODevice::WriteOnly) &&
                f.write("[kept]\nDriver=PostgreSQL Unicode\nDatabase=x\n") > 0);
        f.close();
        const QStringList env{u"PGHOST=127.0.0.1"_s, u"PGPORT="_s + port, u"PGUSER=postgres"_s,
                              u"PGPASSWORD=postgres-superuser-pw"_s, u"ODBCINI="_s + odbcIni};
        const QStringList args{u"--host"_s,     u"127.0.0.1"_s,  u"--port"_s, port,
                               u"--database"_s, u"team_setup"_s, u"--user"_s, u"desk"_s,
                               u"--password"_s, u"desk pw"_s,    u"--dsn"_s,  u"team_setup"_s};
        QString out;
        QCOMPARE(run(sourceDir() + u"/scripts/team-server.sh"_s, args, &out, env), 0);
        QVERIFY2(out.contains(u"DB=ODBC"_s) && out.contains(u"SHARED=1"_s) && out.contains(u"PWD=desk pw"_s),
                 qPrintable(out));
        const QByteArray first = readFileBytes(odbcIni);
        QVERIFY(first.startsWith("[kept]\nDriver=PostgreSQL Unicode\nDatabase=x\n[team_setup]\n"));
        // A desk reaches the new database through the new data source; a second run keeps its rows.
        qputenv("ODBCINI", odbcIni.toLocal8Bit());
        const auto db =
            OpenConnectionText(OdbcConnectionText(u"MSDASQL"_s, u"team_setup"_s, u"desk"_s, u"desk pw"_s));
        qputenv("ODBCINI", fixtureIni.fileName().toLocal8Bit());
        SaveTable(*db, {u"客先A"_s, u"01"_s, u"S-1"_s, u"1"_s}, {{QString(), u"001"_s, u"軸"_s}},
                  u"20261125"_s);
        // The server's WAL writer flushes whenever a desk's commit wakes it.
        QTRY_COMPARE(countRows(*db, u"SELECT 1 WHERE current_setting('wal_writer_flush_after') = '0'"_s), 1);
        const int rows = countRows(*db, u"SELECT * FROM BUHINHYO_M"_s);
        QCOMPARE(run(sourceDir() + u"/scripts/team-server.sh"_s, args, &out, env), 0);
        QCOMPARE(readFileBytes(odbcIni), first);
        QVERIFY(rows > 0 && countRows(*db, u"SELECT * FROM BUHINHYO_M"_s) == rows);
    }
};

int main(int argc, char** argv)
{
    const QByteArray mode = argc >= 3 ? QByteArray(argv[1]) : QByteArray();
    if (mode == "--hold" || mode == "--save") {
        QCoreApplication app(argc, argv);
        return deskProcess(QString::fromLatin1(mode), QString::fromLocal8Bit(argv[2]),
                           argc > 3 ? std::atoi(argv[3]) : 0);
    }
    QApplication app(argc, argv);
    TestTeam tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}
#include "TestTeam.moc"
