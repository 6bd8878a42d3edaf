#include "DrawingSearch.h"
#include "EditorScreen.h"
#include "ScreenTestHelpers.h"
#include "StartNumberDialog.h"
#include "TestSupport.h"

#include <QTableView>

using namespace EditorCol;
using namespace Qt::StringLiterals;

// The editor screen walked from the drawing list search, on a real database file.
class TestEditorScreen : public QObject
{
    Q_OBJECT
    std::unique_ptr<AppFolder> f;
    QPointer<DrawingSearchScreen> search;

    EditorScreen* openFromSearch(const QString& name, bool kind2 = false)
    {
        search = new DrawingSearchScreen(f->ctx);
        if (!search->load())
            return nullptr;
        typeInto(search, "txtDwgNo", u"D-100"_s);
        typeInto(search, "txtAssy", u"250-01"_s);
        typeInto(search, "cboName", name);
        control<QAbstractButton>(search, kind2 ? "optKind2" : "optKind1")->click();
        search->show();
        click(search, "cmd0");
        return search->findChild<EditorScreen*>();
    }
    static QString label(QWidget* w, const char* name) { return control<QLabel>(w, name)->text(); }
    static void moveTo(EditorScreen* ed, int row)
    {
        ed->gridView()->setCurrentIndex(ed->gridView()->model()->index(row - 1, Hinmei));
    }
    // Name, material, quantity, unit, quantity 2, unit 2, price, remarks, maker through the input area.
    static void enterLine(EditorScreen* ed, const QString& values)
    {
        const QStringList v = values.split(u'|');
        int i = 0;
        for (const char* field : {"cboHinmei", "cboZaishitu", "txtSuryo", "cboTani", "txtSuryo2", "cboTani2",
                                  "txtTanka", "txtBiko", "cboMaker"})
            typeInto(ed, field, v.value(i++));
        click(ed, "cmdTransfer");
    }
    static QStringList column(EditorScreen* ed, int col)
    {
        QStringList out;
        for (int r = 1; r < ed->editor().grid().rows(); ++r)
            out << ed->editor().grid().cell(r, col);
        return out;
    }
    static QString lineNumbers(EditorScreen* ed)
    {
        QStringList out;
        for (int r = 0; r < ed->gridView()->model()->rowCount(); ++r)
            out << ed->gridView()->model()->headerData(r, Qt::Vertical, Qt::DisplayRole).toString();
        return out.join(u' ');
    }
    QStringList storedLines()
    {
        return f->lines(
            u"SELECT CH_ZNO, CH_HINMEI, CH_ZAISHITU, INT_SURYO, CH_TANI, INT_SURYO2, CH_TANI2, CH_BIKO, "
            "INT_TANKA, INT_KINGK, CH_MAKER, CH_HAISHI, CH_KAKKO, CH_UPDDATE, CH_USER FROM BUHINHYO_M "
            "ORDER BY INT_NUMBER"_s);
    }
    // Answers the start number dialog the command opens.
    static void startNumber(EditorScreen* ed, const QString& typed, const char* button)
    {
        QTimer::singleShot(0, ed, [ed, typed, button] {
            auto* dialog = ed->findChild<StartNumberDialog*>();
            QVERIFY(dialog);
            typeInto(dialog, "txtZno", typed);
            click(dialog, button);
        });
        click(ed, "cmdStartNo");
    }

private Q_SLOTS:
    void init() { f = std::make_unique<AppFolder>(); }
    void cleanup()
    {
        deleteScreen<EditorScreen>(search);
        f.reset();
    }

