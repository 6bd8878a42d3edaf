#include "EditorLists.h"
#include "EditorTestEnv.h"
#include "IniAccess.h"
#include "PartsTableEditor.h"
#include "RuntimeError.h"
#include "TestSupport.h"

#include <QtTest>

using namespace EditorCol;

// The editor's logic on a real database file, without a screen.
class TestPartsTableEditor : public QObject
{
    Q_OBJECT
    std::unique_ptr<EditorTestEnv> env;
    std::unique_ptr<PartsTableEditor> ed;

    EditorOpenValues values(const QString& name = u"ベース組立"_qs)
    {
        return {u"D-100"_qs, u"250-01"_qs, name, u"1"_qs, u"2024/03/05"_qs, u"山田"_qs};
    }
    QStringList column(int col) const
    {
        QStringList out;
        for (int r = 1; r < ed->grid().rows(); ++r)
            out << ed->grid().cell(r, col);
        return out;
    }
    void writeLine(int row, const QString& name)
    {
        ed->grid().setCurrent(row);
        InputValues v;
        v.hinmei = name;
        ed->writeInputToLine(v);
    }

private Q_SLOTS:
    void init()
    {
        env = std::make_unique<EditorTestEnv>();
        env->connect();
        ed = std::make_unique<PartsTableEditor>(env->ctx, env->ctx.DbConnection);
    }
    void cleanup()
    {
        ed.reset();
        env.reset();
    }

    void deletingTheOnlyLineLeavesABlankLine()
    {
        env->storeTable(u"D-100"_qs, u"250-01"_qs, u"1"_qs, u"ベース組立"_qs, u"客先Ａ"_qs,
                        {{u"251"_qs, u"A"_qs}});
        ed->open(values());
        QCOMPARE(ed->grid().rows(), 2);
        QVERIFY(!ed->grid().cell(1, Number).isEmpty());
        QVERIFY(ed->deleteLine());
        QCOMPARE(ed->grid().rows(), 2);
        QCOMPARE(column(No), QStringList{u"1"_qs});
        QCOMPARE(column(Hinmei), QStringList{QString()});
        QCOMPARE(ed->grid().cell(1, Number), QString());
        // The stored row is gone at once, without a save.
        QCOMPARE(env->rows(u"SELECT COUNT(*) FROM BUHINHYO_M"_qs), (QList<QStringList>{{u"0"_qs}}));
    }

