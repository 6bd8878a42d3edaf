#include "Common.h"
#include "DataSearch.h"
#include "HistorySearch.h"
#include "InputAids.h"
#include "ListPickerDialog.h"
#include "ScreenTestHelpers.h"
#include "TestSupport.h"

#include <QTabWidget>

using namespace Qt::StringLiterals;

// The input aids' screens on a real database and settings file: the name and material history (values
// of the kind with their summed quantity, narrowed by customer, maker and the typed beginning), the
// data search KVRCAD0101, and the list picker (its eleven tabs, moving an entry into the field,
// appending without editing what is listed). Their use from the editor is in TestEditorAids; captions,
// counts and keys of these screens are left open and not pinned here.
class TestAidScreens : public QObject
{
    Q_OBJECT
    std::unique_ptr<AppFolder> f;

    void historyTables()
    {
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
    QString run(const HistoryFilter& filter)
    {
        QStringList out;
        for (const auto& e : RunHistorySearch(*f->ctx.DbConnection, filter))
            out << e.value + u'=' + e.quantity;
        return out.join(u' ');
    }
    void storedTables()
    {
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
    }
    void cleanup() { f.reset(); }

    void historyValuesWithSummedQuantities()
    {
        historyTables();
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
    void dataSearchFindsTablesOfTheKindWithLineCounts()
    {
        storedTables();
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
    void listPickerOpensOnTheFieldsList()
    {
        QLineEdit field;
        ListPickerDialog picker(*f->ctx.ini, u"KVRCAD0002COMBO6"_s, &field);
        QVERIFY(showActive(&picker));
        QTabWidget* tabs = picker.tabs();
        QStringList captions;
        for (int i = 0; i < tabs->count(); ++i)
            captions << tabs->tabText(i);
        QCOMPARE(captions.join(u' '),
                 u"客先 品名1 品名2 品名3 品名4 メーカー 材質1 材質2 材質3 材質4 単位"_s);
        QCOMPARE(tabs->currentIndex(), 7);
        for (int i = 0; i < tabs->count(); ++i) // only the material lists can fill a material field
            QCOMPARE(tabs->isTabEnabled(i), i >= 6 && i <= 9);
        QCOMPARE(picker.list(7)->item(0)->text(), u"SUS304"_s);
        // Other tabs are read when they are opened; a unit never goes into the material field.
        QCOMPARE(picker.list(10)->count(), 0);
        tabs->setCurrentIndex(10);
        QCOMPARE(picker.list(10)->count(), 3);
        picker.list(10)->setCurrentRow(2);
        QTest::keyClick(picker.list(10), Qt::Key_Return);
        QVERIFY(field.text().isEmpty() && picker.isVisible());
        tabs->setCurrentIndex(7);
        QTest::keyClick(picker.list(7), Qt::Key_Return);
        QCOMPARE(picker.result(), int(QDialog::Accepted));
        QCOMPARE(field.text(), u"SUS304"_s);
        QVERIFY(f->messages.shown.isEmpty());
    }

    void listPickerAppendsANewEntryOnceAndF5TakesIt()
    {
        QLineEdit field;
        ListPickerDialog picker(*f->ctx.ini, u"USER"_s, &field);
        QVERIFY(showActive(&picker));
        auto* entry = control<QLineEdit>(&picker, "txtNewEntry");
        QVERIFY(!control<QWidget>(&picker, "cmdAdd")->isEnabled());
        for (int i = 0; i < 2; ++i) {
            entry->setText(u"北海産業"_s);
            QTest::keyClick(entry, Qt::Key_Return);
        }
        QCOMPARE(ReadList(*f->ctx.ini, u"USER"_s), QStringList({u"客先A"_s, u"客先B"_s, u"北海産業"_s}));
        QCOMPARE(picker.list(0)->currentRow(), 2);
        QTest::keyClick(&picker, Qt::Key_F5);
        QCOMPARE(field.text(), u"北海産業"_s);
    }
};

QTEST_MAIN(TestAidScreens)
#include "TestAidScreens.moc"
