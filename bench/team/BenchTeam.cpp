// Team use under load: simulated desks (processes) against one PostgreSQL server, each opening its
// own 200-line parts table in the editor's logic (with the server lock), changing every line,
// saving it (the editor's per-line writes and reload) and printing it through buhinhyo-print.
// Usage: bench_team FOLDER [desks=20] [seconds=60] [lines=200]
//   FOLDER: a program folder whose PARA.ini is in team mode ([DBMS] DB=ODBC, [ODBC] SHARED=1), with
//   buhinhyo-print beside it and the sample customers' layouts on the server (bench/team/run.sh).
// Prints p50/p95 of open, save and print over all desks, and the lines lost or duplicated.

#include "AppContext.h"
#include "Connect.h"
#include "Database.h"
#include "EditorColumns.h"
#include "PartsRecords.h"
#include "PartsTableEditor.h"
#include "RuntimeError.h"
#include "TeamMode.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSqlQuery>
#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

namespace
{

const QString kCustomer = QStringLiteral("ABC精機");
const QString kAssy = QStringLiteral("B-01");

QString tableOf(int desk)
{
    return QStringLiteral("BENCH-%1").arg(desk, 2, 10, QChar(u'0'));
}

struct Desk {
    AppContext ctx;
    ScriptedMessageService messages;
    SystemClock clock;
    explicit Desk(const QString& folder)
    {
        ctx.setPaths(folder);
        ctx.messages = &messages;
        ctx.clock = &clock;
        ctx.makeIni();
        if (ConnectDatabase(ctx).endProgram || !ctx.DbConnection)
            throw RuntimeError(1, QStringLiteral("cannot connect: ") + messages.shown.value(0).text);
    }
};

// Runs the desk's buhinhyo-print. It is spawned without copying the desk's memory (as a fork would),
// so that starting it costs the machine no more than a user's command line does.
void runPrint(const QString& folder, const QStringList& args)
{
    const QString errors = folder + QStringLiteral("/WORK/print-errors.txt");
    std::vector<QByteArray> texts{QFile::encodeName(folder + QStringLiteral("/buhinhyo-print"))};
    for (const QString& a : args)
        texts.push_back(a.toUtf8());
    std::vector<char*> argv;
    for (QByteArray& t : texts)
        argv.push_back(t.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, QFile::encodeName(errors).constData(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t pid = 0;
    const int failed = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    if (failed != 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        QFile text(errors);
        text.open(QIODevice::ReadOnly);
        throw RuntimeError(4, QStringLiteral("print failed: ") + QString::fromUtf8(text.readAll()));
    }
}

// One desk: open, change every line, save, print, until the time is up. One line per round:
// "open_ms save_ms print_ms".
int runDesk(const QString& folder, int desk, int seconds)
{
    Desk d(folder);
    PartsTableEditor editor(d.ctx, d.ctx.DbConnection);
    const EditorOpenValues values{tableOf(desk),
                                  kAssy,
                                  QStringLiteral("負荷試験"),
                                  QStringLiteral("1"),
                                  QStringLiteral("2026/11/25"),
                                  QStringLiteral("山田")};
    const QDeadlineTimer deadline(seconds * 1000);
    for (int round = 1; !deadline.hasExpired(); ++round) {
        QElapsedTimer t;
        t.start();
        LockHolder holder;
        const auto lock = TeamLock::take(d.ctx.DbConnection,
                                         PartsTableLockName(values.dwgNo, values.assy, values.kind), &holder);
        if (!lock)
            throw RuntimeError(2, QStringLiteral("table held by ") + holder.describe());
        editor.open(values);
        const qint64 open = t.restart();
        PartsGrid& grid = editor.grid();
        for (int row = 1; row <= grid.lineCount(); ++row)
            grid.setCell(row, EditorCol::Biko, QStringLiteral("rev %1").arg(round));
        editor.header().customer = kCustomer;
        if (editor.save() != PartsTableEditor::SaveResult::Saved)
            throw RuntimeError(3, QStringLiteral("not saved"));
        const qint64 save = t.restart();
        runPrint(folder,
                 {QStringLiteral("--dwgno"), values.dwgNo, QStringLiteral("--assy"), kAssy,
                  QStringLiteral("--kind"), QStringLiteral("1"), QStringLiteral("--customer"), kCustomer,
                  QStringLiteral("--out"), folder + QStringLiteral("/WORK/%1.xlsx").arg(values.dwgNo)});
        std::printf("%lld %lld %lld\n", open, save, t.elapsed());
        std::fflush(stdout);
    }
    return 0;
}

double percentile(std::vector<double> v, double p)
{
    if (v.empty())
        return 0;
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, size_t(p * double(v.size() - 1) + 0.5))];
}

int runBench(const QString& folder, int desks, int seconds, int lines)
{
    Desk d(folder);
    Database& db = *d.ctx.DbConnection;
    // Each desk's table, made afresh.
    for (int desk = 1; desk <= desks; ++desk) {
        db.Execute(QStringLiteral("DELETE FROM BUHINHYO_M WHERE CH_DWGNO = '%1'").arg(tableOf(desk)));
        db.Execute(QStringLiteral("DELETE FROM BUHINHYO WHERE CH_DWGNO = '%1'").arg(tableOf(desk)));
        QList<PartsLine> table;
        for (int i = 1; i <= lines; ++i)
            table.append({QString(), QStringLiteral("%1").arg(i, 3, 10, QChar(u'0')),
                          QStringLiteral("部品%1").arg(i % 37), QStringLiteral("SS400"),
                          QString::number(1 + i % 4), QStringLiteral("個"), QString(), QString(), QString(),
                          QString::number(100 + i), QString(), QStringLiteral("ミスミ")});
        SaveTable(db,
                  {kCustomer, kAssy, tableOf(desk), QStringLiteral("1"), QStringLiteral("負荷試験"),
                   QStringLiteral("2026/11/25"), QStringLiteral("山田")},
                  table, QStringLiteral("20261125"));
    }

    // Each desk has a program folder of its own (its settings file, buhinhyo-print, its WORK).
    std::vector<std::unique_ptr<QProcess>> procs;
    for (int desk = 1; desk <= desks; ++desk) {
        const QString own = folder + QStringLiteral("/desk-%1").arg(desk);
        QDir().mkpath(own + QStringLiteral("/WORK"));
        for (const char* file : {"PARA.ini", "buhinhyo-print"})
            if (const QString name = QString::fromLatin1(file);
                !QFile::exists(own + u'/' + name) && !QFile::copy(folder + u'/' + name, own + u'/' + name))
                throw RuntimeError(5, QStringLiteral("cannot make the desk folder ") + own);
        procs.push_back(std::make_unique<QProcess>());
        procs.back()->start(QCoreApplication::applicationFilePath(),
                            {QStringLiteral("--desk"), own, QString::number(desk), QString::number(seconds)});
    }
    std::vector<double> open, save, print;
    int failed = 0;
    for (auto& p : procs) {
        p->waitForFinished((seconds + 300) * 1000);
        if (p->exitStatus() != QProcess::NormalExit || p->exitCode() != 0) {
            ++failed;
            std::fprintf(stderr, "desk failed: %s\n", p->readAllStandardError().constData());
        }
        for (const QByteArray& line : p->readAllStandardOutput().split('\n')) {
            const QList<QByteArray> f = line.split(' ');
            if (f.size() != 3)
                continue;
            open.push_back(f[0].toDouble());
            save.push_back(f[1].toDouble());
            print.push_back(f[2].toDouble());
        }
    }

    // Every table must hold its lines exactly once, each with the last round's change.
    QSqlQuery q(db.sql());
    q.exec(QStringLiteral(
        "SELECT COUNT(*), COUNT(DISTINCT CH_DWGNO || '/' || CH_ZNO), COUNT(DISTINCT INT_NUMBER) "
        "FROM BUHINHYO_M WHERE CH_DWGNO LIKE 'BENCH-%'"));
    q.next();
    const int stored = q.value(0).toInt();
    const int distinct = q.value(1).toInt();
    const int numbers = q.value(2).toInt();
    const int expected = desks * lines;
    std::printf("desks %d, %d s, %d lines per table: %zu rounds (%d desks failed)\n", desks, seconds, lines,
                save.size(), failed);
    std::printf("open  p50 %.0f ms  p95 %.0f ms\n", percentile(open, 0.5), percentile(open, 0.95));
    std::printf("save  p50 %.0f ms  p95 %.0f ms  max %.0f ms\n", percentile(save, 0.5),
                percentile(save, 0.95), percentile(save, 1.0));
    std::printf("print p50 %.0f ms  p95 %.0f ms\n", percentile(print, 0.5), percentile(print, 0.95));
    std::printf("lines lost %d, duplicated %d, numbers given twice %d\n", std::max(0, expected - distinct),
                stored - distinct, stored - numbers);
    return failed == 0 && stored == expected && distinct == expected && numbers == stored ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList a = app.arguments();
    try {
        if (a.size() == 5 && a[1] == u"--desk")
            return runDesk(a[2], a[3].toInt(), a[4].toInt());
        if (a.size() < 2 || a[1].startsWith(u'-')) {
            std::fprintf(stderr, "usage: bench_team FOLDER [desks] [seconds] [lines]\n");
            return 2;
        }
        return runBench(a[1], a.value(2, QStringLiteral("20")).toInt(),
                        a.value(3, QStringLiteral("60")).toInt(), a.value(4, QStringLiteral("200")).toInt());
    } catch (const RuntimeError& e) {
        std::fprintf(stderr, "bench_team: %s\n", e.what());
        return 1;
    }
}
