#include "AidsTestEnv.h"
#include "HistorySearch.h"
#include "HistorySearchDialog.h"
#include "ScreenTestHelpers.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QtTest>

// The name and material history on a real database: the values of the kind with their summed
// quantity, narrowed by customer, maker and the typed beginning, and the screen that offers them.
class TestHistorySearch : public QObject
{
    Q_OBJECT
    std::unique_ptr<AidsTestEnv> env;

    void fill()
    {
        const QString a = QStringLiteral("東西重工"), b = QStringLiteral("南北機械");
        const QString misumi = QStringLiteral("ミスミ"), orient = QStringLiteral("オリエンタル");
        env->addLine(QStringLiteral("D1"), QStringLiteral("100"), QStringLiteral("1"), a,
                     QStringLiteral("101"), QStringLiteral("ボルト"), QStringLiteral("SS400"),
                     QStringLiteral("4"), misumi);
        env->addLine(QStringLiteral("D1"), QStringLiteral("100"), QStringLiteral("1"), a,
                     QStringLiteral("102"), QStringLiteral("ボルト"), QStringLiteral("SUS304"),
                     QStringLiteral("6"), orient);
        env->addLine(QStringLiteral("D2"), QStringLiteral("200"), QStringLiteral("1"), b,
                     QStringLiteral("201"), QStringLiteral("ボルト"), QStringLiteral("SS400"),
                     QStringLiteral("10"), misumi);
        env->addLine(QStringLiteral("D2"), QStringLiteral("200"), QStringLiteral("1"), b,
                     QStringLiteral("202"), QStringLiteral("ブラケット"), QStringLiteral("SS400"),
                     QStringLiteral("1"), misumi);
        env->addLine(QStringLiteral("D2"), QStringLiteral("200"), QStringLiteral("1"), b,
                     QStringLiteral("203"), QStringLiteral("ナット"), QStringLiteral("S45C"), QString(),
                     orient);
        env->addLine(QStringLiteral("D2"), QStringLiteral("200"), QStringLiteral("1"), b,
                     QStringLiteral("204"), QString(), QStringLiteral("S45C"), QStringLiteral("3"), orient);
        // Another kind: never listed for kind 1.
        env->addLine(QStringLiteral("D3"), QStringLiteral("300"), QStringLiteral("2"), a,
                     QStringLiteral("301"), QStringLiteral("モータ"), QStringLiteral("-"),
                     QStringLiteral("2"), orient);
    }

    static QStringList rows(const QList<HistoryEntry>& entries)
    {
        QStringList out;
        for (const auto& e : entries)
            out << e.value + u'=' + e.quantity;
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

    void listsStoredValuesWithSummedQuantities()
    {
        HistoryFilter f{NameColumn(), QStringLiteral("1"), QString(), QString(), QString()};
        QCOMPARE(rows(RunHistorySearch(env->db(), f)),
                 (QStringList{QStringLiteral("ナット="), QStringLiteral("ブラケット=1"),
                              QStringLiteral("ボルト=20")}));
        // Kind 2 has only its own line.
        f.kind = QStringLiteral("2");
        QCOMPARE(rows(RunHistorySearch(env->db(), f)), QStringList{QStringLiteral("モータ=2")});
        // Materials, by the same rules; the blank name line still counts for its material.
        HistoryFilter m{MaterialColumn(), QStringLiteral("1"), QString(), QString(), QString()};
        QCOMPARE(
            rows(RunHistorySearch(env->db(), m)),
            (QStringList{QStringLiteral("S45C=3"), QStringLiteral("SS400=15"), QStringLiteral("SUS304=6")}));
    }

    void customerMakerAndTypedTextNarrow()
    {
        HistoryFilter f{NameColumn(), QStringLiteral("1"), QStringLiteral("東西重工"), QString(), QString()};
        QCOMPARE(rows(RunHistorySearch(env->db(), f)), QStringList{QStringLiteral("ボルト=10")});
        f.maker = QStringLiteral("ミスミ");
        QCOMPARE(rows(RunHistorySearch(env->db(), f)), QStringList{QStringLiteral("ボルト=4")});
        // Blanks around the filters do not count.
        f = {NameColumn(), QStringLiteral("1"), QStringLiteral("  "), QStringLiteral(" ミスミ "), QString()};
        QCOMPARE(rows(RunHistorySearch(env->db(), f)),
                 (QStringList{QStringLiteral("ブラケット=1"), QStringLiteral("ボルト=14")}));
        f.typed = QStringLiteral("ブ");
        QCOMPARE(rows(RunHistorySearch(env->db(), f)), QStringList{QStringLiteral("ブラケット=1")});
        f.customer = QStringLiteral("どこにもない客先");
        QVERIFY(RunHistorySearch(env->db(), f).isEmpty());
    }

    void screenShowsHitsAndEnterChoosesOne()
    {
        HistoryFilter f{NameColumn(), QStringLiteral("1"), QStringLiteral("南北機械"), QString(),
                        QStringLiteral("ボ")};
        HistorySearchDialog dialog(env->ctx, f);
        QVERIFY(showActive(&dialog));
        QCOMPARE(dialog.windowTitle(), QStringLiteral("品名履歴検索"));
        auto* table = dialog.findChild<QTableWidget*>(QStringLiteral("grdHistory"));
        auto* select = dialog.findChild<QPushButton*>(QStringLiteral("cmdSelect"));
        auto* typed = dialog.findChild<QLineEdit*>(QStringLiteral("txtTyped"));
        QVERIFY(table && select && typed);
        QCOMPARE(typed->text(), QStringLiteral("ボ"));
        QCOMPARE(dialog.findChild<QLabel*>(QStringLiteral("lblCustomer"))->text(),
                 QStringLiteral("南北機械"));
        QVERIFY(!select->isEnabled());
        // F5 does nothing while nothing is listed.
        QTest::keyClick(&dialog, Qt::Key_F5);
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
        dialog.search();
        QCOMPARE(table->rowCount(), 1);
        QCOMPARE(table->item(0, 0)->text(), QStringLiteral("ボルト"));
        QCOMPARE(table->item(0, 1)->text(), QStringLiteral("10"));
        // Widening the typed text and searching again (F1) shows more.
        typed->setText(QString());
        QTest::keyClick(&dialog, Qt::Key_F1);
        QCOMPARE(table->rowCount(), 3);
        QCOMPARE(dialog.findChild<QLabel*>(QStringLiteral("lblCount"))->text(), QStringLiteral("3件"));
        table->setCurrentCell(1, 0);
        QVERIFY(select->isEnabled());
        QTest::keyClick(table, Qt::Key_Return);
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QCOMPARE(dialog.chosenValue(), QStringLiteral("ブラケット"));
    }

    void materialScreenChoosesWithF5()
    {
        HistoryFilter f{MaterialColumn(), QStringLiteral("1"), QString(), QStringLiteral("オリエンタル"),
                        QString()};
        HistorySearchDialog dialog(env->ctx, f);
        QVERIFY(showActive(&dialog));
        QCOMPARE(dialog.windowTitle(), QStringLiteral("材質履歴検索"));
        dialog.search();
        auto* table = dialog.findChild<QTableWidget*>(QStringLiteral("grdHistory"));
        QCOMPARE(table->rowCount(), 2);
        table->setCurrentCell(1, 0);
        QTest::keyClick(&dialog, Qt::Key_F5);
        QCOMPARE(dialog.chosenValue(), QStringLiteral("SUS304"));
    }
};

QTEST_MAIN(TestHistorySearch)
#include "TestHistorySearch.moc"
