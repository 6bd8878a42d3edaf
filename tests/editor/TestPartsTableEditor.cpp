#include "EditorLists.h"
#include "IniAccess.h"
#include "PartsTableEditor.h"
#include "RuntimeError.h"
#include "TestSupport.h"

#include "Numbering.h"
#include "PartsGrid.h"
#include <QtTest>

using namespace EditorCol;
using namespace Qt::StringLiterals;

// The editor's logic without a screen: item numbers, and row operations on a real database file.
class TestPartsTableEditor : public QObject
{
    Q_OBJECT
    std::unique_ptr<AppFolder> f;
    std::unique_ptr<PartsTableEditor> ed;

    void open() { ed->open({u"D-100"_s, u"250-01"_s, u"ベース組立"_s, u"1"_s, u"2026/11/21"_s, u"山田"_s}); }
    static QStringList column(const PartsGrid& g, int col)
    {
        QStringList out;
        for (int r = 1; r < g.rows(); ++r)
            out << g.cell(r, col);
        return out;
    }
    QStringList column(int col) const { return column(ed->grid(), col); }

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

    void linesKeepTheirOrderAndNumbersOverSaves()
    {
        // 60 lines numbered 951 to 1010, two bracketed: text order would put "(960)" first and "1000"
        // before "951". Opened and saved three times, they show and stay as stored.
        QList<QStringList> lines;
        for (int n = 1010; n >= 951; --n) {
            const bool bracketed = n == 960 || n == 1005;
            lines.prepend({(bracketed ? u"(%1)"_s : u"%1"_s).arg(n), u"L%1"_s.arg(n), u"0"_s,
                           bracketed ? u"1"_s : u"0"_s});
        }
        f->storeTable(u"D-950"_s, u"950-01"_s, u"1"_s, u"組立"_s, u"客先A"_s, lines);
        const QString query = u"SELECT CH_ZNO, CH_HINMEI FROM BUHINHYO_M ORDER BY INT_NUMBER"_s;
        const QStringList stored = f->lines(query);
        for (int save = 0; save <= 3; ++save) {
            ed->open({u"D-950"_s, u"950-01"_s, u"組立"_s, u"1"_s, u"2026/11/21"_s, u"山田"_s});
            QStringList shown;
            for (int r = 1; r < ed->grid().rows(); ++r)
                shown << ed->grid().cell(r, Zno) + u'|' + ed->grid().cell(r, Hinmei);
            QCOMPARE(shown, stored);
            ed->header().customer = u"客先A"_s;
            if (save < 3)
                QCOMPARE(ed->save(), PartsTableEditor::SaveResult::Saved);
        }
        QCOMPARE(f->lines(query), stored);
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

    void itemNumbersFromTheAssembly()
    {
        PartsGrid g;
        g.appendLine();
        g.appendLine();
        // assembly, start number -> the three item numbers
        for (const auto& [assy, start, numbers] : {std::tuple{u"250-01"_s, 1, u"251 252 253"_s},
                                                   {u"250-01"_s, 0, u"250 251 252"_s},
                                                   {u"AB-7"_s, 1, u"001 002 003"_s},
                                                   {u"12-34-5"_s, 1, u"1235 1236 1237"_s},
                                                   {u"A12B3"_s, 1, u"124 125 126"_s},
                                                   {u"-45"_s, 1, u"001 002 003"_s},
                                                   {QString(), 99, u"099 100 101"_s},
                                                   {u"２５０-1"_s, 1, u"001 002 003"_s}}) {
            Renumber(g, assy, start);
            QCOMPARE(column(g, EditorCol::Zno).join(u' '), numbers);
        }
        QCOMPARE(column(g, EditorCol::No), QStringList({u"1"_s, u"2"_s, u"3"_s}));
        // A stored item number shows with three digits at least.
        for (const auto& [stored, shown] : {std::pair{u"12"_s, u"012"_s},
                                            {u"1234"_s, u"1234"_s},
                                            {u"(12)"_s, u"(12)"_s},
                                            {QString(), QString()}})
            QCOMPARE(FormatStoredZno(stored), shown);
    }

    void overflowLeavesTheGridAlone()
    {
        PartsGrid g;
        g.appendLine();
        g.setCell(1, EditorCol::Zno, u"x"_s);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, Renumber(g, u"2147483647-1"_s, 1));
        QCOMPARE(g.cell(1, EditorCol::Zno), u"x"_s);
        Renumber(g, u"2147483645-1"_s, 1); // line 2: the last number that fits
        QCOMPARE(g.cell(2, EditorCol::Zno), u"2147483647"_s);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, Renumber(g, u"99999999999-1"_s, 1));
    }

    void startNumber()
    {
        // typed, result, value (-5: unchanged), text left in the field
        for (const auto& [typed, result, value, left] :
             {std::tuple{u"0"_s, StartNumberResult::Ok, 0, u"0"_s},
              {u"99"_s, StartNumberResult::Ok, 99, u"99"_s},
              {u"2.5"_s, StartNumberResult::Ok, 2, u"2.5"_s},
              {u"-1"_s, StartNumberResult::OutOfRange, -5, u"-1"_s},
              {u"100"_s, StartNumberResult::OutOfRange, -5, u"100"_s},
              {QString(), StartNumberResult::NotNumber, -5, QString()},
              {u"1a"_s, StartNumberResult::NotNumber, -5, u"1"_s},
              {u" 5"_s, StartNumberResult::NotNumber, -5, u"5"_s},
              {u"５"_s, StartNumberResult::NotNumber, -5, QString()},
              {u"-"_s, StartNumberResult::NotNumber, -5, u"-"_s}}) {
            QString text = typed;
            int v = -5;
            QCOMPARE(CheckStartNumber(text, v), result);
            QCOMPARE(v, value);
            QCOMPARE(text, left);
        }
    }
};

QTEST_GUILESS_MAIN(TestPartsTableEditor)
#include "TestPartsTableEditor.moc"
