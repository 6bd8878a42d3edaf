#include "DrawingSearch.h"
#include "EditorModel.h"
#include "EditorScreen.h"
#include "EditorTestEnv.h"
#include "ScreenTestHelpers.h"
#include "StartNumberDialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QHeaderView>
#include <QLabel>
#include <QTableView>
#include <QTimer>
#include <QtTest>

using namespace EditorCol;

// The editor screen walked from the drawing list search, on a real database file.
class TestEditorScreen : public QObject
{
    Q_OBJECT
    std::unique_ptr<EditorTestEnv> env;
    QPointer<DrawingSearchScreen> search;

    EditorScreen* openFromSearch(const QString& dwgNo, const QString& assy, const QString& name,
                                 bool kind2 = false)
    {
        search = new DrawingSearchScreen(env->ctx);
        if (!search->load())
            return nullptr;
        typeInto(search, "txtDwgNo", dwgNo);
        typeInto(search, "txtAssy", assy);
        typeInto(search, "cboName", name);
        control<QAbstractButton>(search, kind2 ? "optKind2" : "optKind1")->click();
        search->show();
        click(search, "cmd0");
        return search->findChild<EditorScreen*>();
    }
    static QString label(QWidget* w, const char* name) { return control<QLabel>(w, name)->text(); }
    static void moveTo(EditorScreen* ed, int row)
    {
        QTableView* view = ed->gridView();
        view->setCurrentIndex(view->model()->index(row - 1, Hinmei));
    }
    static void enterLine(EditorScreen* ed, const InputValues& v)
    {
        typeInto(ed, "cboHinmei", v.hinmei);
        typeInto(ed, "cboZaishitu", v.zaishitu);
        typeInto(ed, "txtSuryo", v.suryo);
        typeInto(ed, "cboTani", v.tani);
        typeInto(ed, "txtSuryo2", v.suryo2);
        typeInto(ed, "cboTani2", v.tani2);
        typeInto(ed, "txtTanka", v.tanka);
        typeInto(ed, "txtBiko", v.biko);
        typeInto(ed, "cboMaker", v.maker);
        click(ed, "cmdTransfer");
    }
    static QStringList column(EditorScreen* ed, int col)
    {
        QStringList out;
        const PartsGrid& g = ed->editor().grid();
        for (int r = 1; r < g.rows(); ++r)
            out << g.cell(r, col);
        return out;
    }
    static QStringList lineNumbers(EditorScreen* ed)
    {
        QStringList out;
        QAbstractItemModel* m = ed->gridView()->model();
        for (int r = 0; r < m->rowCount(); ++r)
            out << m->headerData(r, Qt::Vertical, Qt::DisplayRole).toString();
        return out;
    }
    int count(const QString& text) const
    {
        int n = 0;
        for (const auto& s : env->messages.shown)
            n += s.text.startsWith(text) ? 1 : 0;
        return n;
    }
    QList<QStringList> storedLines()
    {
        return env->rows(QStringLiteral(
            "SELECT CH_ZNO, CH_HINMEI, CH_ZAISHITU, INT_SURYO, CH_TANI, INT_SURYO2, CH_TANI2, CH_BIKO, "
            "INT_TANKA, "
            "INT_KINGK, CH_MAKER, CH_HAISHI, CH_KAKKO, CH_UPDDATE, CH_ASSY, CH_DWGNO, CH_USER, CH_BUHIN "
            "FROM BUHINHYO_M ORDER BY INT_NUMBER"));
    }

private Q_SLOTS:
    void init() { env = std::make_unique<EditorTestEnv>(); }
    void cleanup()
    {
        deleteScreen<EditorScreen>(search);
        env.reset();
    }

