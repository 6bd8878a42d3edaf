#include "EditorLists.h"
#include "IniAccess.h"
#include "PartsTableEditor.h"
#include "RuntimeError.h"
#include "TestSupport.h"

#include <QtTest>

using namespace EditorCol;
using namespace Qt::StringLiterals;

// The editor's logic on a real database file, without a screen.
class TestPartsTableEditor : public QObject
{
    Q_OBJECT
    std::unique_ptr<AppFolder> f;
    std::unique_ptr<PartsTableEditor> ed;

    void open() { ed->open({u"D-100"_s, u"250-01"_s, u"ベース組立"_s, u"1"_s, u"2026/11/21"_s, u"山田"_s}); }
    QStringList column(int col) const
    {
        QStringList out;
        for (int r = 1; r < ed->grid().rows(); ++r)
            out << ed->grid().cell(r, col);
        return out;
    }

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<AppFolder>();
        QVERIFY(f->connect());
        ed = std::make_unique<PartsTableEditor>(f->ctx, f->ctx.DbConnection);
    }
    void cleanup()
    {
        ed.reset();
        f.reset();
    }

    void deletingTheOnlyLineLeavesABlankLine()
    {
        f->storeTable(u"D-100"_s, u"250-01"_s, u"1"_s, u"ベース組立"_s, u"客先A"_s, {{u"251"_s, u"A"_s}});
        open();
        QVERIFY(!ed->grid().cell(1, Number).isEmpty());
        QVERIFY(ed->deleteLine());
        QCOMPARE(ed->grid().rows(), 2);
        QCOMPARE(column(No) + column(Hinmei) + column(Number), QStringList({u"1"_s, QString(), QString()}));
        // The stored row is gone at once, without a save.
        QCOMPARE(f->count(u"SELECT COUNT(*) FROM BUHINHYO_M"_s), 0);
        // The stored number is read in 16 bits: beyond that the delete fails and the line stays.
        ed->grid().setCell(1, Hinmei, u"A"_s);
        ed->grid().appendLine();
        ed->grid().setCell(1, Number, u"40000"_s);
        ed->grid().setCurrent(1);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, ed->deleteLine());
        QCOMPARE(column(Hinmei), QStringList({u"A"_s, QString()}));
    }

    void abolishAndBracketMarks()
    {
        open();
        ed->setAbolished(true);
        QCOMPARE(ed->grid().cell(1, Haishi) + ed->grid().cell(1, No), u"1廃止"_s);
        QVERIFY(ed->grid().marked(1));
        ed->setAbolished(false);
        QCOMPARE(ed->grid().cell(1, Haishi) + ed->grid().cell(1, No), u"01"_s);
        QVERIFY(!ed->grid().marked(1));
        QVERIFY(ed->setBracketed(true));
        QCOMPARE(ed->grid().cell(1, Zno) + ed->grid().cell(1, Kakko), u"(251)1"_s);
        QVERIFY(!ed->setBracketed(false));
        QCOMPARE(ed->grid().cell(1, Zno) + ed->grid().cell(1, Kakko), u"2510"_s);
        // A line without an item number cannot be bracketed.
        ed->grid().setCell(1, Zno, QString());
        QVERIFY(!ed->setBracketed(true));
        QCOMPARE(ed->grid().cell(1, Kakko), u"0"_s);
        // With no line at all, the marks add one; a line added at the bottom is marked "追加".
        ed->grid().removeLine(1);
        ed->setAbolished(true);
        QCOMPARE(ed->grid().rows(), 2);
        QCOMPARE(ed->grid().cell(1, No), u"廃止"_s);
        ed->grid().removeLine(1);
        ed->addLineAtBottom();
        QCOMPARE(ed->grid().cell(1, No), u"追加"_s);
    }

    void copiedLinesComeInAsNewLines()
    {
        f->storeTable(u"S-1"_s, u"9-01"_s, u"1"_s, u"元"_s, u"客先A"_s,
                      {{u"012"_s, u"B"_s, u"1"_s}, {u"011"_s, u"A"_s, u"0"_s, u"1"_s}});
        open();
        // The fresh editor's one empty line gives way; the copies come in item number order, carry
        // no stored number and are renumbered; the abolished one keeps its mark.
        ed->appendCopiedLines(
            PartsTableEditor::ReadStoredLines(*f->ctx.DbConnection, u"S-1"_s, u"9-01"_s, u"1"_s));
        QCOMPARE(column(Hinmei), QStringList({u"A"_s, u"B"_s}));
        QCOMPARE(column(Number), QStringList({QString(), QString()}));
        QCOMPARE(column(Zno), QStringList({u"(251)"_s, u"252"_s}));
        QCOMPARE(column(No), QStringList({u"1"_s, u"廃止"_s}));
        QVERIFY(ed->grid().marked(2));
        ed->header().customer = u"客先A"_s;
        QCOMPARE(ed->save(), PartsTableEditor::SaveResult::Saved);
        QCOMPARE(f->count(u"SELECT COUNT(*) FROM BUHINHYO_M"_s), 4);
    }

    void inputListsFollowTheirIndex()
    {
        // Slots 0 to 3 feed the name field and 4 to 7 the material field, in slot order; list 3 (slot
        // 9) feeds neither.
        IniAccess& ini = *f->ctx.ini;
        const EditorLists lists = ReadEditorLists(ini);
        QCOMPARE(lists.nameItems(),
                 QStringList({u"ボルト"_s, u"ナット"_s, u"ワッシャ"_s, u"ベアリング"_s, u"ピン"_s}));
        QCOMPARE(lists.materialItems(), QStringList({u"SUS304"_s, u"SS400"_s, u"S45C"_s}));
        ini.put(u"KVRCAD0002COMBO8"_s, u"INDEX"_s, u"x"_s);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, ReadEditorLists(ini));
    }
};

QTEST_GUILESS_MAIN(TestPartsTableEditor)
#include "TestPartsTableEditor.moc"