    void wholePathFromSearchToSavedTable()
    {
        EditorScreen* ed = openFromSearch(u"ベース組立"_s);
        QVERIFY(ed && ed->isVisible());
        QCOMPARE(ed->windowTitle(), u"部品表作成"_s);
        QCOMPARE(control<QAbstractButton>(ed->gridView(), "grdBuhinCorner")->text(), u"№"_s);
        QCOMPARE(QStringList({label(ed, "lblTitle"), label(ed, "lblDwgNo"), label(ed, "lblAssy"),
                              label(ed, "lblName"), label(ed, "lblDate"), label(ed, "lblDesined"),
                              label(ed, "lblRow")}),
                 QStringList({u"製作部品表(MFG.PARTS.TABLE)"_s, u"D-100"_s, u"250-01"_s, u"ベース組立"_s,
                              u"2026/11/21"_s, u"山田"_s, u"Row=1/1行目"_s}));
        QVERIFY(f->messages.shown.isEmpty());

        // Three lines through the input area, one above line 1.
        enterLine(ed, u"ベースプレート|SS400|2|個|||8600|黒染め|ミスミ"_s);
        QCOMPARE(column(ed, Kingk), QStringList(u"17200"_s));
        click(ed, "cmdInsertDown");
        moveTo(ed, 2);
        enterLine(ed, u"シャフト|S45C|1|本|3|m|||"_s);
        click(ed, "cmdInsertDown");
        moveTo(ed, 3);
        enterLine(ed, u"カラー|S45C|4|個|||350||オリエンタル"_s);
        moveTo(ed, 1);
        QCOMPARE(textOf(ed, "cboHinmei"), u"ベースプレート"_s);
        click(ed, "cmdInsertUp");
        QCOMPARE(textOf(ed, "cboHinmei"), QString());
        enterLine(ed, u"スペーサー|SUS304|1|個|||||"_s);
        // Line 2 copied to the bottom, line 3 abolished, line 4 bracketed.
        moveTo(ed, 2);
        click(ed, "cmdCopyLine");
        moveTo(ed, 3);
        click(ed, "chkHaishi");
        QCOMPARE(ed->gridView()->model()->headerData(2, Qt::Vertical, Qt::BackgroundRole).value<QColor>(),
                 QColor(0, 255, 255));
        moveTo(ed, 4);
        click(ed, "chkKakko");
        // Names, line numbers and item numbers as the grid shows them.
        auto shown = [ed]() -> QString {
            return column(ed, Hinmei).join(u' ') + u'|' + lineNumbers(ed) + u'|' + column(ed, Zno).join(u' ');
        };
        QCOMPARE(
            shown(),
            u"スペーサー ベースプレート シャフト カラー ベースプレート|1 2 廃止 4 5|251 252 253 (254) 255"_s);
        // Start number 0: the dialog offers the current one, selected.
        QTimer::singleShot(0, ed, [ed] {
            auto* field = control<QLineEdit>(ed->findChild<StartNumberDialog*>(), "txtZno");
            QCOMPARE(field->selectedText(), u"1"_s);
        });
        startNumber(ed, u"0"_s, "cmdOK");
        QCOMPARE(column(ed, Zno).join(u' '), u"250 251 252 (253) 254"_s);
        // Four questions (two inserts below, one above, the copy) and nothing else.
        QCOMPARE(f->shownBoxes(), QStringList({u"行の挿入確認|1行目の下側に挿入します。"_s,
                                               u"行の挿入確認|2行目の下側に挿入します。"_s,
                                               u"行の挿入確認|1行目の上側に挿入します。"_s,
                                               u"行のコピー確認|2行目のデータを最下行にコピーします。"_s}));
        f->messages.clear();
        control<QComboBox>(ed, "cboUser")->setCurrentIndex(0);
        click(ed, "cmdUpdate");
        QCOMPARE(f->shownBoxes(), QStringList(u"インフォメーション|登録しました。"_s));
        QCOMPARE(
            f->rows(
                u"SELECT CH_DWGNO, CH_ASSY, CH_BUHIN, CH_USER, CH_NAME, CH_HDATE, CH_DESINED FROM BUHINHYO"_s),
            QList<QStringList>({{u"D-100"_s, u"250-01"_s, u"1"_s, u"客先A"_s, u"ベース組立"_s,
                                 u"2026/11/21"_s, u"山田"_s}}));
        const QString owner = u"|20261121|客先A"_s;
        QCOMPARE(storedLines(),
                 QStringList({u"250|スペーサー|SUS304|1|個|||||||0|0"_s + owner,
                              u"251|ベースプレート|SS400|2|個|||黒染め|8600|17200|ミスミ|0|0"_s + owner,
                              u"252|シャフト|S45C|1|本|3|m|||||1|0"_s + owner,
                              u"(253)|カラー|S45C|4|個||||350|1400|オリエンタル|0|1"_s + owner,
                              u"254|ベースプレート|SS400|2|個|||黒染め|8600|17200|ミスミ|0|0"_s + owner}));
        // The reload reads the lines in item-number order (the bracketed one keeps its place) with the
        // numbers the database gave them; the start number stays 0.
        QCOMPARE(
            shown(),
            u"スペーサー ベースプレート シャフト カラー ベースプレート|1 2 廃止 4 5|250 251 252 (253) 254"_s);
        const QStringList numbers = f->lines(u"SELECT INT_NUMBER FROM BUHINHYO_M ORDER BY INT_NUMBER"_s);
        QCOMPARE(column(ed, Number), numbers);
        QCOMPARE(column(ed, Haishi).join(u' ') + u' ' + column(ed, Kakko).join(u' '),
                 u"False False True False False False False False True False"_s);
        // Saved again, the lines are updated in place, not added twice.
        click(ed, "cmdUpdate");
        QCOMPARE(f->count(u"SELECT COUNT(*) FROM BUHINHYO_M"_s), 5);
        // A stored line copied is a new line (it has no stored number).
        moveTo(ed, 3);
        click(ed, "cmdCopyLine");
        QCOMPARE(column(ed, Number).last(), QString());
        // A stored line deleted goes from the database at once.
        moveTo(ed, 2);
        f->messages.clear();
        click(ed, "cmdDeleteLine");
        QCOMPARE(f->shownBoxes(), QStringList(u"行の削除確認|2行目を削除します。"_s));
        QCOMPARE(f->count(u"SELECT COUNT(*) FROM BUHINHYO_M WHERE INT_NUMBER = "_s + numbers[1]), 0);
        QCOMPARE(lineNumbers(ed), u"1 廃止 3 4 廃止"_s);
        // Closing asks every time; Yes closes without saving.
        f->messages.clear();
        QPointer<EditorScreen> guard(ed);
        click(ed, "cmdEnd");
        QCOMPARE(f->shownBoxes(),
                 QStringList(u"確認|変更内容を登録しましたか？終了しますよろしいですか？"_s));
        QTRY_VERIFY(guard.isNull());
    }