    void wholePathFromSearchToSavedTable()
    {
        EditorScreen* ed = openFromSearch(u"D-100"_qs, u"250-01"_qs, u"ベース組立"_qs);
        QVERIFY(ed);
        QVERIFY(ed->isVisible());
        QCOMPARE(ed->windowTitle(), u"部品表作成"_qs);
        QCOMPARE(label(ed, "lblTitle"), u"製作部品表(MFG.PARTS.TABLE)"_qs);
        QCOMPARE(label(ed, "lblDwgNo"), u"D-100"_qs);
        QCOMPARE(label(ed, "lblAssy"), u"250-01"_qs);
        QCOMPARE(label(ed, "lblName"), u"ベース組立"_qs);
        QCOMPARE(label(ed, "lblDate"), u"2024/03/05"_qs);
        QCOMPARE(label(ed, "lblDesined"), u"山田"_qs);
        QCOMPARE(label(ed, "lblRow"), u"Row=1/1行目"_qs);
        QCOMPARE(env->ctx.CurrentKind, u"1"_qs);
        QCOMPARE(ed->gridView()->model()->rowCount(), 1);
        QVERIFY(env->messages.shown.isEmpty());

        // Three lines through the input area.
        enterLine(ed, {u"ベースプレート"_qs, u"SS400"_qs, u"2"_qs, u"個"_qs, QString(), QString(), u"8600"_qs,
                       u"黒染め"_qs, u"ミスミ"_qs});
        QCOMPARE(column(ed, Kingk), QStringList{u"17200"_qs});
        click(ed, "cmdInsertDown");
        moveTo(ed, 2);
        QCOMPARE(control<QComboBox>(ed, "cboHinmei")->currentText(), QString());
        enterLine(ed, {u"シャフト"_qs, u"S45C"_qs, u"1"_qs, u"本"_qs, u"3"_qs, u"m"_qs, QString(), QString(),
                       QString()});
        click(ed, "cmdInsertDown");
        moveTo(ed, 3);
        enterLine(ed, {u"カラー"_qs, u"S45C"_qs, u"4"_qs, u"個"_qs, QString(), QString(), u"350"_qs,
                       QString(), u"オリエンタル"_qs});
        QCOMPARE(column(ed, Zno), (QStringList{u"251"_qs, u"252"_qs, u"253"_qs}));
        QCOMPARE(label(ed, "lblRow"), u"Row=3/3行目"_qs);

        // One above line 1.
        moveTo(ed, 1);
        QCOMPARE(control<QComboBox>(ed, "cboHinmei")->currentText(), u"ベースプレート"_qs);
        click(ed, "cmdInsertUp");
        QCOMPARE(control<QComboBox>(ed, "cboHinmei")->currentText(), QString());
        enterLine(ed, {u"スペーサー"_qs, u"SUS304"_qs, u"1"_qs, u"個"_qs, QString(), QString(), QString(),
                       QString(), QString()});
        QCOMPARE(column(ed, Hinmei),
                 (QStringList{u"スペーサー"_qs, u"ベースプレート"_qs, u"シャフト"_qs, u"カラー"_qs}));

        // Line 2 copied to the bottom.
        moveTo(ed, 2);
        click(ed, "cmdCopyLine");
        QCOMPARE(ed->editor().grid().currentRow(), 5);
        QCOMPARE(ed->gridView()->currentIndex().row(), 4);
        QCOMPARE(column(ed, Hinmei).last(), u"ベースプレート"_qs);

        // Line 3 abolished, line 4 bracketed.
        moveTo(ed, 3);
        click(ed, "chkHaishi");
        QVERIFY(control<QCheckBox>(ed, "chkHaishi")->isChecked());
        QCOMPARE(ed->gridView()->model()->headerData(2, Qt::Vertical, Qt::BackgroundRole).value<QColor>(),
                 QColor(0, 255, 255));
        moveTo(ed, 4);
        QVERIFY(!control<QCheckBox>(ed, "chkHaishi")->isChecked());
        click(ed, "chkKakko");
        QVERIFY(control<QCheckBox>(ed, "chkKakko")->isChecked());
        QCOMPARE(lineNumbers(ed), (QStringList{u"1"_qs, u"2"_qs, u"廃止"_qs, u"4"_qs, u"5"_qs}));
        QCOMPARE(column(ed, Zno), (QStringList{u"251"_qs, u"252"_qs, u"253"_qs, u"(254)"_qs, u"255"_qs}));

        // Start number 0.
        QTimer::singleShot(0, ed, [ed] {
            auto* dialog = ed->findChild<StartNumberDialog*>();
            QVERIFY(dialog);
            QCOMPARE(dialog->windowTitle(), u"開始図番No.指定"_qs);
            QCOMPARE(control<QLineEdit>(dialog, "txtZno")->text(), u"1"_qs);
            QCOMPARE(control<QLineEdit>(dialog, "txtZno")->selectedText(), u"1"_qs);
            typeInto(dialog, "txtZno", u"0"_qs);
            click(dialog, "cmdOK");
        });
        click(ed, "cmdStartNo");
        QCOMPARE(column(ed, Zno), (QStringList{u"250"_qs, u"251"_qs, u"252"_qs, u"(253)"_qs, u"254"_qs}));

        // Saved with a customer.
        control<QComboBox>(ed, "cboUser")->setCurrentIndex(0);
        // Four questions (two inserts below, one above, the copy) and nothing else.
        QCOMPARE(env->shownBoxes(),
                 (QStringList{u"行の挿入確認|1行目の下側に挿入します。"_qs,
                              u"行の挿入確認|2行目の下側に挿入します。"_qs,
                              u"行の挿入確認|1行目の上側に挿入します。"_qs,
                              u"行のコピー確認|2行目のデータを最下行にコピーします。"_qs}));
        for (const auto& s : env->messages.shown)
            QCOMPARE(s.icon, MsgIcon::Question);
        env->messages.clear();
        click(ed, "cmdUpdate");
        QCOMPARE(env->shownBoxes(), QStringList{u"インフォメーション|登録しました。"_qs});

        QCOMPARE(
            env->rows(
                u"SELECT CH_DWGNO, CH_ASSY, CH_BUHIN, CH_USER, CH_NAME, CH_HDATE, CH_DESINED FROM BUHINHYO"_qs),
            (QList<QStringList>{{u"D-100"_qs, u"250-01"_qs, u"1"_qs, u"客先Ａ"_qs, u"ベース組立"_qs,
                                 u"2024/03/05"_qs, u"山田"_qs}}));
        const QStringList owner{u"20240305"_qs, u"250-01"_qs, u"D-100"_qs, u"客先Ａ"_qs, u"1"_qs};
        const QList<QStringList> expected{
            QStringList{u"250"_qs, u"スペーサー"_qs, u"SUS304"_qs, u"1"_qs, u"個"_qs, QString(), QString(),
                        QString(), QString(), QString(), QString(), u"0"_qs, u"0"_qs} +
                owner,
            QStringList{u"251"_qs, u"ベースプレート"_qs, u"SS400"_qs, u"2"_qs, u"個"_qs, QString(), QString(),
                        u"黒染め"_qs, u"8600"_qs, u"17200"_qs, u"ミスミ"_qs, u"0"_qs, u"0"_qs} +
                owner,
            QStringList{u"252"_qs, u"シャフト"_qs, u"S45C"_qs, u"1"_qs, u"本"_qs, u"3"_qs, u"m"_qs, QString(),
                        QString(), QString(), QString(), u"1"_qs, u"0"_qs} +
                owner,
            QStringList{u"(253)"_qs, u"カラー"_qs, u"S45C"_qs, u"4"_qs, u"個"_qs, QString(), QString(),
                        QString(), u"350"_qs, u"1400"_qs, u"オリエンタル"_qs, u"0"_qs, u"1"_qs} +
                owner,
            QStringList{u"254"_qs, u"ベースプレート"_qs, u"SS400"_qs, u"2"_qs, u"個"_qs, QString(), QString(),
                        u"黒染め"_qs, u"8600"_qs, u"17200"_qs, u"ミスミ"_qs, u"0"_qs, u"0"_qs} +
                owner,
        };
        const QList<QStringList> stored = storedLines();
        QCOMPARE(stored.size(), expected.size());
        for (int i = 0; i < stored.size(); ++i)
            QCOMPARE(stored[i], expected[i]);

        // The reload reads the lines in item-number order (a bracketed number sorts first) and
        // shows the numbers the database gave them; the start number stays 0.
        QCOMPARE(column(ed, Hinmei), (QStringList{u"カラー"_qs, u"スペーサー"_qs, u"ベースプレート"_qs,
                                                  u"シャフト"_qs, u"ベースプレート"_qs}));
        QCOMPARE(lineNumbers(ed), (QStringList{u"1"_qs, u"2"_qs, u"3"_qs, u"廃止"_qs, u"5"_qs}));
        QCOMPARE(column(ed, Zno), (QStringList{u"(250)"_qs, u"251"_qs, u"252"_qs, u"253"_qs, u"254"_qs}));
        const QList<QStringList> numbers = env->rows(u"SELECT INT_NUMBER FROM BUHINHYO_M ORDER BY CH_ZNO"_qs);
        for (int i = 0; i < numbers.size(); ++i)
            QCOMPARE(column(ed, Number)[i], numbers[i][0]);
        // The yes/no values show as the database layer reads them.
        const QString t = u"True"_qs;
        const QString f = u"False"_qs;
        QCOMPARE(column(ed, Haishi), (QStringList{f, f, f, t, f}));
        QCOMPARE(column(ed, Kakko), (QStringList{t, f, f, f, f}));
        QCOMPARE(column(ed, Suryo2), (QStringList{QString(), QString(), QString(), u"3"_qs, QString()}));
        QCOMPARE(control<QComboBox>(ed, "cboUser")->currentText(), u"客先Ａ"_qs);
        QCOMPARE(label(ed, "lblRow"), u"Row=1/5行目"_qs);
        // Saved again, the lines are updated in place, not added twice.
        click(ed, "cmdUpdate");
        QCOMPARE(env->rows(u"SELECT COUNT(*) FROM BUHINHYO_M"_qs), (QList<QStringList>{{u"5"_qs}}));

        // A stored line copied is a new line; its source keeps its number.
        moveTo(ed, 3);
        click(ed, "cmdCopyLine");
        QCOMPARE(column(ed, Number).last(), QString());
        QCOMPARE(column(ed, Number)[2], numbers[2][0]);
        QCOMPARE(column(ed, Hinmei).last(), u"ベースプレート"_qs);
        // Deleted again at once: a line never stored issues no statement.
        click(ed, "cmdDeleteLine");
        QCOMPARE(column(ed, Hinmei).size(), 5);
        QCOMPARE(env->count(u"SELECT COUNT(*) FROM BUHINHYO_M"_qs), 5);
        // A stored line deleted goes from the database at once.
        moveTo(ed, 2);
        const QString gone = column(ed, Number)[1];
        env->messages.clear();
        click(ed, "cmdDeleteLine");
        QCOMPARE(env->shownBoxes(), QStringList{u"行の削除確認|2行目を削除します。"_qs});
        QCOMPARE(env->rows(u"SELECT COUNT(*) FROM BUHINHYO_M WHERE INT_NUMBER = "_qs + gone),
                 (QList<QStringList>{{u"0"_qs}}));
        QCOMPARE(env->rows(u"SELECT COUNT(*) FROM BUHINHYO_M"_qs), (QList<QStringList>{{u"4"_qs}}));
        QCOMPARE(column(ed, Hinmei),
                 (QStringList{u"カラー"_qs, u"ベースプレート"_qs, u"シャフト"_qs, u"ベースプレート"_qs}));
        QCOMPARE(lineNumbers(ed), (QStringList{u"1"_qs, u"2"_qs, u"廃止"_qs, u"4"_qs}));

        // Closing asks every time; Yes closes without saving.
        env->messages.clear();
        QPointer<EditorScreen> guard(ed);
        click(ed, "cmdEnd");
        QCOMPARE(env->shownBoxes(),
                 QStringList{u"確認|変更内容を登録しましたか？終了しますよろしいですか？"_qs});
        QVERIFY(!ed->isVisible());
        QTRY_VERIFY(guard.isNull());
    }