    void deleteReadsTheNumberIn16Bits()
    {
        ed->open(values());
        writeLine(1, u"A"_qs);
        ed->grid().appendLine();
        ed->grid().setCell(1, Number, u"40000"_qs);
        ed->grid().setCurrent(1);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, ed->deleteLine());
        QCOMPARE(ed->grid().rows(), 3);
        QCOMPARE(ed->grid().cell(1, Hinmei), u"A"_qs);
        QCOMPARE(PartsTableEditor::StoredNumber16(u"32767"_qs), u"32767"_qs);
        QCOMPARE(PartsTableEditor::StoredNumber32(u"40000"_qs), u"40000"_qs);
        QCOMPARE(PartsTableEditor::StoredNumber32(QString()), QString());
        QVERIFY_THROWS_EXCEPTION(RuntimeError, PartsTableEditor::StoredNumber32(u"2147483648"_qs));
    }

    void abolishAndBracketMarks()
    {
        ed->open(values());
        ed->setAbolished(true);
        QCOMPARE(ed->grid().cell(1, Haishi), u"1"_qs);
        QCOMPARE(ed->grid().cell(1, No), u"廃止"_qs);
        QVERIFY(ed->grid().marked(1));
        ed->setAbolished(false);
        QCOMPARE(ed->grid().cell(1, Haishi), u"0"_qs);
        QCOMPARE(ed->grid().cell(1, No), u"1"_qs);
        QVERIFY(!ed->grid().marked(1));

        QVERIFY(ed->setBracketed(true));
        QCOMPARE(ed->grid().cell(1, Zno), u"(251)"_qs);
        QCOMPARE(ed->grid().cell(1, Kakko), u"1"_qs);
        QVERIFY(!ed->setBracketed(false));
        QCOMPARE(ed->grid().cell(1, Zno), u"251"_qs);
        QCOMPARE(ed->grid().cell(1, Kakko), u"0"_qs);
        // A line without an item number cannot be bracketed.
        ed->grid().setCell(1, Zno, QString());
        QVERIFY(!ed->setBracketed(true));
        QCOMPARE(ed->grid().cell(1, Kakko), u"0"_qs);
        // With no line at all, the marks add one marked "追加".
        ed->grid().removeLine(1);
        ed->setAbolished(true);
        QCOMPARE(ed->grid().rows(), 2);
        QCOMPARE(ed->grid().cell(1, No), u"廃止"_qs);
        ed->grid().removeLine(1);
        ed->addLineAtBottom();
        QCOMPARE(ed->grid().cell(1, No), u"追加"_qs);
        QCOMPARE(ed->grid().currentCol(), int(No));
    }

    void copiedLinesComeInAsNewLines()
    {
        env->storeTable(u"S-1"_qs, u"9-01"_qs, u"1"_qs, u"元"_qs, u"客先Ａ"_qs,
                        {{u"012"_qs, u"B"_qs, u"1"_qs}, {u"011"_qs, u"A"_qs, u"0"_qs, u"1"_qs}});
        ed->open(values());
        // The fresh editor's one empty line gives way; the copies come in item number order, carry
        // no stored number and are renumbered; the abolished one keeps its mark.
        ed->appendCopiedLines(
            PartsTableEditor::ReadStoredLines(*env->ctx.DbConnection, u"S-1"_qs, u"9-01"_qs, u"1"_qs));
        QCOMPARE(column(Hinmei), (QStringList{u"A"_qs, u"B"_qs}));
        QCOMPARE(column(Number), (QStringList{QString(), QString()}));
        QCOMPARE(column(Zno), (QStringList{u"(251)"_qs, u"252"_qs}));
        QCOMPARE(column(No), (QStringList{u"1"_qs, u"廃止"_qs}));
        QVERIFY(ed->grid().marked(2));
        QCOMPARE(ed->grid().currentRow(), 1);
        ed->header().customer = u"客先Ａ"_qs;
        QCOMPARE(ed->save(), PartsTableEditor::SaveResult::Saved);
        QCOMPARE(env->count(u"SELECT COUNT(*) FROM BUHINHYO_M"_qs), 4);
    }

    void inputListsFollowTheirIndex()
    {
        // Slots 0 to 3 feed the name field and 4 to 7 the material field, in slot order; a slot
        // outside them feeds neither.
        IniAccess& ini = *env->ctx.ini;
        ini.put(u"KVRCAD0002COMBO1"_qs, u"INDEX"_qs, u"1"_qs);
        ini.put(u"KVRCAD0002COMBO2"_qs, u"INDEX"_qs, u"0"_qs);
        ini.put(u"KVRCAD0002COMBO3"_qs, u"INDEX"_qs, u"9"_qs);
        ini.put(u"KVRCAD0002COMBO5"_qs, u"INDEX"_qs, u"2"_qs);
        const EditorLists lists = ReadEditorLists(ini);
        QCOMPARE(lists.nameItems(),
                 (QStringList{u"平座金"_qs, u"六角ボルト"_qs, u"SS400"_qs, u"プレート"_qs}));
        QCOMPARE(lists.materialItems(), (QStringList{u"S45C"_qs, u"SUS304"_qs, u"A5052"_qs}));
        ini.put(u"KVRCAD0002COMBO8"_qs, u"INDEX"_qs, u"x"_qs);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, ReadEditorLists(ini));

        // The shipped settings give list n the slot n - 1.
        IniAccess shipped(env->messages, shippedIniPath());
        const QList<InputList> all = ReadInputLists(shipped);
        QCOMPARE(all.size(), 8);
        for (const InputList& l : all)
            QCOMPARE(l.index, l.number - 1);
        QStringList names;
        for (int n = 1; n <= 4; ++n)
            names += all[n - 1].items;
        QCOMPARE(ReadEditorLists(shipped).nameItems(), names);
        QVERIFY(env->messages.shown.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestPartsTableEditor)
#include "TestPartsTableEditor.moc"
