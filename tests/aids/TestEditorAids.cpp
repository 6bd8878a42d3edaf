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
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
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
        if (!ed->openTable({dwgNo, assy, name, u"1"_qs, u"2026/11/21"_qs, u"山田"_qs}))
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
        const QString a = u"東西重工"_qs;
        env->addHeader(u"A-100"_qs, u"100-01"_qs, u"1"_qs, a, u"ベースフレーム"_qs, u"山田"_qs);
        for (int i = 1; i <= 20; ++i)
            env->addLine(u"A-100"_qs, u"100-01"_qs, u"1"_qs, a, QString::number(100 + i),
                         (i % 2 ? u"ボルト"_qs : u"ナット"_qs), u"SS400"_qs, QString::number(i),
                         u"ミスミ"_qs);
        env->addHeader(u"T-1"_qs, u"1-01"_qs, u"1"_qs, a, u"新規ユニット"_qs, u"山田"_qs);
        for (int i = 1; i <= 3; ++i)
            env->addLine(u"T-1"_qs, u"1-01"_qs, u"1"_qs, a, QString::number(1 + i), u"既存%1"_qs.arg(i),
                         u"S45C"_qs, u"1"_qs, u"オリエンタル"_qs);
    }
    void cleanup() { env.reset(); }

    void copyAllTakesEveryLineOfTheSourceAsNewLines()
    {
        auto ed = openEditor(u"T-1"_qs, u"1-01"_qs, u"新規ユニット"_qs);
        QVERIFY(ed);
        QCOMPARE(ed->editor().grid().lineCount(), 3);
        const QList<QStringList> sourceBefore = numbersOf(u"A-100"_qs);
        QCOMPARE(sourceBefore.size(), 20);

        // The first answer is No: the search stays open; the second (Yes) copies.
        env->messages.setNextAnswer(MsgAnswer::No);
        int shown = 0;
        whenModal<DataSearchScreen>([&shown](DataSearchScreen* s) {
            ++shown;
            QCOMPARE(s->windowTitle(), u"コピー元データ検索"_qs);
            auto* grid = s->findChild<QTableWidget*>(u"grdTables"_qs);
            grid->setCurrentCell(rowOf(grid, u"A-100"_qs), 0);
            QTest::keyClick(s, Qt::Key_F5);
            QVERIFY(s->isVisible());
            QTest::keyClick(s, Qt::Key_F5);
            QVERIFY(!s->isVisible());
        });
        click(ed.get(), "cmdCopyAll");
        QCOMPARE(shown, 1);
        QCOMPARE(env->messages.shown.size(), 2);
        QCOMPARE(env->messages.shown[0].title, u"全コピー確認"_qs);
        QVERIFY(env->messages.shown[0].text.contains(u"20行"_qs));

        const PartsGrid& grid = ed->editor().grid();
        QCOMPARE(grid.lineCount(), 23);
        for (int r = 1; r <= 23; ++r) {
            QCOMPARE(grid.cell(r, EditorCol::No), QString::number(r));
            // Assembly 1-01, start number 1: the items run from 002.
            QCOMPARE(grid.cell(r, EditorCol::Zno), u"%1"_qs.arg(r + 1, 3, 10, QChar(u'0')));
            QCOMPARE(grid.cell(r, EditorCol::Number).isEmpty(), r > 3);
        }
        QCOMPARE(grid.cell(4, EditorCol::Hinmei), u"ボルト"_qs);
        QCOMPARE(grid.cell(23, EditorCol::Suryo), u"20"_qs);
        // Nothing is written before the save.
        QCOMPARE(numbersOf(u"T-1"_qs).size(), 3);

        env->messages.clear();
        click(ed.get(), "cmdUpdate");
        QCOMPARE(env->messages.texts(), QStringList{u"更新しました。"_qs});
        QCOMPARE(numbersOf(u"T-1"_qs).size(), 23);
        QCOMPARE(env->count(QStringLiteral("SELECT COUNT(*) FROM BUHINHYO_M WHERE CH_DWGNO = 'T-1' AND "
                                           "CH_HINMEI IN ('ボルト','ナット') AND CH_USER = '東西重工'")),
                 20);
        QCOMPARE(numbersOf(u"A-100"_qs), sourceBefore);
        QCOMPARE(env->count(u"SELECT SUM(INT_SURYO) FROM BUHINHYO_M WHERE CH_DWGNO = 'A-100'"_qs), 210);
        // After the reload every line carries its stored number.
        QCOMPARE(ed->editor().grid().lineCount(), 23);
        QVERIFY(!ed->editor().grid().cell(23, EditorCol::Number).isEmpty());
    }

    void makerTypedOnceIsRememberedOnce()
    {
        auto ed = openEditor(u"N-1"_qs, u"5-01"_qs, u"新"_qs);
        QVERIFY(ed);
        const int before = StrictInt(env->ctx.ini->get(u"MAKER"_qs, u"MAX"_qs));
        typeInto(ed.get(), "cboHinmei", u"ギア"_qs);
        typeInto(ed.get(), "cboMaker", u"新興工業"_qs);
        click(ed.get(), "cmdTransfer");
        click(ed.get(), "cmdTransfer");
        const QStringList makers = ReadList(*env->ctx.ini, u"MAKER"_qs);
        QCOMPARE(makers.count(u"新興工業"_qs), 1);
        QCOMPARE(makers.size(), before + 1);
        QCOMPARE(ReadList(*env->ctx.ini, u"KVRCAD0002COMBO1"_qs).count(u"ギア"_qs), 1);
        QVERIFY(control<QComboBox>(ed.get(), "cboMaker")->findText(u"新興工業"_qs) >= 0);
        QCOMPARE(ed->editor().grid().cell(1, EditorCol::Maker), u"新興工業"_qs);
        // A quantity that is not a number refuses the transfer, and nothing is remembered.
        typeInto(ed.get(), "cboMaker", u"未登録商会"_qs);
        typeInto(ed.get(), "txtSuryo", u"x"_qs);
        click(ed.get(), "cmdTransfer");
        QVERIFY(!ReadList(*env->ctx.ini, u"MAKER"_qs).contains(u"未登録商会"_qs));
    }

    void historyBracketsAndListButtons()
    {
        auto ed = openEditor(u"T-1"_qs, u"1-01"_qs, u"新規ユニット"_qs);
        QVERIFY(ed);
        // Name history: the customer of the table, the typed beginning, no maker (the input area
        // shows the first line, whose maker would narrow the search).
        typeInto(ed.get(), "cboHinmei", u"ボ"_qs);
        typeInto(ed.get(), "cboMaker", QString());
        whenModal<HistorySearchDialog>([](HistorySearchDialog* d) {
            QCOMPARE(d->entries().size(), 1);
            QCOMPARE(d->entries()[0].quantity, u"100"_qs);
            auto* table = d->findChild<QTableWidget*>(u"grdHistory"_qs);
            QTest::keyClick(table, Qt::Key_Return);
        });
        click(ed.get(), "cmdHinmeiHistory");
        QCOMPARE(textOf(ed.get(), "cboHinmei"), u"ボルト"_qs);
        // Material history: a typed "S" stays as typed (no completion to a listed material); the
        // input area's maker narrows the search, shows on the screen and can be let go there.
        typeInto(ed.get(), "cboMaker", u"オリエンタル"_qs);
        typeInto(ed.get(), "cboZaishitu", QString());
        QApplication::setActiveWindow(ed.get());
        control<QComboBox>(ed.get(), "cboZaishitu")->setFocus();
        QTest::keyClicks(control<QComboBox>(ed.get(), "cboZaishitu")->lineEdit(), u"S"_qs);
        QCOMPARE(textOf(ed.get(), "cboZaishitu"), u"S"_qs);
        whenModal<HistorySearchDialog>([](HistorySearchDialog* d) {
            QCOMPARE(d->windowTitle(), u"材質履歴検索"_qs);
            QCOMPARE(d->entries().size(), 1);
            QCOMPARE(d->findChild<QLabel*>(u"lblMaker"_qs)->text(), u"オリエンタル"_qs);
            d->findChild<QCheckBox*>(u"chkMaker"_qs)->click();
            QVERIFY(d->entries().size() > 1);
            QTest::keyClick(d, Qt::Key_F5);
        });
        click(ed.get(), "cmdZaishituHistory");
        QCOMPARE(textOf(ed.get(), "cboZaishitu"), u"S45C"_qs);

        // "ｶｯｺ" on the field that had the focus, and off again.
        control<QWidget>(ed.get(), "txtBiko")->setFocus();
        typeInto(ed.get(), "txtBiko", u"M10"_qs);
        click(ed.get(), "cmdKakkoInput");
        QCOMPARE(textOf(ed.get(), "txtBiko"), u"(M10)"_qs);
        click(ed.get(), "cmdKakkoInput");
        QCOMPARE(textOf(ed.get(), "txtBiko"), u"M10"_qs);

        // The list button beside the unit field opens the picker on the unit tab; a unit added
        // there is in the editor's unit lists at once.
        whenModal<ListPickerDialog>([](ListPickerDialog* p) {
            QCOMPARE(p->tabs()->currentIndex(), 10);
            p->findChild<QLineEdit*>(u"txtNewEntry"_qs)->setText(u"缶"_qs);
            p->findChild<QPushButton*>(u"cmdAdd"_qs)->click();
            QTest::keyClick(p, Qt::Key_F5);
        });
        click(ed.get(), "cmdListTani2");
        QCOMPARE(textOf(ed.get(), "cboTani2"), u"缶"_qs);
        QVERIFY(control<QComboBox>(ed.get(), "cboTani")->findText(u"缶"_qs) >= 0);
        for (const char* name :
             {"cmdListUser", "cmdListHinmei", "cmdListZaishitu", "cmdListTani", "cmdListMaker"})
            QVERIFY(ed->findChild<QPushButton*>(QString::fromLatin1(name)));
    }

    void aDatabaseFailureEndsTheAidOnly()
    {
        auto ed = openEditor(u"T-1"_qs, u"1-01"_qs, u"新規ユニット"_qs);
        QVERIFY(ed);
        env->db().Execute(u"DROP TABLE BUHINHYO_M"_qs);
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
        typeInto(&search, "txtDwgNo", u"T"_qs);
        whenModal<DataSearchScreen>([](DataSearchScreen* s) {
            QCOMPARE(s->windowTitle(), u"データ検索"_qs);
            QCOMPARE(s->tables().size(), 1);
            // The condition taken from the search screen can be widened.
            s->findChild<QLineEdit*>(u"txtDwgNo"_qs)->clear();
            QCOMPARE(s->tables().size(), 2);
            auto* grid = s->findChild<QTableWidget*>(u"grdTables"_qs);
            grid->setCurrentCell(rowOf(grid, u"A-100"_qs), 0);
            QTest::keyClick(grid, Qt::Key_Return);
        });
        QTest::keyClick(&search, Qt::Key_F1);
        QCOMPARE(env->ctx.DataSearchFlag.value(), 0);
        QCOMPARE(textOf(&search, "txtDwgNo"), u"A-100"_qs);
        QCOMPARE(textOf(&search, "txtAssy"), u"100-01"_qs);
        QCOMPARE(textOf(&search, "cboName"), u"ベースフレーム"_qs);
        QCOMPARE(textOf(&search, "cboDesined"), u"山田"_qs);
        QVERIFY(control<QRadioButton>(&search, "optKind1")->isChecked());
        // "入力(F5)" opens that table, with the aids installed.
        click(&search, "cmd0");
        auto* ed = search.findChild<EditorScreen*>();
        QVERIFY(ed);
        QCOMPARE(ed->editor().grid().lineCount(), 20);
        QVERIFY(ed->findChild<QPushButton*>(u"cmdListMaker"_qs));
        delete ed;
    }
};

QTEST_MAIN(TestEditorAids)
#include "TestEditorAids.moc"