    void answeringNoChangesNothing()
    {
        env->storeTable(u"D-100"_qs, u"250-01"_qs, u"1"_qs, u"ベース組立"_qs, u"客先Ａ"_qs,
                        {{u"251"_qs, u"A"_qs}, {u"252"_qs, u"B"_qs}});
        EditorScreen* ed = openFromSearch(u"D-100"_qs, u"250-01"_qs, u"ベース組立"_qs);
        QVERIFY(ed);
        const QList<QStringList> before = storedLines();
        const QStringList names = column(ed, Hinmei);
        const QStringList zno = column(ed, Zno);
        env->messages.defaultYesNo = MsgAnswer::No;
        moveTo(ed, 2);
        for (const char* button : {"cmdInsertUp", "cmdInsertDown", "cmdCopyLine", "cmdDeleteLine", "cmdEnd"})
            click(ed, button);
        QCOMPARE(env->messages.shown.size(), 5);
        for (const auto& s : env->messages.shown)
            QCOMPARE(s.buttons, MsgButtons::YesNo);
        QCOMPARE(column(ed, Hinmei), names);
        QCOMPARE(column(ed, Zno), zno);
        QVERIFY(ed->isVisible());
        QCOMPARE(storedLines(), before);
        // The search screen's delete answered No keeps the table too.
        click(search, "cmd3");
        QCOMPARE(env->messages.shown.last().text, u"削除してよろしいですか？"_qs);
        QCOMPARE(storedLines(), before);
        // The start number dialog cancelled keeps the numbers.
        QTimer::singleShot(0, ed, [ed] {
            auto* dialog = ed->findChild<StartNumberDialog*>();
            QVERIFY(dialog);
            typeInto(dialog, "txtZno", u"50"_qs);
            click(dialog, "cmdCancel");
        });
        click(ed, "cmdStartNo");
        QCOMPARE(column(ed, Zno), zno);
        QCOMPARE(ed->editor().startNumber(), 1);
        // Closing the window asks too.
        QVERIFY(!ed->close());
        QVERIFY(ed->isVisible());
    }

