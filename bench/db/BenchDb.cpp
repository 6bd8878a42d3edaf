// Times the two database paths a user waits on, on a fresh SQLite file in a temporary folder:
// - saving a parts table of 1,000 lines the way the editor saves it (the header, then per line a
//   SELECT by number and an insert or update, each row committed on its own);
// - loading a table of 5,000 lines with the editor's FORM LOAD query into a record set and reading
//   every field of every row by name.
// Prints the median and the slowest of the rounds.
//   bench_db [ROUNDS] [SYNCHRONOUS]   (SYNCHRONOUS, e.g. FULL, replaces the program's NORMAL to compare)
#include "Database.h"
#include "ListQuery.h"
#include "PartsRecords.h"
#include "RuntimeError.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>

namespace {

QString makeDatabase(const QString& folder, const QString& name)
{
    const QString path = folder + u'/' + name;
    {
        QSqlDatabase raw = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("bench_maker"));
        raw.setDatabaseName(path);
        raw.open();
        QFile f(QStringLiteral(BUHINHYO_SCHEMA));
        f.open(QIODevice::ReadOnly);
        QString text = QString::fromUtf8(f.readAll());
        text.remove(QRegularExpression(QStringLiteral("--[^\n]*")));
        QSqlQuery q(raw);
        for (const QString& s : text.split(u';')) {
            if (!s.trimmed().isEmpty() && !q.exec(s))
                qFatal("schema: %s", qPrintable(q.lastError().text()));
        }
        q = QSqlQuery();
        raw.close();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("bench_maker"));
    return path;
}

PartsHeader header(int table)
{
    return PartsHeader{QStringLiteral("ABC精機"), QStringLiteral("250-01"), QStringLiteral("K-%1").arg(table),
                       QStringLiteral("2"), QStringLiteral("搬送ユニット"), QStringLiteral("2024/04/08"),
                       QStringLiteral("山田")};
}

QList<PartsLine> lines(int n)
{
    static const char16_t* names[] = {u"六角ボルト", u"六角ナット", u"平座金", u"ベアリング", u"LMガイド", u"止め輪"};
    QList<PartsLine> out;
    for (int i = 1; i <= n; ++i) {
        PartsLine l;
        l.zno = QStringLiteral("%1").arg(250 + i, 3, 10, QLatin1Char('0'));
        l.hinmei = QString::fromUtf16(names[i % 6]) + QStringLiteral(" M%1").arg(i % 20 + 3);
        l.zaishitu = i % 2 ? QStringLiteral("SUS304") : QStringLiteral("S45C");
        l.suryo = QString::number(i % 12 + 1);
        l.tani = QStringLiteral("本");
        l.suryo2 = i % 5 ? QString() : QStringLiteral("2");
        l.tani2 = i % 5 ? QString() : QStringLiteral("R");
        l.biko = QStringLiteral("M8×25");
        l.tanka = QStringLiteral("35");
        l.kingk = QString::number((i % 12 + 1) * 35);
        l.maker = i % 3 ? QStringLiteral("ミスミ") : QStringLiteral("THK");
        out << l;
    }
    return out;
}

struct Stats {
    double median;
    double worst;
};

Stats stats(std::vector<double> ms)
{
    std::sort(ms.begin(), ms.end());
    return {ms[ms.size() / 2], ms.back()};
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;
    const QString synchronous = argc > 2 ? QString::fromLatin1(argv[2]) : QString();
    QTemporaryDir dir;
    try {
        // Saving 1,000 new lines, then saving the same 1,000 lines again as stored lines (updates).
        std::vector<double> inserts, updates;
        for (int r = 0; r < rounds; ++r) {
            const QString path = makeDatabase(dir.path(), QStringLiteral("save%1.sqlite").arg(r));
            std::shared_ptr<Database> db = Database::openSqliteFile(path);
            if (!synchronous.isEmpty())
                db->Execute(QStringLiteral("PRAGMA synchronous=") + synchronous);
            QList<PartsLine> table = lines(1000);
            QElapsedTimer t;
            t.start();
            SaveTable(*db, header(1), table, QStringLiteral("20240408"));
            inserts.push_back(t.nsecsElapsed() / 1e6);

            Recordset rs(*db, QStringLiteral("SELECT * FROM BUHINHYO_M ORDER BY INT_NUMBER"));
            for (int i = 0; i < table.size(); ++i, rs.MoveNext())
                table[i].number = rs.Field(QStringLiteral("INT_NUMBER"));
            t.restart();
            SaveTable(*db, header(1), table, QStringLiteral("20240409"));
            updates.push_back(t.nsecsElapsed() / 1e6);
        }

        // Loading 5,000 lines (among 20,000 of four tables) with the editor's query.
        const QString path = makeDatabase(dir.path(), QStringLiteral("load.sqlite"));
        std::shared_ptr<Database> db = Database::openSqliteFile(path);
        db->BeginTrans();
        for (int table = 1; table <= 4; ++table)
            SaveTable(*db, header(table), lines(5000), QStringLiteral("20240408"));
        db->CommitTrans();
        const QString query = BuildListQuery(QStringLiteral("FORM LOAD"), QString(), QStringLiteral("K-2"),
                                             QStringLiteral("250-01"), QStringLiteral("2"), QString());
        std::vector<double> loads;
        qsizetype chars = 0;
        for (int r = 0; r < rounds; ++r) {
            QElapsedTimer t;
            t.start();
            std::unique_ptr<Recordset> rs;
            OpenRecordset(*db, rs, query);
            const QStringList fields = rs->FieldNames();
            int rows = 0;
            for (; !rs->Eof(); rs->MoveNext(), ++rows) {
                for (const QString& f : fields)
                    chars += rs->Field(f).size();
            }
            rs->Close();
            loads.push_back(t.nsecsElapsed() / 1e6);
            if (rows != 5000)
                qFatal("loaded %d rows", rows);
        }

        const Stats s1 = stats(inserts), s2 = stats(updates), s3 = stats(loads);
        std::printf("rounds: %d, synchronous=%s\n", rounds,
                    synchronous.isEmpty() ? "NORMAL" : qPrintable(synchronous));
        std::printf("| what | median | slowest | target |\n|---|---|---|---|\n");
        std::printf("| save 1,000 new lines (header + SELECT and INSERT per line) | %.0f ms | %.0f ms | < 1 s |\n",
                    s1.median, s1.worst);
        std::printf("| save 1,000 stored lines (header + SELECT and UPDATE per line) | %.0f ms | %.0f ms | < 1 s |\n",
                    s2.median, s2.worst);
        std::printf("| load 5,000 lines (FORM LOAD query, every field read) | %.0f ms | %.0f ms | < 0.2 s |\n",
                    s3.median, s3.worst);
        if (chars == 0)
            return 1;
    } catch (const RuntimeError& e) {
        std::fprintf(stderr, "%d %s\n", e.number(), e.what());
        return 1;
    }
    return 0;
}