    void answeringNoChangesNothing()
    {
        f->storeTable(u"D-100"_s, u"250-01"_s, u"1"_s, u"ベース組立"_s, u"客先A"_s,
                      {{u"251"_s, u"A"_s}, {u"252"_s, u"B"_s}});
        EditorScreen* ed = openFromSearch(u"ベース組立"_s);
        QVERIFY(ed);
        const QStringList before = storedLines();
        const QStringList zno = column(ed, Zno);
        f->messages.defaultYesNo = MsgAnswer::No;
        moveTo(ed, 2);
        for (const char* button : {"cmdInsertUp", "cmdInsertDown", "cmdCopyLine", "cmdDeleteLine", "cmdEnd"})
            click(ed, button);
        QCOMPARE(f->messages.shown.size(), 5);
        QCOMPARE(column(ed, Hinmei), QStringList({u"A"_s, u"B"_s}));
        QVERIFY(ed->isVisible());
        // The search screen's delete answered No keeps the table; so does the start number cancelled.
        click(search, "cmd3");
        QCOMPARE(f->messages.shown.last().text, u"削除してよろしいですか？"_s);
        QCOMPARE(storedLines(), before);
        QTimer::singleShot(0, ed, [ed] {
            auto* dialog = ed->findChild<StartNumberDialog*>();
            typeInto(dialog, "txtZno", u"100"_s); // out of range: said so, the dialog stays
            click(dialog, "cmdOK");
            click(dialog, "cmdCancel");
        });
        click(ed, "cmdStartNo");
        QCOMPARE(f->shownBoxes().last(), u"エラー|0～99の数値で指定してください"_s);
        QCOMPARE(column(ed, Zno), zno);
        QVERIFY(!ed->close()); // closing the window asks too
    }