    void storedNameQuestionOncePerLoad()
    {
        env->storeTable(u"D-100"_qs, u"250-01"_qs, u"1"_qs, u"旧名称"_qs, u"客先Ｂ"_qs,
                        {{u"251"_qs, u"A"_qs}});
        env->messages.setNextAnswer(MsgAnswer::No);
        EditorScreen* ed = openFromSearch(u"D-100"_qs, u"250-01"_qs, u"新名称"_qs);
        QVERIFY(ed);
        QCOMPARE(env->shownBoxes(), QStringList{u"確認|NAMEが変更されています。変更しますか？"
                                                u"元のNAME　：旧名称\n新しいNAME：新名称"_qs});
        QCOMPARE(env->messages.shown[0].icon, MsgIcon::Question);
        QCOMPARE(label(ed, "lblName"), u"旧名称"_qs);
        QCOMPARE(label(ed, "lblDate"), u"2023/12/24"_qs);
        QCOMPARE(control<QComboBox>(ed, "cboUser")->currentText(), u"客先Ｂ"_qs);
        click(ed, "cmdUpdate");
        QCOMPARE(count(u"NAMEが変更されています。"_qs), 1);
        QCOMPARE(count(u"登録しました。"_qs), 1);

        // Answered Yes, the new name is kept and stored by the save.
        EditorScreen* second = nullptr;
        click(search, "cmd0");
        for (auto* e : search->findChildren<EditorScreen*>())
            if (e != ed)
                second = e;
        QVERIFY(second);
        QCOMPARE(count(u"NAMEが変更されています。"_qs), 2);
        QCOMPARE(label(second, "lblName"), u"新名称"_qs);
        click(second, "cmdUpdate");
        QCOMPARE(env->rows(u"SELECT CH_NAME FROM BUHINHYO"_qs), (QList<QStringList>{{u"新名称"_qs}}));
        QCOMPARE(count(u"NAMEが変更されています。"_qs), 2);
    }

