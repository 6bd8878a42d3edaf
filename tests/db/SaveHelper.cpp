// Saves one parts table of many lines into a database file, the way the editor saves it, and
// reports each saved line on stdout ("saved N"), so that a test can kill it in the middle.
//   db_save_helper FILE LINES [PAUSE_US]
#include "Database.h"
#include "PartsRecords.h"
#include "RuntimeError.h"

#include <QCoreApplication>
#include <QThread>
#include <cstdio>

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
        const PartsHeader header{QStringLiteral("ABC精機"),      QStringLiteral("250-01"),
                                 QStringLiteral("K-2401"),       QStringLiteral("2"),
                                 QStringLiteral("搬送ユニット"), QStringLiteral("2024/04/08"),
                                 QStringLiteral("山田")};
        SaveHeader(*db, header);
        std::printf("header\n");
        std::fflush(stdout);
        for (int i = 1; i <= lines; ++i) {
            PartsLine l;
            l.zno = QStringLiteral("%1").arg(250 + i, 3, 10, QLatin1Char('0'));
            l.hinmei = QStringLiteral("六角ボルト M%1").arg(i);
            l.zaishitu = QStringLiteral("SUS304");
            l.suryo = QString::number(i % 12 + 1);
            l.tani = QStringLiteral("本");
            l.tanka = QStringLiteral("35");
            l.kingk = QString::number((i % 12 + 1) * 35);
            l.maker = QStringLiteral("ミスミ");
            SaveDetailLine(*db, header, l, QStringLiteral("20240408"));
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
