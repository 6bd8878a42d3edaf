// Loading a large parts table into the editor, and renumbering it.
// Usage: bench_editor [lines]   (default 5000)

#include "../BenchEnvironment.h"
#include "EditorScreen.h"
#include "Numbering.h"
#include "TestSupport.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSqlQuery>
#include <QTableView>
#include <algorithm>
#include <cstdio>

namespace
{
double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

void storeLines(AppFolder& env, int lines)
{
    env.exec(QStringLiteral(
        "INSERT INTO BUHINHYO (CH_DWGNO, CH_ASSY, CH_BUHIN, CH_USER, CH_NAME, CH_HDATE, CH_DESINED) "
        "VALUES ('K-9000','250-01','1','客先Ａ','大型ユニット','2024/03/05','山田')"));
    env.sql().transaction();
    QSqlQuery q(env.sql());
    q.prepare(QStringLiteral("INSERT INTO BUHINHYO_M (CH_ASSY, CH_DWGNO, CH_USER, CH_BUHIN, CH_ZNO, "
                             "CH_HINMEI, CH_ZAISHITU, INT_SURYO, "
                             "CH_TANI, INT_SURYO2, CH_TANI2, CH_BIKO, INT_TANKA, INT_KINGK, CH_MAKER, "
                             "CH_HAISHI, CH_KAKKO, CH_UPDDATE) "
                             "VALUES "
                             "('250-01','K-9000','客先Ａ','1',?,?,'SS400',2,'個',1,'m','黒染め',8600,17200,'"
                             "ミスミ',?,?,'20240305')"));
    for (int i = 0; i < lines; ++i) {
        q.addBindValue(QString::number(251 + i).rightJustified(3, u'0'));
        q.addBindValue(QString(QStringLiteral("部品名称") + QString::number(i)));
        q.addBindValue(i % 50 == 7 ? 1 : 0);
        q.addBindValue(i % 40 == 3 ? 1 : 0);
        q.exec();
    }
    env.sql().commit();
}
} // namespace

int main(int argc, char** argv)
{
    UseBenchEnvironment();
    QApplication app(argc, argv);
    const int lines = argc > 1 ? std::max(1, atoi(argv[1])) : 5000;

    AppFolder env;
    storeLines(env, lines);
    env.connect();

    EditorScreen screen(env.ctx, env.ctx.DbConnection);
    screen.resize(1400, 900);
    screen.show();
    QElapsedTimer t;
    t.start();
    if (!screen.openTable({QStringLiteral("K-9000"), QStringLiteral("250-01"), QStringLiteral("大型ユニット"),
                           QStringLiteral("1"), QStringLiteral("2024/03/05"), QStringLiteral("山田")}))
        return 1;
    const double firstOpen = double(t.nsecsElapsed()) / 1e6;
    if (screen.gridView()->model()->rowCount() != lines) {
        std::fprintf(stderr, "expected %d lines, got %d\n", lines, screen.gridView()->model()->rowCount());
        return 1;
    }

    // Loading: the header and detail queries, the grid filled, renumbered, the view told, painted.
    std::vector<double> loads;
    for (int i = 0; i < 9; ++i) {
        t.restart();
        screen.editor().load();
        QCoreApplication::processEvents();
        loads.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    // Renumbering every line, the view told once.
    std::vector<double> renumbers;
    for (int i = 0; i < 51; ++i) {
        t.restart();
        screen.editor().setStartNumber(i % 2);
        QCoreApplication::processEvents();
        renumbers.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    // The same without a view attached: the plain grid only.
    PartsGrid plain;
    plain.setLines(std::vector<PartsGrid::Line>(size_t(lines)));
    std::vector<double> plainRenumbers;
    for (int i = 0; i < 51; ++i) {
        t.restart();
        Renumber(plain, QStringLiteral("250-01"), i % 2);
        plainRenumbers.push_back(double(t.nsecsElapsed()) / 1e6);
    }

    std::printf("| measurement (%d lines) | median ms | target ms |\n|---|---:|---:|\n", lines);
    std::printf("| first opening (lists, load, screen) | %.1f | |\n", firstOpen);
    std::printf("| load: queries, grid fill, renumber (median of 9) | %.1f | 300 |\n", median(loads));
    std::printf("| renumber with the grid view attached and repainted (median of 51) | %.2f | 20 |\n",
                median(renumbers));
    std::printf("| renumber of the plain grid (median of 51) | %.2f | 20 |\n", median(plainRenumbers));
    const bool ok = median(loads) < 300.0 && median(renumbers) < 20.0;
    std::printf("\n%s\n", ok ? "within targets" : "OUTSIDE TARGETS");
    return ok ? 0 : 2;
}