    void saveRefusals()
    {
        EditorScreen* ed = openFromSearch(u"D-100"_qs, u"250-01"_qs, u"ベース組立"_qs);
        QVERIFY(ed);
        QVERIFY(showActive(ed));
        click(ed, "cmdUpdate");
        QCOMPARE(env->shownBoxes().last(), u"注意|客先の選択がされていません。更新出来ません。"_qs);
        QVERIFY(control<QWidget>(ed, "cboUser")->hasFocus());
        typeInto(ed, "cboUser", u"  "_qs);
        click(ed, "cmdUpdate");
        QCOMPARE(env->shownBoxes().last(), u"注意|データが入力されていません。入力して下さい。"_qs);
        QVERIFY(control<QWidget>(ed, "cboHinmei")->hasFocus());
        enterLine(ed, {u"A"_qs, QString(), QString(), QString(), QString(), QString(), QString(), QString(),
                       QString()});
        click(ed, "cmdUpdate");
        QCOMPARE(env->shownBoxes().last(), u"エラー|必須項目が入力されていません。"_qs);
        QVERIFY(control<QWidget>(ed, "cboUser")->hasFocus());
        QCOMPARE(env->rows(u"SELECT COUNT(*) FROM BUHINHYO"_qs), (QList<QStringList>{{u"0"_qs}}));
        // F5 saves, F12 asks to close.
        typeInto(ed, "cboUser", u"客先Ｂ"_qs);
        env->messages.clear();
        QTest::keyClick(ed, Qt::Key_F5);
        QCOMPARE(env->shownBoxes(), QStringList{u"インフォメーション|登録しました。"_qs});
        control<QWidget>(ed, "cmdUpdate")->setEnabled(false);
        QTest::keyClick(ed, Qt::Key_F5);
        QCOMPARE(env->messages.shown.size(), 1);
        env->messages.defaultYesNo = MsgAnswer::No;
        QTest::keyClick(ed, Qt::Key_F12);
        QCOMPARE(env->shownBoxes().last(), u"確認|変更内容を登録しましたか？終了しますよろしいですか？"_qs);
        QVERIFY(ed->isVisible());
    }

