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
        const QString a = u"東西重工"_qs, b = u"南北機械"_qs;
        const QString misumi = u"ミスミ"_qs, orient = u"オリエンタル"_qs;
        env->addLine(u"D1"_qs, u"100"_qs, u"1"_qs, a, u"101"_qs, u"ボルト"_qs, u"SS400"_qs, u"4"_qs, misumi);
        env->addLine(u"D1"_qs, u"100"_qs, u"1"_qs, a, u"102"_qs, u"ボルト"_qs, u"SUS304"_qs, u"6"_qs, orient);
        env->addLine(u"D2"_qs, u"200"_qs, u"1"_qs, b, u"201"_qs, u"ボルト"_qs, u"SS400"_qs, u"10"_qs, misumi);
        env->addLine(u"D2"_qs, u"200"_qs, u"1"_qs, b, u"202"_qs, u"ブラケット"_qs, u"SS400"_qs, u"1"_qs,
                     misumi);
        env->addLine(u"D2"_qs, u"200"_qs, u"1"_qs, b, u"203"_qs, u"ナット"_qs, u"S45C"_qs, QString(), orient);
        env->addLine(u"D2"_qs, u"200"_qs, u"1"_qs, b, u"204"_qs, QString(), u"S45C"_qs, u"3"_qs, orient);
        // Another kind: never listed for kind 1.
        env->addLine(u"D3"_qs, u"300"_qs, u"2"_qs, a, u"301"_qs, u"モータ"_qs, u"-"_qs, u"2"_qs, orient);
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
        HistoryFilter f{NameColumn(), u"1"_qs, QString(), QString(), QString()};
        QCOMPARE(rows(RunHistorySearch(env->db(), f)),
                 (QStringList{u"ナット="_qs, u"ブラケット=1"_qs, u"ボルト=20"_qs}));
        // Kind 2 has only its own line.
        f.kind = u"2"_qs;
        QCOMPARE(rows(RunHistorySearch(env->db(), f)), QStringList{u"モータ=2"_qs});
        // Materials, by the same rules; the blank name line still counts for its material.
        HistoryFilter m{MaterialColumn(), u"1"_qs, QString(), QString(), QString()};
        QCOMPARE(rows(RunHistorySearch(env->db(), m)),
                 (QStringList{u"S45C=3"_qs, u"SS400=15"_qs, u"SUS304=6"_qs}));
    }

    void customerMakerAndTypedTextNarrow()
    {
        HistoryFilter f{NameColumn(), u"1"_qs, u"東西重工"_qs, QString(), QString()};
        QCOMPARE(rows(RunHistorySearch(env->db(), f)), QStringList{u"ボルト=10"_qs});
        f.maker = u"ミスミ"_qs;
        QCOMPARE(rows(RunHistorySearch(env->db(), f)), QStringList{u"ボルト=4"_qs});
        // Blanks around the filters do not count.
        f = {NameColumn(), u"1"_qs, u"  "_qs, u" ミスミ "_qs, QString()};
        QCOMPARE(rows(RunHistorySearch(env->db(), f)), (QStringList{u"ブラケット=1"_qs, u"ボルト=14"_qs}));
        f.typed = u"ブ"_qs;
        QCOMPARE(rows(RunHistorySearch(env->db(), f)), QStringList{u"ブラケット=1"_qs});
        f.customer = u"どこにもない客先"_qs;
        QVERIFY(RunHistorySearch(env->db(), f).isEmpty());
    }

    void screenShowsHitsAndEnterChoosesOne()
    {
        HistoryFilter f{NameColumn(), u"1"_qs, u"南北機械"_qs, QString(), u"ボ"_qs};
        HistorySearchDialog dialog(env->ctx, f);
        QVERIFY(showActive(&dialog));
        QCOMPARE(dialog.windowTitle(), u"品名履歴検索"_qs);
        auto* table = dialog.findChild<QTableWidget*>(u"grdHistory"_qs);
        auto* select = dialog.findChild<QPushButton*>(u"cmdSelect"_qs);
        auto* typed = dialog.findChild<QLineEdit*>(u"txtTyped"_qs);
        QVERIFY(table && select && typed);
        QCOMPARE(typed->text(), u"ボ"_qs);
        QCOMPARE(dialog.findChild<QLabel*>(u"lblCustomer"_qs)->text(), u"南北機械"_qs);
        QVERIFY(!select->isEnabled());
        // F5 does nothing while nothing is listed.
        QTest::keyClick(&dialog, Qt::Key_F5);
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
        dialog.search();
        QCOMPARE(table->rowCount(), 1);
        QCOMPARE(table->item(0, 0)->text(), u"ボルト"_qs);
        QCOMPARE(table->item(0, 1)->text(), u"10"_qs);
        // Widening the typed text and searching again (F1) shows more.
        typed->setText(QString());
        QTest::keyClick(&dialog, Qt::Key_F1);
        QCOMPARE(table->rowCount(), 3);
        QCOMPARE(dialog.findChild<QLabel*>(u"lblCount"_qs)->text(), u"3件"_qs);
        table->setCurrentCell(1, 0);
        QVERIFY(select->isEnabled());
        QTest::keyClick(table, Qt::Key_Return);
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QCOMPARE(dialog.chosenValue(), u"ブラケット"_qs);
    }
};

QTEST_MAIN(TestHistorySearch)
#include "TestHistorySearch.moc"
