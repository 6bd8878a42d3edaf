#include "Common.h"
#include "DataSearchScreen.h"
#include "Database.h"
#include "DrawingSearch.h"
#include "EditorAidsGlue.h"
#include "EditorScreen.h"
#include "HistorySearchDialog.h"
#include "InputRemember.h"
#include "ListPickerDialog.h"
#include "ScreenTestHelpers.h"
#include "SearchAidsGlue.h"
#include "TestSupport.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>

using namespace Qt::StringLiterals;

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

// The input aids inside the real editor and drawing list search, on a real database.
class TestEditorAids : public QObject
{
    Q_OBJECT
    std::unique_ptr<AppFolder> f;

    std::unique_ptr<EditorScreen> openEditor(const QString& dwgNo, const QString& assy, const QString& name)
    {
        auto ed = std::make_unique<EditorScreen>(f->ctx, f->ctx.DbConnection, MakeEditorAids());
        ed->setAttribute(Qt::WA_DeleteOnClose, false);
        if (!ed->openTable({dwgNo, assy, name, u"1"_s, u"2026/11/21"_s, u"山田"_s}))
            return nullptr;
        return showActive(ed.get()) ? std::move(ed) : nullptr;
    }
    QStringList numbersOf(const QString& dwgNo)
    {
        return f->lines(u"SELECT INT_NUMBER FROM BUHINHYO_M WHERE CH_DWGNO = '"_s + dwgNo +
                        u"' ORDER BY INT_NUMBER"_s);
    }
    QStringList list(const char* section) { return ReadList(*f->ctx.ini, QString::fromLatin1(section)); }

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<AppFolder>();
        QVERIFY(f->connect());
        QList<QStringList> lines;
        for (int i = 1; i <= 20; ++i)
            lines << QStringList{QString::number(100 + i),
                                 i % 2 ? u"ボルト"_s : u"ナット"_s,
                                 u"0"_s,
                                 u"0"_s,
                                 QString::number(i),
                                 u"SS400"_s,
                                 u"ミスミ"_s};
        f->storeTable(u"A-100"_s, u"100-01"_s, u"1"_s, u"ベースフレーム"_s, u"東西重工"_s, lines);
        lines.clear();
        for (int i = 1; i <= 3; ++i)
            lines << QStringList{
                QString::number(1 + i), u"既存%1"_s.arg(i), u"0"_s, u"0"_s, u"1"_s, u"S45C"_s,
                u"オリエンタル"_s};
        f->storeTable(u"T-1"_s, u"1-01"_s, u"1"_s, u"新規ユニット"_s, u"東西重工"_s, lines);
    }
    void cleanup() { f.reset(); }

    void copyAllTakesEveryLineOfTheSourceAsNewLines()
    {
        auto ed = openEditor(u"T-1"_s, u"1-01"_s, u"新規ユニット"_s);
        QVERIFY(ed);
        const QStringList sourceBefore = numbersOf(u"A-100"_s);
        // The first answer is No: the search stays open; the second (Yes) copies.
        f->messages.setNextAnswer(MsgAnswer::No);
        int shown = 0;
        whenModal<DataSearchScreen>([&shown](DataSearchScreen* s) {
            ++shown;
            QVERIFY(!control<QRadioButton>(s, "optKind2")->isEnabled()); // the editor's kind only
            auto* grid = s->findChild<QTableWidget*>(u"grdTables"_s);
            grid->setCurrentCell(rowOf(grid, u"A-100"_s), 0);
            QTest::keyClick(s, Qt::Key_F5);
            QVERIFY(s->isVisible());
            QTest::keyClick(s, Qt::Key_F5);
            QVERIFY(!s->isVisible());
        });
        click(ed.get(), "cmdCopyAll");
        QCOMPARE(shown, 1);
        QCOMPARE(f->messages.shown.size(), 2);
        const PartsGrid& grid = ed->editor().grid();
        QCOMPARE(grid.lineCount(), 23);
        for (int r = 1; r <= 23; ++r) {
            // Assembly 1-01, start number 1: the items run from 002.
            QCOMPARE(grid.cell(r, EditorCol::No) + grid.cell(r, EditorCol::Zno),
                     QString::number(r) + u"%1"_s.arg(r + 1, 3, 10, QChar(u'0')));
            QCOMPARE(grid.cell(r, EditorCol::Number).isEmpty(), r > 3);
        }
        QCOMPARE(grid.cell(4, EditorCol::Hinmei) + grid.cell(23, EditorCol::Suryo), u"ボルト20"_s);
        QCOMPARE(numbersOf(u"T-1"_s).size(), 3); // nothing is written before the save
        f->messages.clear();
        click(ed.get(), "cmdUpdate");
        QCOMPARE(f->messages.texts(), QStringList(u"登録しました。"_s));
        QCOMPARE(f->count(u"SELECT COUNT(*) FROM BUHINHYO_M WHERE CH_DWGNO = 'T-1' AND CH_HINMEI IN "
                          u"('ボルト','ナット') "
                          "AND CH_USER = '東西重工'"_s),
                 20);
        QCOMPARE(numbersOf(u"A-100"_s), sourceBefore);
        QCOMPARE(f->count(u"SELECT SUM(INT_SURYO) FROM BUHINHYO_M WHERE CH_DWGNO = 'A-100'"_s), 210);
        QVERIFY(!ed->editor().grid().cell(23, EditorCol::Number).isEmpty()); // reloaded with numbers
    }

    void typedEntriesAreRememberedOnceInTheirLists()
    {
        auto ed = openEditor(u"N-1"_s, u"5-01"_s, u"新"_s);
        QVERIFY(ed);
        // A new name goes to the list of the name field's lowest slot, a new material likewise (list 6
        // holds slot 4); units and makers to their lists.
        for (const auto& [field, text] : {std::pair{"cboHinmei", u"ギア"_s},
                                          {"cboZaishitu", u"A5052"_s},
                                          {"cboTani", u"個"_s},
                                          {"cboTani2", u"缶"_s},
                                          {"cboMaker", u"ＴＨＫ"_s}})
            typeInto(ed.get(), field, text);
        click(ed.get(), "cmdTransfer");
        click(ed.get(), "cmdTransfer");
        QCOMPARE(list("KVRCAD0002COMBO1"), QStringList({u"ボルト"_s, u"ナット"_s, u"ワッシャ"_s, u"ギア"_s}));
        QCOMPARE(list("KVRCAD0002COMBO6"), QStringList({u"SUS304"_s, u"A5052"_s}));
        QCOMPARE(list("KVRCAD0002COMBO5").size(), 2);
        QCOMPARE(list("STANI"), QStringList({u"個"_s, u"本"_s, u"ｍ"_s, u"缶"_s}));
        QCOMPARE(list("MAKER"), QStringList({u"ミスミ"_s, u"オリエンタル"_s, u"ＴＨＫ"_s}));
        // The drop-downs offer the new entries and keep their texts; the line has them.
        QVERIFY(control<QComboBox>(ed.get(), "cboMaker")->findText(u"ＴＨＫ"_s) >= 0);
        QCOMPARE(textOf(ed.get(), "cboTani2") + ed->editor().grid().cell(1, EditorCol::Maker), u"缶ＴＨＫ"_s);
        // Known and blank entries write nothing; nor does a transfer the quantity check refuses.
        const QByteArray before = readFileBytes(f->ctx.IniPath);
        for (const auto& [field, text] : {std::pair{"cboHinmei", u"ピン"_s},
                                          {"cboZaishitu", u"SUS304"_s},
                                          {"cboTani", u"  "_s},
                                          {"cboTani2", QString()},
                                          {"cboMaker", u"ミスミ"_s}})
            typeInto(ed.get(), field, text);
        click(ed.get(), "cmdTransfer");
        typeInto(ed.get(), "cboMaker", u"未登録商会"_s);
        typeInto(ed.get(), "txtSuryo", u"x"_s);
        click(ed.get(), "cmdTransfer");
        QCOMPARE(readFileBytes(f->ctx.IniPath), before);
    }

    void historyBracketsAndListButtons()
    {
        auto ed = openEditor(u"T-1"_s, u"1-01"_s, u"新規ユニット"_s);
        QVERIFY(ed);
        // Name history: the customer of the table and the typed beginning; no maker.
        typeInto(ed.get(), "cboHinmei", u"ボ"_s);
        typeInto(ed.get(), "cboMaker", QString());
        whenModal<HistorySearchDialog>([](HistorySearchDialog* d) {
            QCOMPARE(d->entries().size(), 1);
            QCOMPARE(d->entries()[0].quantity, u"100"_s);
            QTest::keyClick(d->findChild<QTableWidget*>(u"grdHistory"_s), Qt::Key_Return);
        });
        click(ed.get(), "cmdHinmeiHistory");
        QCOMPARE(textOf(ed.get(), "cboHinmei"), u"ボルト"_s);
        // Material history: a typed "S" stays as typed (no completion to a listed material); the
        // input area's maker narrows the search, shows on the screen and can be let go there.
        typeInto(ed.get(), "cboMaker", u"オリエンタル"_s);
        typeInto(ed.get(), "cboZaishitu", QString());
        QApplication::setActiveWindow(ed.get());
        control<QComboBox>(ed.get(), "cboZaishitu")->setFocus();
        QTest::keyClicks(control<QComboBox>(ed.get(), "cboZaishitu")->lineEdit(), u"S"_s);
        QCOMPARE(textOf(ed.get(), "cboZaishitu"), u"S"_s);
        whenModal<HistorySearchDialog>([](HistorySearchDialog* d) {
            QCOMPARE(d->entries().size(), 1);
            QCOMPARE(d->findChild<QLabel*>(u"lblMaker"_s)->text(), u"オリエンタル"_s);
            d->findChild<QCheckBox*>(u"chkMaker"_s)->click();
            QVERIFY(d->entries().size() > 1);
            QTest::keyClick(d, Qt::Key_F5);
        });
        click(ed.get(), "cmdZaishituHistory");
        QCOMPARE(textOf(ed.get(), "cboZaishitu"), u"S45C"_s);
        // The unit list button opens the picker on the unit tab; a unit added there is in the
        // editor's unit lists at once.
        whenModal<ListPickerDialog>([](ListPickerDialog* p) {
            QCOMPARE(p->tabs()->currentIndex(), 10);
            p->findChild<QLineEdit*>(u"txtNewEntry"_s)->setText(u"缶"_s);
            p->findChild<QPushButton*>(u"cmdAdd"_s)->click();
            QTest::keyClick(p, Qt::Key_F5);
        });
        click(ed.get(), "cmdListTani2");
        QCOMPARE(textOf(ed.get(), "cboTani2"), u"缶"_s);
        QVERIFY(control<QComboBox>(ed.get(), "cboTani")->findText(u"缶"_s) >= 0);
    }

    void dataSearchFillsTheSearchScreen()
    {
        DrawingSearchScreen search(f->ctx, MakeSearchHooks());
        QVERIFY(search.load() && showActive(&search));
        typeInto(&search, "txtDwgNo", u"T"_s);
        whenModal<DataSearchScreen>([](DataSearchScreen* s) {
            QCOMPARE(s->tables().size(), 1);
            // The condition taken from the search screen can be widened.
            s->findChild<QLineEdit*>(u"txtDwgNo"_s)->clear();
            QCOMPARE(s->tables().size(), 2);
            auto* grid = s->findChild<QTableWidget*>(u"grdTables"_s);
            grid->setCurrentCell(rowOf(grid, u"A-100"_s), 0);
            QTest::keyClick(grid, Qt::Key_Return);
        });
        QTest::keyClick(&search, Qt::Key_F1);
        QCOMPARE(f->ctx.DataSearchFlag.value(), 0);
        QCOMPARE(QStringList({textOf(&search, "txtDwgNo"), textOf(&search, "txtAssy"),
                              textOf(&search, "cboName"), textOf(&search, "cboDesined")}),
                 QStringList({u"A-100"_s, u"100-01"_s, u"ベースフレーム"_s, u"山田"_s}));
        QVERIFY(control<QRadioButton>(&search, "optKind1")->isChecked());
        // "入力(F5)" opens that table, with the aids installed.
        click(&search, "cmd0");
        auto* ed = search.findChild<EditorScreen*>();
        QVERIFY(ed);
        QCOMPARE(ed->editor().grid().lineCount(), 20);
        QVERIFY(ed->findChild<QPushButton*>(u"cmdListMaker"_s));
        delete ed;
    }
};

QTEST_MAIN(TestEditorAids)
#include "TestEditorAids.moc"
