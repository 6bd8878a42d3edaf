#include "DataSearch.h"
#include "DataSearchScreen.h"
#include "ScreenTestHelpers.h"
#include "TestSupport.h"

using namespace Qt::StringLiterals;

// The data search KVRCAD0101 on a real database: the stored tables it finds and the screen that
// hands one back (its use as the copy source is walked through the editor).
class TestDataSearch : public QObject
{
    Q_OBJECT
    std::unique_ptr<AppFolder> f;

    QString find(const DataSearchFilter& filter)
    {
        QStringList out;
        for (const auto& t : FindStoredTables(*f->ctx.DbConnection, filter))
            out << t.dwgNo + u'/' + t.assy + u'/' + QString::number(t.lines);
        return out.join(u' ');
    }

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<AppFolder>();
        QVERIFY(f->connect());
        QList<QStringList> lines;
        for (int i = 20; i >= 1; --i)
            lines << QStringList{u"%1"_s.arg(100 + i), u"部品%1"_s.arg(i)};
        f->storeTable(u"B-200"_s, u"200-01"_s, u"1"_s, u"搬送ユニット"_s, u"南北機械"_s,
                      {{u"201"_s, u"ローラ"_s}}, u"佐藤"_s);
        f->storeTable(u"A-100"_s, u"100-01"_s, u"1"_s, u"ベースフレーム"_s, u"東西重工"_s, lines);
        f->storeTable(u"A-100"_s, u"110-01"_s, u"1"_s, u"カバー"_s, u"東西重工"_s, {});
        f->storeTable(u"A-100"_s, u"100-01"_s, u"2"_s, u"ベースフレーム購入品"_s, u"東西重工"_s,
                      {{u"101"_s, u"モータ"_s}});
    }
    void cleanup() { f.reset(); }

    void findsTablesOfTheKindSortedWithLineCounts()
    {
        const auto all = FindStoredTables(*f->ctx.DbConnection, {u"1"_s, {}, {}, {}, {}, {}});
        QCOMPARE(all.size(), 3);
        QCOMPARE(QStringList({all[0].name, all[0].designer, all[0].customer, all[0].date}),
                 QStringList({u"ベースフレーム"_s, u"山田"_s, u"東西重工"_s, u"2026/01/15"_s}));
        // kind, drawing number, assembly, name and designer prefixes, whole customer
        for (const auto& [filter, found] :
             {std::pair{DataSearchFilter{u"1"_s, {}, {}, {}, {}, {}},
                        u"A-100/100-01/20 A-100/110-01/0 B-200/200-01/1"_s},
              {DataSearchFilter{u"2"_s, {}, {}, {}, {}, {}}, u"A-100/100-01/1"_s},
              {DataSearchFilter{u"1"_s, u" B"_s, {}, {}, {}, {}}, u"B-200/200-01/1"_s},
              {DataSearchFilter{u"1"_s, {}, u"11"_s, {}, {}, {}}, u"A-100/110-01/0"_s},
              {DataSearchFilter{u"1"_s, {}, {}, u"搬送"_s, {}, {}}, u"B-200/200-01/1"_s},
              {DataSearchFilter{u"1"_s, {}, {}, {}, u"山"_s, u"南北機械"_s}, QString()}})
            QCOMPARE(find(filter), found);
    }

    void searchScreenHandsBackTheChosenTable()
    {
        f->ctx.DataSearchFlag = Int16::from(DataSearchScreen::kFromSearch);
        DataSearchScreen screen(f->ctx, u"1"_s);
        QVERIFY(showActive(&screen));
        QCOMPARE(screen.windowTitle(), u"データ検索"_s);
        QCOMPARE(control<QAbstractButton>(&screen, "cmdSelect")->text(), u"選択(F5)"_s);
        auto* grid = control<QTableWidget>(&screen, "grdTables");
        screen.search();
        QCOMPARE(grid->rowCount(), 3);
        QCOMPARE(grid->item(0, 6)->text(), u"20"_s);
        // Typing a condition narrows the grid at once.
        QTest::keyClicks(control<QLineEdit>(&screen, "txtDwgNo"), u"B"_s);
        QCOMPARE(grid->rowCount(), 1);
        QCOMPARE(control<QLabel>(&screen, "lblCount")->text(), u"1件"_s);
        // The other kind.
        control<QLineEdit>(&screen, "txtDwgNo")->clear();
        control<QRadioButton>(&screen, "optKind2")->setChecked(true);
        QCOMPARE(grid->rowCount(), 1);
        QCOMPARE(grid->item(0, 2)->text(), u"ベースフレーム購入品"_s);
        grid->setCurrentCell(0, 0);
        QTest::keyClick(&screen, Qt::Key_F5);
        QCOMPARE(screen.result(), int(QDialog::Accepted));
        QCOMPARE(screen.chosen().dwgNo + screen.chosen().kind, u"A-1002"_s);
    }
};

QTEST_MAIN(TestDataSearch)
#include "TestDataSearch.moc"
