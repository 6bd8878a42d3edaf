// Saves one parts table of many lines into a database file, the way the editor saves it, and
// reports each saved line on stdout ("saved N"), so that a test can kill it in the middle.
//   db_save_helper FILE LINES [PAUSE_US]
#include "Database.h"
#include "PartsRecords.h"
#include "RuntimeError.h"

#include <QCoreApplication>
#include <QThread>
#include <cstdio>

using namespace Qt::StringLiterals;

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 3)
        return 2;
    const int lines = args[2].toInt();
    const int pauseUs = args.size() > 3 ? args[3].toInt() : 0;
    try {
        std::shared_ptr<Database> db = Database::openSqliteFile(args[1]);
        const PartsHeader header{u"ABC精機"_s,      u"250-01"_s,     u"K-2401"_s, u"2"_s,
                                 u"搬送ユニット"_s, u"2024/04/08"_s, u"山田"_s};
        SaveHeader(*db, header);
        std::printf("header\n");
        std::fflush(stdout);
        for (int i = 1; i <= lines; ++i) {
            PartsLine l;
            l.zno = u"%1"_s.arg(250 + i, 3, 10, QLatin1Char('0'));
            l.hinmei = u"六角ボルト M%1"_s.arg(i);
            l.zaishitu = u"SUS304"_s;
            l.suryo = QString::number(i % 12 + 1);
            l.tani = u"本"_s;
            l.tanka = u"35"_s;
            l.kingk = QString::number((i % 12 + 1) * 35);
            l.maker = u"ミスミ"_s;
            SaveDetailLine(*db, header, l, u"20240408"_s);
            std::printf("saved %d\n", i);
            std::fflush(stdout);
            if (pauseUs > 0)
                QThread::usleep(pauseUs);
        }
    } catch (const RuntimeError& e) {
        std::fprintf(stderr, "%d %s\n", e.number(), e.what());
        return 1;
    }
    return 0;
}
