#include "Database.h"
#include "EditorLists.h"
#include "EditorTestEnv.h"
#include "IniAccess.h"
#include "PartsRecords.h"
#include "PartsTableEditor.h"
#include "TestSupport.h"

#include <QtTest>

using namespace EditorCol;

// The editor's logic on a real database file, without a screen.
class TestPartsTableEditor : public QObject
{
    Q_OBJECT
    std::unique_ptr<EditorTestEnv> env;
    std::unique_ptr<PartsTableEditor> ed;

    EditorOpenValues values(const QString& name = QStringLiteral("ベース組立"))
    {
        return {QStringLiteral("D-100"), QStringLiteral("250-01"),     name,
                QStringLiteral("1"),     QStringLiteral("2024/03/05"), QStringLiteral("山田")};
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

    void newTableOpensWithOneEmptyLine()
    {
        ed->open(values());
        QCOMPARE(ed->grid().rows(), 2);
        QCOMPARE(ed->header().title, QStringLiteral("製作部品表(MFG.PARTS.TABLE)"));
        QCOMPARE(ed->header().date, QStringLiteral("2024/03/05"));
        QCOMPARE(column(No), QStringList{u"1"_qs});
        QCOMPARE(column(Zno), QStringList{u"251"_qs});
        QVERIFY(env->messages.shown.isEmpty());
        EditorOpenValues v = values();
        v.kind = QStringLiteral("2");
        ed->open(v);
        QCOMPARE(ed->header().title, QStringLiteral("購入部品表(MFG.PARTS.TABLE)"));
    }

    void rowOperationsAskAndRenumber()
    {
        ed->open(values());
        int refreshes = 0;
        ed->onRefreshInput = [&] { ++refreshes; };
        writeLine(1, QStringLiteral("A"));
        QVERIFY(ed->insertBelow());
        QCOMPARE(env->messages.shown.last().title, QStringLiteral("行の挿入確認"));
        QCOMPARE(env->messages.shown.last().text, QStringLiteral("1行目の下側に挿入します。"));
        QCOMPARE(env->messages.shown.last().icon, MsgIcon::Question);
        QCOMPARE(env->messages.shown.last().buttons, MsgButtons::YesNo);
        QCOMPARE(ed->grid().currentRow(), 1);
        writeLine(2, QStringLiteral("B"));
        // Inserting above line 1: the new line becomes line 1 and is the current line.
        ed->grid().setCurrent(1);
        QVERIFY(ed->insertAbove());
        QCOMPARE(env->messages.shown.last().text, QStringLiteral("1行目の上側に挿入します。"));
        QCOMPARE(ed->grid().currentRow(), 1);
        QCOMPARE(column(Hinmei), (QStringList{QString(), u"A"_qs, u"B"_qs}));
        QCOMPARE(column(No), (QStringList{u"1"_qs, u"2"_qs, u"3"_qs}));
        QCOMPARE(column(Zno), (QStringList{u"251"_qs, u"252"_qs, u"253"_qs}));
        // The copy goes to the bottom, becomes current and carries no stored number.
        ed->grid().setCurrent(2);
        ed->grid().setCell(2, Number, u"17"_qs);
        ed->grid().setCell(2, Haishi, u"1"_qs);
        QVERIFY(ed->copyToBottom());
        QCOMPARE(env->messages.shown.last().title, QStringLiteral("行のコピー確認"));
        QCOMPARE(env->messages.shown.last().text, QStringLiteral("2行目のデータを最下行にコピーします。"));
        QCOMPARE(ed->grid().currentRow(), 4);
        QCOMPARE(ed->grid().cell(4, Hinmei), u"A"_qs);
        QCOMPARE(ed->grid().cell(4, Number), QString());
        QCOMPARE(ed->grid().cell(2, Number), u"17"_qs);
        QVERIFY(ed->grid().marked(4));
        QCOMPARE(column(No), (QStringList{u"1"_qs, u"廃止"_qs, u"3"_qs, u"廃止"_qs}));
        QVERIFY(refreshes >= 3);
        // Deleting a line never stored runs no statement.
        ed->grid().setCurrent(3);
        QVERIFY(ed->deleteLine());
        QCOMPARE(env->messages.shown.last().title, QStringLiteral("行の削除確認"));
        QCOMPARE(env->messages.shown.last().text, QStringLiteral("3行目を削除します。"));
        QCOMPARE(column(Hinmei), (QStringList{QString(), u"A"_qs, u"A"_qs}));
        QCOMPARE(column(Zno), (QStringList{u"251"_qs, u"252"_qs, u"253"_qs}));
    }

    void answeringNoChangesNothing()
    {
        ed->open(values());
        writeLine(1, QStringLiteral("A"));
        ed->grid().setCell(1, Number, u"5"_qs);
        env->messages.defaultYesNo = MsgAnswer::No;
        const PartsGrid::Cells before = ed->grid().line(1).cells;
        QVERIFY(!ed->insertAbove());
        QVERIFY(!ed->insertBelow());
        QVERIFY(!ed->copyToBottom());
        QVERIFY(!ed->deleteLine());
        QCOMPARE(env->messages.shown.size(), 4);
        QCOMPARE(ed->grid().rows(), 2);
        QVERIFY(ed->grid().line(1).cells == before);
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
        writeLine(1, QStringLiteral("A"));
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

    void saveReadsEveryCell()
    {
        PartsGrid::Cells c;
        c[Number] = u"12"_qs;
        c[Zno] = u"(251)"_qs;
        c[Hinmei] = u"品"_qs;
        c[Zaishitu] = u"SS400"_qs;
        c[Suryo] = u"2"_qs;
        c[Tani] = u"個"_qs;
        c[Suryo2] = u"1.5"_qs;
        c[Tani2] = u"m"_qs;
        c[Biko] = u"備考"_qs;
        c[Tanka] = u"100"_qs;
        c[Kingk] = u"200"_qs;
        c[Maker] = u"ミスミ"_qs;
        c[Haishi] = u"-1"_qs;
        c[Kakko] = u"True"_qs;
        const PartsLine l = PartsTableEditor::LineFromCells(c);
        QCOMPARE(l.number, u"12"_qs);
        QCOMPARE(l.zno, u"(251)"_qs);
        QCOMPARE((QStringList{l.hinmei, l.zaishitu, l.suryo, l.tani, l.suryo2, l.tani2, l.biko, l.tanka,
                              l.kingk, l.maker}),
                 (QStringList{u"品"_qs, u"SS400"_qs, u"2"_qs, u"個"_qs, u"1.5"_qs, u"m"_qs, u"備考"_qs,
                              u"100"_qs, u"200"_qs, u"ミスミ"_qs}));
        QVERIFY(l.haishi);
        QVERIFY(l.kakko);
        c[Haishi] = QString();
        c[Kakko] = u"0"_qs;
        c[Number] = QString();
        const PartsLine n = PartsTableEditor::LineFromCells(c);
        QVERIFY(!n.haishi);
        QVERIFY(!n.kakko);
        QCOMPARE(n.number, QString());

        PartsGrid g;
        QVERIFY(!PartsTableEditor::HasEnteredData(g));
        g.setCell(1, Zno, u"251"_qs);
        g.setCell(1, Number, u"3"_qs);
        g.setCell(1, Haishi, u"1"_qs);
        QVERIFY(!PartsTableEditor::HasEnteredData(g));
        g.setCell(1, Kingk, u"5"_qs);
        QVERIFY(PartsTableEditor::HasEnteredData(g));
        QCOMPARE(PartsTableEditor::HeaderDate(u"2024/3/5"_qs), u"2024/03/05"_qs);
        QCOMPARE(PartsTableEditor::HeaderDate(u"20240305"_qs), u"2024/03/05"_qs);
    }

    void saveChecksThenWritesAndReloads()
    {
        ed->open(values());
        ed->header().customer = QString();
        QCOMPARE(ed->save(), PartsTableEditor::SaveResult::NoCustomer);
        QCOMPARE(env->messages.shown.last().title, QStringLiteral("注意"));
        QCOMPARE(env->messages.shown.last().text,
                 QStringLiteral("客先の選択がされていません。更新出来ません。"));
        QCOMPARE(env->messages.shown.last().icon, MsgIcon::Exclamation);
        ed->header().customer = QStringLiteral("  ");
        QCOMPARE(ed->save(), PartsTableEditor::SaveResult::NoData);
        QCOMPARE(env->messages.shown.last().text,
                 QStringLiteral("データが入力されていません。入力して下さい。"));
        writeLine(1, QStringLiteral("A"));
        QCOMPARE(ed->save(), PartsTableEditor::SaveResult::BlankCustomer);
        QCOMPARE(env->messages.shown.last().text, QStringLiteral("必須項目が入力されていません。"));
        QCOMPARE(env->rows(u"SELECT COUNT(*) FROM BUHINHYO"_qs), (QList<QStringList>{{u"0"_qs}}));

        ed->header().customer = QStringLiteral("客先Ａ");
        QCOMPARE(ed->save(), PartsTableEditor::SaveResult::Saved);
        QCOMPARE(env->messages.shown.last().title, QStringLiteral("インフォメーション"));
        QCOMPARE(env->messages.shown.last().text, QStringLiteral("登録しました。"));
        const QString number = ed->grid().cell(1, Number);
        QVERIFY(!number.isEmpty());
        // Saving again updates the same row instead of adding one.
        writeLine(1, QStringLiteral("B"));
        QCOMPARE(ed->save(), PartsTableEditor::SaveResult::Saved);
        QCOMPARE(env->rows(u"SELECT INT_NUMBER, CH_HINMEI, CH_USER FROM BUHINHYO_M"_qs),
                 (QList<QStringList>{{number, u"B"_qs, u"客先Ａ"_qs}}));
    }

    void storedNameDifferingAsksOncePerLoad()
    {
        env->storeTable(u"D-100"_qs, u"250-01"_qs, u"1"_qs, u"旧名称"_qs, u"客先Ｂ"_qs,
                        {{u"251"_qs, u"A"_qs}});
        env->messages.setNextAnswer(MsgAnswer::No);
        ed->open(values(QStringLiteral("新名称")));
        QCOMPARE(env->messages.shown.size(), 1);
        QCOMPARE(env->messages.shown[0].title, QStringLiteral("確認"));
        QCOMPARE(
            env->messages.shown[0].text,
            QStringLiteral("NAMEが変更されています。変更しますか？元のNAME　：旧名称\n新しいNAME：新名称"));
        QCOMPARE(ed->header().name, QStringLiteral("旧名称"));
        QCOMPARE(ed->header().customer, QStringLiteral("客先Ｂ"));
        QCOMPARE(ed->header().date, QStringLiteral("2023/12/24"));
        // The save stores the name shown, so the reload asks nothing.
        QCOMPARE(ed->save(), PartsTableEditor::SaveResult::Saved);
        QCOMPARE(env->messages.shown.size(), 2);
        QCOMPARE(env->messages.shown[1].text, QStringLiteral("登録しました。"));

        env->messages.clear();
        ed->open(values(QStringLiteral("新名称")));
        QCOMPARE(env->messages.shown.size(), 1);
        QCOMPARE(ed->header().name, QStringLiteral("新名称"));
        QCOMPARE(ed->save(), PartsTableEditor::SaveResult::Saved);
        QCOMPARE(env->rows(u"SELECT CH_NAME, CH_USER, CH_HDATE FROM BUHINHYO"_qs),
                 (QList<QStringList>{{u"新名称"_qs, u"客先Ｂ"_qs, u"2023/12/24"_qs}}));
        QCOMPARE(env->messages.shown.size(), 2);
    }

    void loadShowsAbolishedLinesAndBrackets()
    {
        env->storeTable(
            u"D-100"_qs, u"250-01"_qs, u"1"_qs, u"ベース組立"_qs, u"客先Ａ"_qs,
            {{u"251"_qs, u"A"_qs}, {u"252"_qs, u"B"_qs, u"1"_qs}, {u"253"_qs, u"C"_qs, u"0"_qs, u"1"_qs}});
        env->storeTable(u"D-100"_qs, u"250-01"_qs, u"2"_qs, u"ベース組立"_qs, u"客先Ａ"_qs,
                        {{u"251"_qs, u"X"_qs}});
        ed->open(values());
        QCOMPARE(column(Hinmei), (QStringList{u"A"_qs, u"B"_qs, u"C"_qs}));
        QCOMPARE(column(No), (QStringList{u"1"_qs, u"廃止"_qs, u"3"_qs}));
        QCOMPARE(column(Zno), (QStringList{u"251"_qs, u"252"_qs, u"(253)"_qs}));
        QVERIFY(ed->grid().marked(2));
        QVERIFY(!ed->grid().marked(1));
        QCOMPARE(column(Suryo), (QStringList{u"1"_qs, u"1"_qs, u"1"_qs}));
        QCOMPARE(column(Tani), (QStringList{u"個"_qs, u"個"_qs, u"個"_qs}));
        QCOMPARE(column(Tanka), (QStringList{QString(), QString(), QString()}));
    }

    void copiedLinesComeInAsNewLines()
    {
        ed->open(values());
        PartsLine a;
        a.number = u"99"_qs;
        a.zno = u"(7)"_qs;
        a.hinmei = u"A"_qs;
        a.suryo = u"2"_qs;
        a.kakko = true;
        PartsLine b;
        b.hinmei = u"B"_qs;
        b.haishi = true;
        ed->appendCopiedLines({a, b});
        // The lone empty line is replaced; the copies carry no stored number and are renumbered.
        QCOMPARE(column(Hinmei), (QStringList{u"A"_qs, u"B"_qs}));
        QCOMPARE(column(Number), (QStringList{QString(), QString()}));
        QCOMPARE(column(Zno), (QStringList{u"(251)"_qs, u"252"_qs}));
        QCOMPARE(column(No), (QStringList{u"1"_qs, u"廃止"_qs}));
        QVERIFY(ed->grid().marked(2));
        ed->appendCopiedLines({b});
        QCOMPARE(column(Hinmei), (QStringList{u"A"_qs, u"B"_qs, u"B"_qs}));
        QCOMPARE(ed->grid().currentRow(), 3);
    }

    void shippedSettingsFeedTheLists()
    {
        IniAccess shipped(env->messages, shippedIniPath());
        const EditorLists lists = ReadEditorLists(shipped);
        QVERIFY(env->messages.shown.isEmpty());
        QVERIFY(!lists.customers.isEmpty());
        QVERIFY(!lists.makers.isEmpty());
        QVERIFY(!lists.units.isEmpty());
        QCOMPARE(lists.inputs.size(), 8);
        QVERIFY(!lists.nameItems().isEmpty());
        QVERIFY(!lists.materialItems().isEmpty());
        for (const char* code : {"E102", "E103", "I100", "Q001"})
            QVERIFY(!shipped.find(u"MSGCD"_qs, QString::fromLatin1(code)).startsWith(u"NOT FOUND"_qs));
    }

    void printRequestCarriesHeaderAndOptions()
    {
        ed->open(values());
        ed->header().customer = QStringLiteral("客先Ａ");
        env->ctx.CurrentKind = QStringLiteral("2");
        const PrintRequest r = ed->printRequest(true, false, true);
        QCOMPARE(r.runMode, QStringLiteral("HONBAN"));
        QCOMPARE(r.dwgNo, QStringLiteral("D-100"));
        QCOMPARE(r.assy, QStringLiteral("250-01"));
        QCOMPARE(r.name, QStringLiteral("ベース組立"));
        QCOMPARE(r.date, QStringLiteral("2024/03/05"));
        QCOMPARE(r.designer, QStringLiteral("山田"));
        QCOMPARE(r.customer, QStringLiteral("客先Ａ"));
        QCOMPARE(r.kind, QStringLiteral("2"));
        QVERIFY(r.keepExcel);
        QVERIFY(!r.summary);
        QVERIFY(r.pagePerMaker);
    }
};

QTEST_GUILESS_MAIN(TestPartsTableEditor)
#include "TestPartsTableEditor.moc"