    void inputAreaAndGridEditing()
    {
        EditorScreen* ed = openFromSearch(u"D-100"_qs, u"250-01"_qs, u"ベース組立"_qs);
        QVERIFY(ed);
        QVERIFY(showActive(ed));
        // The quantity must pass the number check: one wrong character is taken out and E102 shown.
        enterLine(ed, {u"A"_qs, QString(), u"1a"_qs, QString(), QString(), QString(), QString(), QString(),
                       QString()});
        QCOMPARE(env->shownBoxes().last(), u"エラー|数値を入力して下さい。"_qs);
        QCOMPARE(control<QLineEdit>(ed, "txtSuryo")->text(), u"1"_qs);
        QVERIFY(control<QWidget>(ed, "txtSuryo")->hasFocus());
        QCOMPARE(column(ed, Hinmei), QStringList{QString()});
        typeInto(ed, "txtTanka", u"1,000"_qs);
        click(ed, "cmdTransfer");
        QCOMPARE(control<QLineEdit>(ed, "txtTanka")->text(), u"1000"_qs);
        QVERIFY(control<QWidget>(ed, "txtTanka")->hasFocus());
        click(ed, "cmdTransfer");
        QCOMPARE(column(ed, Hinmei), QStringList{u"A"_qs});
        QCOMPARE(column(ed, Kingk), QStringList{u"1000"_qs});

        // One character off the field that had the focus; then everything cleared.
        control<QWidget>(ed, "txtBiko")->setFocus();
        typeInto(ed, "txtBiko", u"黒染め"_qs);
        click(ed, "cmdClearChar");
        QCOMPARE(control<QLineEdit>(ed, "txtBiko")->text(), u"黒染"_qs);
        control<QWidget>(ed, "cboMaker")->setFocus();
        typeInto(ed, "cboMaker", u"ミスミ"_qs);
        click(ed, "cmdClearChar");
        QCOMPARE(control<QComboBox>(ed, "cboMaker")->currentText(), u"ミス"_qs);
        click(ed, "cmdClear");
        for (const char* f : {"cboHinmei", "cboZaishitu", "cboTani", "cboTani2", "cboMaker"})
            QCOMPARE(control<QComboBox>(ed, f)->currentText(), QString());
        for (const char* f : {"txtSuryo", "txtSuryo2", "txtTanka", "txtBiko"})
            QCOMPARE(control<QLineEdit>(ed, f)->text(), QString());
        QCOMPARE(column(ed, Hinmei), QStringList{u"A"_qs});

        // Typing into the grid: number columns are checked, columns 0 and 1 are not editable.
        QAbstractItemModel* m = ed->gridView()->model();
        QVERIFY(!(m->flags(m->index(0, Zno)) & Qt::ItemIsEditable));
        QVERIFY(!(m->flags(m->index(0, No)) & Qt::ItemIsEditable));
        QVERIFY(m->flags(m->index(0, Maker)) & Qt::ItemIsEditable);
        QVERIFY(!m->setData(m->index(0, Suryo), u"x"_qs));
        QCOMPARE(env->shownBoxes().last(), u"エラー|数値を入力して下さい。"_qs);
        QVERIFY(m->setData(m->index(0, Suryo), u"3"_qs));
        QCOMPARE(control<QLineEdit>(ed, "txtSuryo")->text(), u"3"_qs);
        QVERIFY(m->setData(m->index(0, Biko), u"手入力"_qs));
        QCOMPARE(control<QLineEdit>(ed, "txtBiko")->text(), u"手入力"_qs);
    }

