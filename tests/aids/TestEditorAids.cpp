#include "AidsTestEnv.h"
#include "Common.h"
#include "DataSearchScreen.h"
#include "Database.h"
#include "DrawingSearch.h"
#include "EditorAidsGlue.h"
#include "EditorScreen.h"
#include "HistorySearchDialog.h"
#include "ListPickerDialog.h"
#include "ScreenTestHelpers.h"
#include "SearchAidsGlue.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTableWidget>
#include <QTimer>
#include <QtTest>

namespace
{

int rowOf(QTableWidget* grid, const QString& firstCell)
{
    for (int r = 0; r < grid->rowCount(); ++r)
        if (grid->item(r, 0)->text() == firstCell)
            return r;
    return -1;
}

} // namespace

// The aids inside the real editor and drawing list search, on a real database.
class TestEditorAids : public QObject
{
    Q_OBJECT
    std::unique_ptr<AidsTestEnv> env;

    std::unique_ptr<EditorScreen> openEditor(const QString& dwgNo, const QString& assy, const QString& name)
    {
        auto ed = std::make_unique<EditorScreen>(env->ctx, env->ctx.DbConnection, MakeEditorAids());
        ed->setAttribute(Qt::WA_DeleteOnClose, false);
        if (!ed->openTable({dwgNo, assy, name, QStringLiteral("1"), QStringLiteral("2026/11/21"),
                            QStringLiteral("山田")}))
            return nullptr;
        return showActive(ed.get()) ? std::move(ed) : nullptr;
    }

    QList<QStringList> numbersOf(const QString& dwgNo)
    {
        return env->rows(u"SELECT INT_NUMBER FROM BUHINHYO_M WHERE CH_DWGNO = '"_qs + dwgNo +
                         u"' ORDER BY INT_NUMBER"_qs);
    }

private Q_SLOTS:
    void init()
    {
        env = std::make_unique<AidsTestEnv>();
        QVERIFY(env->ok());
        const QString a = QStringLiteral("東西重工");
        env->addHeader(QStringLiteral("A-100"), QStringLiteral("100-01"), QStringLiteral("1"), a,
                       QStringLiteral("ベースフレーム"), QStringLiteral("山田"));
        for (int i = 1; i <= 20; ++i)
            env->addLine(QStringLiteral("A-100"), QStringLiteral("100-01"), QStringLiteral("1"), a,
                         QString::number(100 + i),
                         (i % 2 ? QStringLiteral("ボルト") : QStringLiteral("ナット")),
                         QStringLiteral("SS400"), QString::number(i), QStringLiteral("ミスミ"));
        env->addHeader(QStringLiteral("T-1"), QStringLiteral("1-01"), QStringLiteral("1"), a,
                       QStringLiteral("新規ユニット"), QStringLiteral("山田"));
        for (int i = 1; i <= 3; ++i)
            env->addLine(QStringLiteral("T-1"), QStringLiteral("1-01"), QStringLiteral("1"), a,
                         QString::number(1 + i), QStringLiteral("既存%1").arg(i), QStringLiteral("S45C"),
                         QStringLiteral("1"), QStringLiteral("オリエンタル"));
    }
    void cleanup() { env.reset(); }

