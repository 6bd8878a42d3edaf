#include "AidsTestEnv.h"
#include "DataSearch.h"
#include "DataSearchScreen.h"
#include "ScreenTestHelpers.h"

#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTableWidget>
#include <QtTest>

// The data search KVRCAD0101 on a real database: the query, the stored tables it finds, the screen
// in its two uses, and the lines a copy takes from its source.
class TestDataSearch : public QObject
{
    Q_OBJECT
    std::unique_ptr<AidsTestEnv> env;

    void fill()
    {
        const QString a = u"東西重工"_qs, b = u"南北機械"_qs;
        env->addHeader(u"B-200"_qs, u"200-01"_qs, u"1"_qs, b, u"搬送ユニット"_qs, u"佐藤"_qs);
        env->addHeader(u"A-100"_qs, u"100-01"_qs, u"1"_qs, a, u"ベースフレーム"_qs, u"山田"_qs);
        env->addHeader(u"A-100"_qs, u"110-01"_qs, u"1"_qs, a, u"カバー"_qs, u"山田"_qs);
        env->addHeader(u"A-100"_qs, u"100-01"_qs, u"2"_qs, a, u"ベースフレーム購入品"_qs, u"山田"_qs);
        for (int i = 1; i <= 20; ++i)
            env->addLine(u"A-100"_qs, u"100-01"_qs, u"1"_qs, a,
                         u"%1"_qs.arg(100 + (21 - i), 3, 10, QChar(u'0')), u"部品%1"_qs.arg(21 - i),
                         u"SS400"_qs, QString::number(i), u"ミスミ"_qs);
        env->addLine(u"B-200"_qs, u"200-01"_qs, u"1"_qs, b, u"201"_qs, u"ローラ"_qs, u"SUS304"_qs, u"2"_qs,
                     u"ミスミ"_qs);
        env->addLine(u"A-100"_qs, u"100-01"_qs, u"2"_qs, a, u"101"_qs, u"モータ"_qs, u"-"_qs, u"1"_qs,
                     u"オリエンタル"_qs);
    }

    static QStringList keys(const QList<StoredTable>& tables)
    {
        QStringList out;
        for (const auto& t : tables)
            out << t.dwgNo + u'/' + t.assy + u'/' + QString::number(t.lines);
        return out;
    }

private Q_SLOTS:
    void init()
    {
        env = std::make_unique<AidsTestEnv>();
        QVERIFY(env->ok());
        fill();
    }
    void cleanup() { env.reset(); }

    void findsTablesOfTheKindSortedWithLineCounts()
    {
        DataSearchFilter f;
        f.kind = u"1"_qs;
        const auto all = FindStoredTables(env->db(), f);
        QCOMPARE(keys(all), (QStringList{u"A-100/100-01/20"_qs, u"A-100/110-01/0"_qs, u"B-200/200-01/1"_qs}));
        QCOMPARE(all[0].name, u"ベースフレーム"_qs);
        QCOMPARE(all[0].designer, u"山田"_qs);
        QCOMPARE(all[0].customer, u"東西重工"_qs);
        QCOMPARE(all[0].date, u"2026/01/15"_qs);
        f.kind = u"2"_qs;
        QCOMPARE(keys(FindStoredTables(env->db(), f)), QStringList{u"A-100/100-01/1"_qs});
        f.kind = u"1"_qs;
        f.assy = u"11"_qs;
        QCOMPARE(keys(FindStoredTables(env->db(), f)), QStringList{u"A-100/110-01/0"_qs});
        f.assy.clear();
        f.name = u"搬送"_qs;
        QCOMPARE(keys(FindStoredTables(env->db(), f)), QStringList{u"B-200/200-01/1"_qs});
        f.name.clear();
        f.designer = u"山"_qs;
        f.customer = u"南北機械"_qs;
        QVERIFY(FindStoredTables(env->db(), f).isEmpty());
    }

    void searchScreenHandsBackTheChosenTable()
    {
        env->ctx.DataSearchFlag = Int16::from(DataSearchScreen::kFromSearch);
        DataSearchScreen screen(env->ctx, u"1"_qs);
        QVERIFY(showActive(&screen));
        QCOMPARE(screen.windowTitle(), u"データ検索"_qs);
        QCOMPARE(screen.objectName(), u"KVRCAD0101"_qs);
        QVERIFY(screen.findChild<QRadioButton*>(u"optKind1"_qs)->isEnabled());
        auto* grid = screen.findChild<QTableWidget*>(u"grdTables"_qs);
        auto* select = screen.findChild<QPushButton*>(u"cmdSelect"_qs);
        QCOMPARE(select->text(), u"選択(F5)"_qs);
        screen.search();
        QCOMPARE(grid->rowCount(), 3);
        QCOMPARE(grid->item(0, 6)->text(), u"20"_qs);
        // Typing a condition narrows the grid at once.
        QTest::keyClicks(screen.findChild<QLineEdit*>(u"txtDwgNo"_qs), u"B"_qs);
        QCOMPARE(grid->rowCount(), 1);
        QCOMPARE(screen.findChild<QLabel*>(u"lblCount"_qs)->text(), u"1件"_qs);
        // The other kind.
        screen.findChild<QLineEdit*>(u"txtDwgNo"_qs)->clear();
        screen.findChild<QRadioButton*>(u"optKind2"_qs)->setChecked(true);
        QCOMPARE(grid->rowCount(), 1);
        QCOMPARE(grid->item(0, 2)->text(), u"ベースフレーム購入品"_qs);
        grid->setCurrentCell(0, 0);
        QTest::keyClick(&screen, Qt::Key_F5);
        QCOMPARE(screen.result(), int(QDialog::Accepted));
        QCOMPARE(screen.chosen().dwgNo, u"A-100"_qs);
        QCOMPARE(screen.chosen().kind, u"2"_qs);
    }

    void copySourceScreenKeepsTheKindAndAsksBeforeClosing()
    {
        env->ctx.DataSearchFlag = Int16::from(DataSearchScreen::kCopySource);
        DataSearchScreen screen(env->ctx, u"1"_qs);
        QVERIFY(showActive(&screen));
        QCOMPARE(screen.windowTitle(), u"コピー元データ検索"_qs);
        QVERIFY(!screen.findChild<QRadioButton*>(u"optKind2"_qs)->isEnabled());
        auto* select = screen.findChild<QPushButton*>(u"cmdSelect"_qs);
        QCOMPARE(select->text(), u"コピー(F5)"_qs);
        int asked = 0;
        screen.setChooseHandler([&asked](const StoredTable&) { return ++asked > 1; });
        screen.search();
        auto* grid = screen.findChild<QTableWidget*>(u"grdTables"_qs);
        grid->setCurrentCell(0, 0);
        const QPoint at = grid->visualItemRect(grid->item(0, 1)).center();
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, at);
        QCOMPARE(asked, 1);
        QCOMPARE(screen.result(), int(QDialog::Rejected));
        QTest::keyClick(grid, Qt::Key_Return);
        QCOMPARE(asked, 2);
        QCOMPARE(screen.result(), int(QDialog::Accepted));
        QCOMPARE(screen.chosen().lines, 20);
    }
};

QTEST_MAIN(TestDataSearch)
#include "TestDataSearch.moc"