    void storedNameQuestionOncePerLoad()
    {
        f->storeTable(u"D-100"_s, u"250-01"_s, u"1"_s, u"旧名称"_s, u"客先B"_s, {{u"251"_s, u"A"_s}});
        f->messages.setNextAnswer(MsgAnswer::No);
        EditorScreen* ed = openFromSearch(u"新名称"_s);
        QVERIFY(ed);
        QCOMPARE(f->shownBoxes(), QStringList(u"確認|NAMEが変更されています。変更しますか？"
                                              u"元のNAME　：旧名称\n新しいNAME：新名称"_s));
        QCOMPARE(label(ed, "lblName") + label(ed, "lblDate") + textOf(ed, "cboUser"),
                 u"旧名称2026/01/15客先B"_s);
        click(ed, "cmdUpdate");
        QCOMPARE(f->messages.shown.size(), 2); // the save's reload asks no more
        // Closed and opened again, answered Yes: the new name is kept and stored by the save.
        QVERIFY(ed->close());
        click(search, "cmd0");
        EditorScreen* second = search->findChildren<EditorScreen*>().last();
        QVERIFY(second != ed);
        QCOMPARE(label(second, "lblName"), u"新名称"_s);
        click(second, "cmdUpdate");
        QCOMPARE(f->rows(u"SELECT CH_NAME FROM BUHINHYO"_s), QList<QStringList>({{u"新名称"_s}}));
        QCOMPARE(f->messages.shown.size(), 5);
    }

    void saveRefusalsAndFunctionKeys()
    {
        EditorScreen* ed = openFromSearch(u"ベース組立"_s);
        QVERIFY(ed && showActive(ed));
        click(ed, "cmdUpdate");
        QCOMPARE(f->shownBoxes().last(), u"注意|客先の選択がされていません。更新出来ません。"_s);
        QVERIFY(control<QWidget>(ed, "cboUser")->hasFocus());
        typeInto(ed, "cboUser", u"  "_s);
        click(ed, "cmdUpdate");
        QCOMPARE(f->shownBoxes().last(), u"注意|データが入力されていません。入力して下さい。"_s);
        QVERIFY(control<QWidget>(ed, "cboHinmei")->hasFocus());
        enterLine(ed, u"A"_s);
        click(ed, "cmdUpdate");
        QCOMPARE(f->shownBoxes().last(), u"エラー|必須項目が入力されていません。"_s);
        QVERIFY(control<QWidget>(ed, "cboUser")->hasFocus());
        QCOMPARE(f->count(u"SELECT COUNT(*) FROM BUHINHYO"_s), 0);
        // F5 saves while its button is enabled; F12 asks to close.
        typeInto(ed, "cboUser", u"客先B"_s);
        f->messages.clear();
        QTest::keyClick(ed, Qt::Key_F5);
        QCOMPARE(f->shownBoxes(), QStringList(u"インフォメーション|登録しました。"_s));
        f->messages.defaultYesNo = MsgAnswer::No;
        QTest::keyClick(ed, Qt::Key_F12);
        QCOMPARE(f->shownBoxes().last(), u"確認|変更内容を登録しましたか？終了しますよろしいですか？"_s);
        QVERIFY(ed->isVisible());
    }

    void inputAreaAndGridEditing()
    {
        EditorScreen* ed = openFromSearch(u"ベース組立"_s);
        QVERIFY(ed && showActive(ed));
        // The quantity must pass the number check: one wrong character is taken out and E102 shown.
        enterLine(ed, u"A||1a"_s);
        QCOMPARE(f->shownBoxes().last(), u"エラー|数値を入力して下さい。"_s);
        QCOMPARE(textOf(ed, "txtSuryo"), u"1"_s);
        QVERIFY(control<QWidget>(ed, "txtSuryo")->hasFocus());
        QCOMPARE(column(ed, Hinmei), QStringList(QString()));
        typeInto(ed, "txtTanka", u"1,000"_s);
        click(ed, "cmdTransfer");
        QCOMPARE(textOf(ed, "txtTanka"), u"1000"_s);
        click(ed, "cmdTransfer");
        QCOMPARE(column(ed, Hinmei) + column(ed, Kingk), QStringList({u"A"_s, u"1000"_s}));
        // Typing into the grid: number columns are checked, the item columns are not editable.
        QAbstractItemModel* m = ed->gridView()->model();
        QVERIFY(!(m->flags(m->index(0, Zno)) & Qt::ItemIsEditable));
        QVERIFY(!(m->flags(m->index(0, No)) & Qt::ItemIsEditable));
        QVERIFY(!m->setData(m->index(0, Suryo), u"x"_s));
        QCOMPARE(f->shownBoxes().last(), u"エラー|数値を入力して下さい。"_s);
        QVERIFY(m->setData(m->index(0, Suryo), u"3"_s));
        QVERIFY(m->setData(m->index(0, Biko), u"手入力"_s));
        QCOMPARE(textOf(ed, "txtSuryo") + textOf(ed, "txtBiko"), u"3手入力"_s);
    }