    void storedNumbersReadBackAsTheyWereTyped()
    {
        // Quantities, prices and amounts from 0.0001 to 2,147,483,647: shown as plain decimals,
        // taken into the input area, transferred back by 表へ=>, saved and read back equal.
        const QStringList numbers{u"0.0001"_qs, u"2.5"_qs, u"100000"_qs, u"1000000"_qs, u"2147483647"_qs};
        QList<QStringList> lines;
        for (int i = 1; i <= numbers.size(); ++i)
            lines << QStringList{QString::number(i), u"品"_qs};
        env->storeTable(u"D-100"_qs, u"250-01"_qs, u"1"_qs, u"ベース組立"_qs, u"A社"_qs, lines);
        env->exec(u"UPDATE BUHINHYO_M SET INT_SURYO = 1, INT_TANKA = "
                  "(SELECT v FROM (SELECT '1' z, 0.0001 v UNION SELECT '2', 2.5 UNION SELECT '3', 100000 "
                  "UNION SELECT '4', 1000000 UNION SELECT '5', 2147483647) WHERE z = CH_ZNO)"_qs);
        env->exec(u"UPDATE BUHINHYO_M SET INT_SURYO2 = INT_TANKA, INT_KINGK = INT_TANKA"_qs);
        const QString stored =
            u"SELECT INT_SURYO, INT_SURYO2, INT_TANKA, INT_KINGK FROM BUHINHYO_M ORDER BY CH_ZNO"_qs;
        const QList<QStringList> before = env->rows(stored);
        EditorScreen* ed = openFromSearch(u"D-100"_qs, u"250-01"_qs, u"ベース組立"_qs);
        QVERIFY(ed && showActive(ed));
        for (int col : {Suryo2, Tanka, Kingk})
            QCOMPARE(column(ed, col), numbers);
        for (int row = 1; row <= numbers.size(); ++row) {
            moveTo(ed, row);
            QCOMPARE(textOf(ed, "txtTanka"), numbers[row - 1]);
            click(ed, "cmdTransfer");
        }
        QVERIFY(env->messages.shown.isEmpty());
        click(ed, "cmdUpdate");
        QCOMPARE(env->shownBoxes(), QStringList{u"インフォメーション|登録しました。"_qs});
        QCOMPARE(env->rows(stored), before);
    }

    void previewHandsTheRequestOver()
    {
        EditorScreen* ed = openFromSearch(u"D-100"_qs, u"250-01"_qs, u"ベース組立"_qs, true);
        QVERIFY(ed);
        QList<PrintRequest> requests;
        env->ctx.printRun = [&](const PrintRequest& r) { requests << r; };
        typeInto(ed, "cboUser", u"客先Ｂ"_qs);
        control<QCheckBox>(ed, "chkExcel")->setChecked(true);
        control<QCheckBox>(ed, "chkSummary")->setChecked(true);
        click(ed, "cmdPreview");
        QCOMPARE(requests.size(), 1);
        const PrintRequest& r = requests[0];
        QCOMPARE(r.caller, ed);
        QCOMPARE(r.runMode, u"HONBAN"_qs);
        QCOMPARE(r.customer, u"客先Ｂ"_qs);
        QCOMPARE(r.kind, u"2"_qs);
        QCOMPARE(r.dwgNo, u"D-100"_qs);
        QCOMPARE(r.name, u"ベース組立"_qs);
        QCOMPARE(r.date, u"2024/03/05"_qs);
        QVERIFY(r.keepExcel);
        QVERIFY(r.summary);
        QVERIFY(!r.pagePerMaker);
        // Nothing was saved for it.
        QCOMPARE(env->rows(u"SELECT COUNT(*) FROM BUHINHYO"_qs), (QList<QStringList>{{u"0"_qs}}));
    }