    void copyAllTakesEveryLineOfTheSourceAsNewLines()
    {
        auto ed = openEditor(QStringLiteral("T-1"), QStringLiteral("1-01"), QStringLiteral("新規ユニット"));
        QVERIFY(ed);
        QCOMPARE(ed->editor().grid().lineCount(), 3);
        const QList<QStringList> sourceBefore = numbersOf(QStringLiteral("A-100"));
        QCOMPARE(sourceBefore.size(), 20);

        // The first answer is No: the search stays open; the second (Yes) copies.
        env->messages.setNextAnswer(MsgAnswer::No);
        int shown = 0;
        whenModal<DataSearchScreen>([&shown](DataSearchScreen* s) {
            ++shown;
            QCOMPARE(s->windowTitle(), QStringLiteral("コピー元データ検索"));
            auto* grid = s->findChild<QTableWidget*>(QStringLiteral("grdTables"));
            grid->setCurrentCell(rowOf(grid, QStringLiteral("A-100")), 0);
            QTest::keyClick(s, Qt::Key_F5);
            QVERIFY(s->isVisible());
            QTest::keyClick(s, Qt::Key_F5);
            QVERIFY(!s->isVisible());
        });
        click(ed.get(), "cmdCopyAll");
        QCOMPARE(shown, 1);
        QCOMPARE(env->messages.shown.size(), 2);
        QCOMPARE(env->messages.shown[0].title, QStringLiteral("全コピー確認"));
        QVERIFY(env->messages.shown[0].text.contains(QStringLiteral("20行")));

        const PartsGrid& grid = ed->editor().grid();
        QCOMPARE(grid.lineCount(), 23);
        for (int r = 1; r <= 23; ++r) {
            QCOMPARE(grid.cell(r, EditorCol::No), QString::number(r));
            // Assembly 1-01, start number 1: the items run from 002.
            QCOMPARE(grid.cell(r, EditorCol::Zno), QStringLiteral("%1").arg(r + 1, 3, 10, QChar(u'0')));
            QCOMPARE(grid.cell(r, EditorCol::Number).isEmpty(), r > 3);
        }
        QCOMPARE(grid.cell(4, EditorCol::Hinmei), QStringLiteral("ボルト"));
        QCOMPARE(grid.cell(23, EditorCol::Suryo), QStringLiteral("20"));
        // Nothing is written before the save.
        QCOMPARE(numbersOf(QStringLiteral("T-1")).size(), 3);

        env->messages.clear();
        click(ed.get(), "cmdUpdate");
        QCOMPARE(env->messages.texts(), QStringList{QStringLiteral("更新しました。")});
        QCOMPARE(numbersOf(QStringLiteral("T-1")).size(), 23);
        QCOMPARE(env->count(QStringLiteral("SELECT COUNT(*) FROM BUHINHYO_M WHERE CH_DWGNO = 'T-1' AND "
                                           "CH_HINMEI IN ('ボルト','ナット') AND CH_USER = '東西重工'")),
                 20);
        QCOMPARE(numbersOf(QStringLiteral("A-100")), sourceBefore);
        QCOMPARE(env->count(QStringLiteral("SELECT SUM(INT_SURYO) FROM BUHINHYO_M WHERE CH_DWGNO = 'A-100'")),
                 210);
        // After the reload every line carries its stored number.
        QCOMPARE(ed->editor().grid().lineCount(), 23);
        QVERIFY(!ed->editor().grid().cell(23, EditorCol::Number).isEmpty());
    }

    void makerTypedOnceIsRememberedOnce()
    {
        auto ed = openEditor(QStringLiteral("N-1"), QStringLiteral("5-01"), QStringLiteral("新"));
        QVERIFY(ed);
        const int before = StrictInt(env->ctx.ini->get(QStringLiteral("MAKER"), QStringLiteral("MAX")));
        typeInto(ed.get(), "cboHinmei", QStringLiteral("ギア"));
        typeInto(ed.get(), "cboMaker", QStringLiteral("新興工業"));
        click(ed.get(), "cmdTransfer");
        click(ed.get(), "cmdTransfer");
        const QStringList makers = ReadList(*env->ctx.ini, QStringLiteral("MAKER"));
        QCOMPARE(makers.count(QStringLiteral("新興工業")), 1);
        QCOMPARE(makers.size(), before + 1);
        QCOMPARE(ReadList(*env->ctx.ini, QStringLiteral("KVRCAD0002COMBO1")).count(QStringLiteral("ギア")),
                 1);
        QVERIFY(control<QComboBox>(ed.get(), "cboMaker")->findText(QStringLiteral("新興工業")) >= 0);
        QCOMPARE(ed->editor().grid().cell(1, EditorCol::Maker), QStringLiteral("新興工業"));
        // A quantity that is not a number refuses the transfer, and nothing is remembered.
        typeInto(ed.get(), "cboMaker", QStringLiteral("未登録商会"));
        typeInto(ed.get(), "txtSuryo", QStringLiteral("x"));
        click(ed.get(), "cmdTransfer");
        QVERIFY(!ReadList(*env->ctx.ini, QStringLiteral("MAKER")).contains(QStringLiteral("未登録商会")));
    }