    void storedNumbersReadBackAsTheyWereTyped()
    {
        // Quantities, prices and amounts from 0.0001 to 2,147,483,647: shown as plain decimals,
        // taken into the input area, transferred back by 表へ=>, saved and read back equal.
        const QStringList numbers{u"0.0001"_s, u"2.5"_s, u"100000"_s, u"1000000"_s, u"2147483647"_s};
        QList<QStringList> lines;
        for (int i = 1; i <= numbers.size(); ++i)
            lines << QStringList{QString::number(i), u"品"_s};
        f->storeTable(u"D-100"_s, u"250-01"_s, u"1"_s, u"ベース組立"_s, u"A社"_s, lines);
        f->exec(u"UPDATE BUHINHYO_M SET INT_SURYO = 1, INT_TANKA = "
                "(SELECT v FROM (SELECT '1' z, 0.0001 v UNION SELECT '2', 2.5 UNION SELECT '3', 100000 "
                "UNION SELECT '4', 1000000 UNION SELECT '5', 2147483647) WHERE z = CH_ZNO)"_s);
        f->exec(u"UPDATE BUHINHYO_M SET INT_SURYO2 = INT_TANKA, INT_KINGK = INT_TANKA"_s);
        const QString stored =
            u"SELECT INT_SURYO, INT_SURYO2, INT_TANKA, INT_KINGK FROM BUHINHYO_M ORDER BY CH_ZNO"_s;
        const QList<QStringList> before = f->rows(stored);
        EditorScreen* ed = openFromSearch(u"ベース組立"_s);
        QVERIFY(ed && showActive(ed));
        for (int col : {Suryo2, Tanka, Kingk})
            QCOMPARE(column(ed, col), numbers);
        // Every value up to seven digits is read in full in its column (the cell's margins left
        // aside); a longer one in its tooltip.
        QTableView* grid = ed->gridView();
        for (int col : {Suryo2, Tanka, Kingk}) {
            for (int row = 0; row < numbers.size(); ++row) {
                const QModelIndex cell = grid->model()->index(row, col);
                QCOMPARE(cell.data(Qt::ToolTipRole).toString(), numbers[row]);
                if (row < 4)
                    QVERIFY2(grid->columnWidth(col) >=
                                 grid->fontMetrics().horizontalAdvance(numbers[row]) + 8,
                             qPrintable(numbers[row]));
            }
        }
        for (int row = 1; row <= numbers.size(); ++row) {
            moveTo(ed, row);
            QCOMPARE(textOf(ed, "txtTanka"), numbers[row - 1]);
            click(ed, "cmdTransfer");
        }
        QVERIFY(f->messages.shown.isEmpty());
        click(ed, "cmdUpdate");
        QCOMPARE(f->shownBoxes(), QStringList{u"インフォメーション|登録しました。"_s});
        QCOMPARE(f->rows(stored), before);
    }

    void previewHandsTheRequestOver()
    {
        EditorScreen* ed = openFromSearch(u"ベース組立"_s, true);
        QVERIFY(ed);
        QList<PrintRequest> requests;
        f->ctx.printRun = [&](const PrintRequest& r) { requests << r; };
        typeInto(ed, "cboUser", u"客先B"_s);
        control<QCheckBox>(ed, "chkExcel")->setChecked(true);
        control<QCheckBox>(ed, "chkSummary")->setChecked(true);
        click(ed, "cmdPreview");
        QCOMPARE(requests.size(), 1);
        const PrintRequest& r = requests[0];
        QCOMPARE(r.caller, ed);
        QCOMPARE(
            QStringList({r.runMode, r.customer, r.kind, r.dwgNo, r.name, r.date}),
            QStringList({u"HONBAN"_s, u"客先B"_s, u"2"_s, u"D-100"_s, u"ベース組立"_s, u"2026/11/21"_s}));
        QVERIFY(r.keepExcel && r.summary && !r.pagePerMaker);
        QCOMPARE(f->count(u"SELECT COUNT(*) FROM BUHINHYO"_s), 0); // nothing was saved for it
    }
};

QTEST_MAIN(TestEditorScreen)
#include "TestEditorScreen.moc"