    void startNumberDialogChecks()
    {
        StartNumberDialog dialog(env->ctx, 7);
        auto* field = control<QLineEdit>(&dialog, "txtZno");
        QCOMPARE(field->text(), u"7"_qs);
        QCOMPARE(field->selectedText(), u"7"_qs);
        typeInto(&dialog, "txtZno", QString());
        click(&dialog, "cmdOK");
        QCOMPARE(env->shownBoxes().last(), u"エラー|数値を入力して下さい。"_qs);
        QVERIFY(!dialog.chosen());
        typeInto(&dialog, "txtZno", u"1x"_qs);
        click(&dialog, "cmdOK");
        QCOMPARE(env->messages.shown.size(), 2);
        QCOMPARE(field->text(), u"1"_qs);
        for (const QString& bad : {u"100"_qs, u"-1"_qs}) {
            typeInto(&dialog, "txtZno", bad);
            click(&dialog, "cmdOK");
            QCOMPARE(env->shownBoxes().last(), u"エラー|0～99の数値で指定してください"_qs);
            QCOMPARE(env->messages.shown.last().icon, MsgIcon::Stop);
            QCOMPARE(field->selectedText(), bad);
            QVERIFY(!dialog.chosen());
        }
        typeInto(&dialog, "txtZno", u"99"_qs);
        click(&dialog, "cmdOK");
        QVERIFY(dialog.chosen());
        QCOMPARE(dialog.value(), 99);
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
    }

    void gridLayout()
    {
        env->connect();
        EditorScreen ed(env->ctx, env->ctx.DbConnection);
        QVERIFY(ed.openTable({u"D-1"_qs, u"1-1"_qs, u"N"_qs, u"1"_qs, u"2024/03/05"_qs, u"山田"_qs}));
        ed.resize(2400, 900);
        ed.show();
        QTableView* view = ed.gridView();
        for (int c = 0; c < Count; ++c)
            QCOMPARE(view->isColumnHidden(c), c == No || c >= Number);
        QCOMPARE(control<QAbstractButton>(view, "grdBuhinCorner")->text(), u"№"_qs);
        QCOMPARE(view->model()->headerData(Hinmei, Qt::Horizontal).toString(), u"品　　名"_qs);
        QCOMPARE(view->model()->headerData(Maker, Qt::Horizontal).toString(), u"メーカー"_qs);
        QCOMPARE(view->verticalHeader()->sectionSize(0), ed.lineHeight());
        QCOMPARE(view->currentIndex(), view->model()->index(0, Zno));
        // Every caption the users know is there.
        QStringList captions;
        for (auto* b : ed.findChildren<QAbstractButton*>())
            captions << b->text();
        for (const QString& c :
             u"行追加(上へ)|行追加(下へ)|行削除|行コピー|全コピー|更新(F5)|印刷ﾌﾟﾚﾋﾞｭｰ|終了(F12)|"
             u"開始図番設定|選択行を廃止|図番No.に括弧|印刷時にﾒｰｶｰ別に改頁|"
             u"印刷ﾌﾟﾚﾋﾞｭｰ後にｴｸｾﾙ表示|品名､材質､備考、単位、ﾒｰｶｰでｻﾏﾘｰ|１文字ｸﾘｱ|"
             u"クリア|ｶｯｺ|品名履歴検索|材質履歴検索|表へ=>"_qs.split(u'|'))
            QVERIFY2(captions.contains(c), qPrintable(c));
        QStringList labels;
        for (auto* l : ed.findChildren<QLabel*>())
            labels << l->text();
        for (const QString& c :
             u"DWG.NO.|NAME|ASSY|DATE|DESINED|客先|品　名|材　質|数　量|単　価|備　考|ﾒｰｶｰ"_qs.split(u'|'))
            QVERIFY2(labels.contains(c), qPrintable(c));
        QVERIFY(ed.font().family().contains(u"ゴシック"_qs) ||
                ed.font().families().contains(u"IPAGothic"_qs));
    }
};

QTEST_MAIN(TestEditorScreen)
#include "TestEditorScreen.moc"
