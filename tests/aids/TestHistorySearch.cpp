#include "HistorySearch.h"
#include "HistorySearchDialog.h"
#include "ScreenTestHelpers.h"
#include "TestSupport.h"

using namespace Qt::StringLiterals;

// The name and material history on a real database: the values of the kind with their summed
// quantity, narrowed by customer, maker and the typed beginning, and the screen that offers them.
class TestHistorySearch : public QObject
{
    Q_OBJECT
    std::unique_ptr<AppFolder> f;

    QString run(const HistoryFilter& filter)
    {
        QStringList out;
        for (const auto& e : RunHistorySearch(*f->ctx.DbConnection, filter))
            out << e.value + u'=' + e.quantity;
        return out.join(u' ');
    }

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<AppFolder>();
        QVERIFY(f->connect());
        const QString m = u"ミスミ"_s, o = u"オリエンタル"_s, z = u"0"_s;
        f->storeTable(u"D1"_s, u"100"_s, u"1"_s, u"名"_s, u"東西重工"_s,
                      {{u"101"_s, u"ボルト"_s, z, z, u"4"_s, u"SS400"_s, m},
                       {u"102"_s, u"ボルト"_s, z, z, u"6"_s, u"SUS304"_s, o}});
        f->storeTable(u"D2"_s, u"200"_s, u"1"_s, u"名"_s, u"南北機械"_s,
                      {{u"201"_s, u"ボルト"_s, z, z, u"10"_s, u"SS400"_s, m},
                       {u"202"_s, u"ブラケット"_s, z, z, u"1"_s, u"SS400"_s, m},
                       {u"203"_s, u"ナット"_s, z, z, QString(), u"S45C"_s, o},
                       {u"204"_s, QString(), z, z, u"3"_s, u"S45C"_s, o}});
        f->storeTable(u"D3"_s, u"300"_s, u"2"_s, u"名"_s, u"東西重工"_s,
                      {{u"301"_s, u"モータ"_s, z, z, u"2"_s, u"-"_s, o}});
    }
    void cleanup() { f.reset(); }

    void valuesWithSummedQuantities()
    {
        const QString name = NameColumn(), material = MaterialColumn();
        // column, kind, customer, maker, typed beginning -> values; blanks around the filters do not count
        for (const auto& [filter, found] :
             {std::pair{HistoryFilter{name, u"1"_s, {}, {}, {}}, u"ナット= ブラケット=1 ボルト=20"_s},
              {HistoryFilter{name, u"2"_s, {}, {}, {}}, u"モータ=2"_s},
              {HistoryFilter{material, u"1"_s, {}, {}, {}}, u"S45C=3 SS400=15 SUS304=6"_s},
              {HistoryFilter{name, u"1"_s, u"東西重工"_s, {}, {}}, u"ボルト=10"_s},
              {HistoryFilter{name, u"1"_s, u"東西重工"_s, u"ミスミ"_s, {}}, u"ボルト=4"_s},
              {HistoryFilter{name, u"1"_s, u"  "_s, u" ミスミ "_s, {}}, u"ブラケット=1 ボルト=14"_s},
              {HistoryFilter{name, u"1"_s, {}, u"ミスミ"_s, u"ブ"_s}, u"ブラケット=1"_s},
              {HistoryFilter{name, u"1"_s, {}, {}, u"ト"_s}, QString()}, // the typed text begins the value
              {HistoryFilter{name, u"1"_s, u"どこにもない客先"_s, {}, {}}, QString()}})
            QCOMPARE(run(filter), found);
    }

    void screenShowsHitsAndEnterChoosesOne()
    {
        HistorySearchDialog dialog(f->ctx, {NameColumn(), u"1"_s, u"南北機械"_s, QString(), u"ボ"_s});
        QVERIFY(showActive(&dialog));
        QCOMPARE(dialog.windowTitle(), u"品名履歴検索"_s);
        auto* table = control<QTableWidget>(&dialog, "grdHistory");
        QCOMPARE(textOf(&dialog, "txtTyped"), u"ボ"_s);
        QCOMPARE(control<QLabel>(&dialog, "lblCustomer")->text(), u"南北機械"_s);
        QVERIFY(!control<QWidget>(&dialog, "cmdSelect")->isEnabled());
        QTest::keyClick(&dialog, Qt::Key_F5); // nothing listed: F5 does nothing
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
        dialog.search();
        QCOMPARE(table->rowCount(), 1);
        QCOMPARE(table->item(0, 0)->text() + table->item(0, 1)->text(), u"ボルト10"_s);
        // Widening the typed text and searching again (F1) shows more.
        typeInto(&dialog, "txtTyped", QString());
        QTest::keyClick(&dialog, Qt::Key_F1);
        QCOMPARE(control<QLabel>(&dialog, "lblCount")->text(), u"3件"_s);
        table->setCurrentCell(1, 0);
        QTest::keyClick(table, Qt::Key_Return);
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QCOMPARE(dialog.chosenValue(), u"ブラケット"_s);
    }
};

QTEST_MAIN(TestHistorySearch)
#include "TestHistorySearch.moc"