    void historyBracketsAndListButtons()
    {
        auto ed = openEditor(QStringLiteral("T-1"), QStringLiteral("1-01"), QStringLiteral("新規ユニット"));
        QVERIFY(ed);
        // Name history: the customer of the table, the typed beginning, no maker (the input area
        // shows the first line, whose maker would narrow the search).
        typeInto(ed.get(), "cboHinmei", QStringLiteral("ボ"));
        typeInto(ed.get(), "cboMaker", QString());
        whenModal<HistorySearchDialog>([](HistorySearchDialog* d) {
            QCOMPARE(d->entries().size(), 1);
            QCOMPARE(d->entries()[0].quantity, QStringLiteral("100"));
            auto* table = d->findChild<QTableWidget*>(QStringLiteral("grdHistory"));
            QTest::keyClick(table, Qt::Key_Return);
        });
        click(ed.get(), "cmdHinmeiHistory");
        QCOMPARE(textOf(ed.get(), "cboHinmei"), QStringLiteral("ボルト"));
        // Material history with a maker filter.
        typeInto(ed.get(), "cboMaker", QStringLiteral("オリエンタル"));
        typeInto(ed.get(), "cboZaishitu", QString());
        whenModal<HistorySearchDialog>([](HistorySearchDialog* d) {
            QCOMPARE(d->windowTitle(), QStringLiteral("材質履歴検索"));
            QCOMPARE(d->entries().size(), 1);
            QTest::keyClick(d, Qt::Key_F5);
        });
        click(ed.get(), "cmdZaishituHistory");
        QCOMPARE(textOf(ed.get(), "cboZaishitu"), QStringLiteral("S45C"));

        // "ｶｯｺ" on the field that had the focus, and off again.
        control<QWidget>(ed.get(), "txtBiko")->setFocus();
        typeInto(ed.get(), "txtBiko", QStringLiteral("M10"));
        click(ed.get(), "cmdKakkoInput");
        QCOMPARE(textOf(ed.get(), "txtBiko"), QStringLiteral("(M10)"));
        click(ed.get(), "cmdKakkoInput");
        QCOMPARE(textOf(ed.get(), "txtBiko"), QStringLiteral("M10"));

        // The list button beside the unit field opens the picker on the unit tab.
        whenModal<ListPickerDialog>([](ListPickerDialog* p) {
            QCOMPARE(p->tabs()->currentIndex(), 10);
            p->list(10)->setCurrentRow(1);
            QTest::keyClick(p, Qt::Key_F5);
        });
        click(ed.get(), "cmdListTani2");
        QCOMPARE(textOf(ed.get(), "cboTani2"), QStringLiteral("本"));
        for (const char* name :
             {"cmdListUser", "cmdListHinmei", "cmdListZaishitu", "cmdListTani", "cmdListMaker"})
            QVERIFY(ed->findChild<QPushButton*>(QString::fromLatin1(name)));
    }

    void aDatabaseFailureEndsTheAidOnly()
    {
        auto ed = openEditor(QStringLiteral("T-1"), QStringLiteral("1-01"), QStringLiteral("新規ユニット"));
        QVERIFY(ed);
        env->db().Execute(QStringLiteral("DROP TABLE BUHINHYO_M"));
        env->messages.clear();
        click(ed.get(), "cmdHinmeiHistory");
        click(ed.get(), "cmdCopyAll");
        QCOMPARE(env->messages.shown.size(), 2);
        for (const auto& box : env->messages.shown)
            QCOMPARE(box.icon, MsgIcon::Stop);
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        QVERIFY(ed->isVisible());
        QCOMPARE(ed->editor().grid().lineCount(), 3);
    }

    void dataSearchFillsTheSearchScreen()
    {
        DrawingSearchScreen search(env->ctx, MakeSearchHooks());
        QVERIFY(search.load());
        QVERIFY(showActive(&search));
        typeInto(&search, "txtDwgNo", QStringLiteral("T"));
        whenModal<DataSearchScreen>([](DataSearchScreen* s) {
            QCOMPARE(s->windowTitle(), QStringLiteral("データ検索"));
            QCOMPARE(s->tables().size(), 1);
            // The condition taken from the search screen can be widened.
            s->findChild<QLineEdit*>(QStringLiteral("txtDwgNo"))->clear();
            QCOMPARE(s->tables().size(), 2);
            auto* grid = s->findChild<QTableWidget*>(QStringLiteral("grdTables"));
            grid->setCurrentCell(rowOf(grid, QStringLiteral("A-100")), 0);
            QTest::keyClick(grid, Qt::Key_Return);
        });
        QTest::keyClick(&search, Qt::Key_F1);
        QCOMPARE(env->ctx.DataSearchFlag.value(), 0);
        QCOMPARE(textOf(&search, "txtDwgNo"), QStringLiteral("A-100"));
        QCOMPARE(textOf(&search, "txtAssy"), QStringLiteral("100-01"));
        QCOMPARE(textOf(&search, "cboName"), QStringLiteral("ベースフレーム"));
        QCOMPARE(textOf(&search, "cboDesined"), QStringLiteral("山田"));
        QVERIFY(control<QRadioButton>(&search, "optKind1")->isChecked());
        // "入力(F5)" opens that table, with the aids installed.
        click(&search, "cmd0");
        auto* ed = search.findChild<EditorScreen*>();
        QVERIFY(ed);
        QCOMPARE(ed->editor().grid().lineCount(), 20);
        QVERIFY(ed->findChild<QPushButton*>(QStringLiteral("cmdListMaker")));
        delete ed;
    }
};

QTEST_MAIN(TestEditorAids)
#include "TestEditorAids.moc"
