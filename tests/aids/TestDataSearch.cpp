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
        const QString a = QStringLiteral("東西重工"), b = QStringLiteral("南北機械");
        env->addHeader(QStringLiteral("B-200"), QStringLiteral("200-01"), QStringLiteral("1"), b,
                       QStringLiteral("搬送ユニット"), QStringLiteral("佐藤"));
        env->addHeader(QStringLiteral("A-100"), QStringLiteral("100-01"), QStringLiteral("1"), a,
                       QStringLiteral("ベースフレーム"), QStringLiteral("山田"));
        env->addHeader(QStringLiteral("A-100"), QStringLiteral("110-01"), QStringLiteral("1"), a,
                       QStringLiteral("カバー"), QStringLiteral("山田"));
        env->addHeader(QStringLiteral("A-100"), QStringLiteral("100-01"), QStringLiteral("2"), a,
                       QStringLiteral("ベースフレーム購入品"), QStringLiteral("山田"));
        for (int i = 1; i <= 20; ++i)
            env->addLine(QStringLiteral("A-100"), QStringLiteral("100-01"), QStringLiteral("1"), a,
                         QStringLiteral("%1").arg(100 + (21 - i), 3, 10, QChar(u'0')),
                         QStringLiteral("部品%1").arg(21 - i), QStringLiteral("SS400"), QString::number(i),
                         QStringLiteral("ミスミ"));
        env->addLine(QStringLiteral("B-200"), QStringLiteral("200-01"), QStringLiteral("1"), b,
                     QStringLiteral("201"), QStringLiteral("ローラ"), QStringLiteral("SUS304"),
                     QStringLiteral("2"), QStringLiteral("ミスミ"));
        env->addLine(QStringLiteral("A-100"), QStringLiteral("100-01"), QStringLiteral("2"), a,
                     QStringLiteral("101"), QStringLiteral("モータ"), QStringLiteral("-"),
                     QStringLiteral("1"), QStringLiteral("オリエンタル"));
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

    void queryText()
    {
        DataSearchFilter f;
        f.kind = QStringLiteral("2");
        f.dwgNo = QStringLiteral(" A-1 ");
        f.customer = QStringLiteral("東西重工");
        QCOMPARE(BuildDataSearchQuery(f),
                 QStringLiteral(
                     "SELECT H.CH_DWGNO,H.CH_ASSY,H.CH_BUHIN,H.CH_NAME,H.CH_HDATE,H.CH_DESINED,H.CH_USER,"
                     "(SELECT COUNT(*) FROM BUHINHYO_M M WHERE M.CH_DWGNO = H.CH_DWGNO AND M.CH_ASSY = "
                     "H.CH_ASSY AND M.CH_BUHIN = H.CH_BUHIN) AS LINE_COUNT FROM BUHINHYO H WHERE "
                     "H.CH_BUHIN = '2' AND H.CH_DWGNO LIKE 'A-1%' AND H.CH_USER = '東西重工' "
                     "ORDER BY H.CH_DWGNO,H.CH_ASSY"));
    }

    void findsTablesOfTheKindSortedWithLineCounts()
    {
        DataSearchFilter f;
        f.kind = QStringLiteral("1");
        const auto all = FindStoredTables(env->db(), f);
        QCOMPARE(keys(all), (QStringList{QStringLiteral("A-100/100-01/20"), QStringLiteral("A-100/110-01/0"),
                                         QStringLiteral("B-200/200-01/1")}));
        QCOMPARE(all[0].name, QStringLiteral("ベースフレーム"));
        QCOMPARE(all[0].designer, QStringLiteral("山田"));
        QCOMPARE(all[0].customer, QStringLiteral("東西重工"));
        QCOMPARE(all[0].date, QStringLiteral("2026/01/15"));
        f.kind = QStringLiteral("2");
        QCOMPARE(keys(FindStoredTables(env->db(), f)), QStringList{QStringLiteral("A-100/100-01/1")});
        f.kind = QStringLiteral("1");
        f.assy = QStringLiteral("11");
        QCOMPARE(keys(FindStoredTables(env->db(), f)), QStringList{QStringLiteral("A-100/110-01/0")});
        f.assy.clear();
        f.name = QStringLiteral("搬送");
        QCOMPARE(keys(FindStoredTables(env->db(), f)), QStringList{QStringLiteral("B-200/200-01/1")});
        f.name.clear();
        f.designer = QStringLiteral("山");
        f.customer = QStringLiteral("南北機械");
        QVERIFY(FindStoredTables(env->db(), f).isEmpty());
    }

    void searchScreenHandsBackTheChosenTable()
    {
        env->ctx.DataSearchFlag = Int16::from(DataSearchScreen::kFromSearch);
        DataSearchScreen screen(env->ctx, QStringLiteral("1"));
        QVERIFY(showActive(&screen));
        QCOMPARE(screen.windowTitle(), QStringLiteral("データ検索"));
        QCOMPARE(screen.objectName(), QStringLiteral("KVRCAD0101"));
        QVERIFY(screen.findChild<QRadioButton*>(QStringLiteral("optKind1"))->isEnabled());
        auto* grid = screen.findChild<QTableWidget*>(QStringLiteral("grdTables"));
        auto* select = screen.findChild<QPushButton*>(QStringLiteral("cmdSelect"));
        QCOMPARE(select->text(), QStringLiteral("選択(F5)"));
        screen.search();
        QCOMPARE(grid->rowCount(), 3);
        QCOMPARE(grid->item(0, 6)->text(), QStringLiteral("20"));
        // Typing a condition narrows the grid at once.
        QTest::keyClicks(screen.findChild<QLineEdit*>(QStringLiteral("txtDwgNo")), QStringLiteral("B"));
        QCOMPARE(grid->rowCount(), 1);
        QCOMPARE(screen.findChild<QLabel*>(QStringLiteral("lblCount"))->text(), QStringLiteral("1件"));
        // The other kind.
        screen.findChild<QLineEdit*>(QStringLiteral("txtDwgNo"))->clear();
        screen.findChild<QRadioButton*>(QStringLiteral("optKind2"))->setChecked(true);
        QCOMPARE(grid->rowCount(), 1);
        QCOMPARE(grid->item(0, 2)->text(), QStringLiteral("ベースフレーム購入品"));
        grid->setCurrentCell(0, 0);
        QTest::keyClick(&screen, Qt::Key_F5);
        QCOMPARE(screen.result(), int(QDialog::Accepted));
        QCOMPARE(screen.chosen().dwgNo, QStringLiteral("A-100"));
        QCOMPARE(screen.chosen().kind, QStringLiteral("2"));
    }

    void copySourceScreenKeepsTheKindAndAsksBeforeClosing()
    {
        env->ctx.DataSearchFlag = Int16::from(DataSearchScreen::kCopySource);
        DataSearchScreen screen(env->ctx, QStringLiteral("1"));
        QVERIFY(showActive(&screen));
        QCOMPARE(screen.windowTitle(), QStringLiteral("コピー元データ検索"));
        QVERIFY(!screen.findChild<QRadioButton*>(QStringLiteral("optKind2"))->isEnabled());
        auto* select = screen.findChild<QPushButton*>(QStringLiteral("cmdSelect"));
        QCOMPARE(select->text(), QStringLiteral("コピー(F5)"));
        int asked = 0;
        screen.setChooseHandler([&asked](const StoredTable&) { return ++asked > 1; });
        screen.search();
        auto* grid = screen.findChild<QTableWidget*>(QStringLiteral("grdTables"));
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
