#include "Database.h"
#include "IniAccess.h"
#include "OutputSettingsEntry.h"
#include "OutputSettingsScreen.h"
#include "PrintTestSupport.h"
#include "SettingsRecord.h"
#include "SettingsSave.h"
#include "TestSupport.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTimer>
#include <QtTest>

using namespace Qt::StringLiterals;

class TestOutputSettings : public QObject
{
    Q_OBJECT

    std::unique_ptr<PrintFixture> f;
    OutputSettingsScreen* screen = nullptr;

    template <class T> T* w(const QString& name)
    {
        T* found = screen->findChild<T*>(name);
        if (!found)
            qFatal("no control %s", qPrintable(name));
        return found;
    }
    QComboBox* combo(const QString& name) { return w<QComboBox>(name); }
    void click(const QString& name) { QTest::mouseClick(w<QPushButton>(name), Qt::LeftButton); }

    void openScreen()
    {
        screen = new OutputSettingsScreen(f->ctx, nullptr);
        screen->show();
        QVERIFY(QTest::qWaitForWindowExposed(screen));
        screen->activateWindow();
        // Focus tests need an active window; a display without a window manager may not give one.
        const bool active = QTest::qWaitForWindowActive(screen);
        if (qEnvironmentVariable("QT_QPA_PLATFORM") == u"offscreen"_s)
            QVERIFY(active);
    }

    // Runs while the next modal dialog is up.
    static void whenDialog(const QString& objectName, std::function<void(QWidget*)> act)
    {
        QTimer::singleShot(0, [objectName, act] {
            for (QWidget* top : QApplication::topLevelWidgets())
                if (top->objectName() == objectName && top->isVisible()) {
                    // Function keys are window shortcuts: make the dialog the active window first.
                    QApplication::setActiveWindow(top);
                    act(top);
                    return;
                }
            QFAIL("the dialog did not open");
        });
        // A dialog the test failed to close must not hang the run.
        QTimer::singleShot(5000, [objectName] {
            for (QWidget* top : QApplication::topLevelWidgets())
                if (top->objectName() == objectName && top->isVisible())
                    top->close();
        });
    }

    // Puts a record on the screen the way a user would (ticking every item that is on).
    void fillScreen(const SettingsRecord& r)
    {
        combo(u"cboUser"_s)->setEditText(r.user);
        w<QLineEdit>(u"txtOrgPath"_s)->setText(r.orgPath);
        w<QLineEdit>(u"txtOrgSheet"_s)->setText(r.orgSheet);
        w<QLineEdit>(u"txtCpyPath"_s)->setText(r.cpyPath);
        w<QLineEdit>(u"txtCpySheet"_s)->setText(r.cpySheet);
        combo(u"cboPageMax"_s)->setEditText(r.pageMax);
        w<QLineEdit>(u"txtMidashi"_s)->setText(r.midashi);
        combo(u"cboMidashi_C"_s)->setEditText(r.midashiCol);
        combo(u"cboMidashi_R"_s)->setEditText(r.midashiRow);
        for (int i = 0; i < kHeaderItemCount; ++i) {
            const QString item = kHeaderItems[size_t(i)].toString();
            if (r.header[size_t(i)].on)
                w<QCheckBox>(u"chkH_"_s + item)->click();
            combo(u"cboH_"_s + item + u"_C"_s)->setEditText(r.header[size_t(i)].col);
            combo(u"cboH_"_s + item + u"_R"_s)->setEditText(r.header[size_t(i)].row);
        }
        for (int i = 0; i < kDetailItemCount; ++i) {
            const QString item = kDetailItems[size_t(i)].toString();
            if (r.detail[size_t(i)].on)
                w<QCheckBox>(u"chkM_"_s + item)->click();
            combo(u"cboM_"_s + item + u"_C"_s)->setEditText(r.detail[size_t(i)].startCol);
            w<QLineEdit>(u"txtM_"_s + item)->setText(r.detail[size_t(i)].heading);
        }
        combo(u"cboMeisai_SR"_s)->setEditText(r.detail[MZuban].startRow);
        combo(u"cboMeisai_ER"_s)->setEditText(r.detail[MZuban].endRow);
    }
    void fillScreen(const QString& user, const QString& templatePath)
    {
        fillScreen(SampleSettings(user, templatePath));
    }

    std::optional<SettingsRecord> stored(const QString& user, const QString& kind)
    {
        return ReadSettings(*f->ctx.DbConnection, user, kind);
    }

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<PrintFixture>();
        openScreen();
    }
    void cleanup()
    {
        delete screen;
        screen = nullptr;
        f.reset();
    }

    void opensWithListsAndKind()
    {
        QCOMPARE(screen->windowTitle(), u"印刷用エクセル設定"_s);
        QCOMPARE(f->ctx.CurrentKind, u"1"_s);
        QVERIFY(w<QRadioButton>(u"optSeisaku"_s)->isChecked());
        QCOMPARE(combo(u"cboUser"_s)->count(), 2);
        QCOMPARE(combo(u"cboUser"_s)->itemText(1), u"客先B"_s);
        QCOMPARE(combo(u"cboH_DWGNO_C"_s)->count(), 26);
        QCOMPARE(combo(u"cboM_MAKER_C"_s)->itemText(25), u"Z"_s);
        QCOMPARE(combo(u"cboPageMax"_s)->count(), 99);
        QCOMPARE(combo(u"cboMeisai_ER"_s)->itemText(98), u"100"_s);
        QVERIFY(f->ctx.DbConnection);
        // Unticked items are greyed; the heading cell never is.
        QVERIFY(!combo(u"cboH_NAME_C"_s)->isEnabled());
        QVERIFY(!w<QLineEdit>(u"txtM_BIKO"_s)->isEnabled());
        QVERIFY(!combo(u"cboMeisai_SR"_s)->isEnabled());
        QVERIFY(combo(u"cboMidashi_C"_s)->isEnabled());
        w<QCheckBox>(u"chkM_BIKO"_s)->click();
        QVERIFY(w<QLineEdit>(u"txtM_BIKO"_s)->isEnabled());
        QVERIFY(combo(u"cboMeisai_SR"_s)->isEnabled());
        QVERIFY(f->messages.shown.isEmpty());
    }

    void saveNewCustomerAndReadBack()
    {
        const QString tpl = PrintFixture::workbook(u"three_sheets.xlsx"_s);
        fillScreen(u"客先A "_s, tpl);
        QVERIFY(f->messages.shown.isEmpty());
        QTest::keyClick(screen, Qt::Key_F5);
        QCOMPARE(f->codes(), QStringList{u"I100"_s});

        // Every column as the screen showed it, untrimmed; the end column is the start column and
        // every item carries the one pair of detail rows.
        QCOMPARE(stored(u"客先A "_s, u"1"_s), std::optional(SampleSettings(u"客先A "_s, tpl)));
        // The other kind and the trimmed name are different keys.
        QVERIFY(!stored(u"客先A "_s, u"2"_s));
        QVERIFY(!stored(u"客先A"_s, u"1"_s));

        // The screen is as it was; the next search finds the row.
        QCOMPARE(w<QPushButton>(u"cmdSave"_s)->text(), u"登録(F5)"_s);
        QTest::keyClick(screen, Qt::Key_F1);
        QCOMPARE(w<QPushButton>(u"cmdSave"_s)->text(), u"更新"_s);
    }

    void overwriteAnsweredNoLeavesRow()
    {
        fillScreen(u"客先B"_s, PrintFixture::workbook(u"one_sheet.xlsx"_s));
        click(u"cmdSave"_s);
        const auto before = stored(u"客先B"_s, u"1"_s);
        QVERIFY(before);
        // Page rows typed with a decimal pass the digit check and store as the database rounds them.
        combo(u"cboPageMax"_s)->lineEdit()->selectAll();
        QTest::keyClicks(combo(u"cboPageMax"_s)->lineEdit(), u"1.5"_s);
        w<QCheckBox>(u"chkM_MAKER"_s)->click();
        f->messages.clear();
        f->messages.setNextAnswer(MsgAnswer::No);
        click(u"cmdSave"_s);
        QCOMPARE(f->codes(), QStringList{u"Q105"_s});
        QCOMPARE(stored(u"客先B"_s, u"1"_s), before);
        // Any other answer overwrites.
        f->messages.clear();
        click(u"cmdSave"_s);
        QCOMPARE(f->codes(), (QStringList{u"Q105"_s, u"I100"_s}));
        const auto after = stored(u"客先B"_s, u"1"_s);
        QCOMPARE(after->pageMax, u"2"_s);
        QVERIFY(!after->detail[MMaker].on);
    }

    void formChecksInOrder()
    {
        click(u"cmdSave"_s);
        QCOMPARE(f->codes(), QStringList{u"E117"_s});
        QCOMPARE(QApplication::focusWidget(), combo(u"cboUser"_s));

        combo(u"cboUser"_s)->setEditText(u"客先A"_s);
        combo(u"cboPageMax"_s)->setEditText(u"  "_s);
        QCOMPARE(f->codes().last(), u"E102"_s); // blanks fail the row check as typed
        f->messages.clear();
        click(u"cmdSave"_s);
        QCOMPARE(f->codes(), QStringList{u"E118"_s});
        QCOMPARE(QApplication::focusWidget(), combo(u"cboPageMax"_s));

        combo(u"cboPageMax"_s)->setEditText(u"30"_s);
        QVERIFY(f->codes().isEmpty() || f->codes().last() != u"E102"_s);
        f->messages.clear();
        click(u"cmdSave"_s);
        QCOMPARE(f->codes(), QStringList{u"E115"_s});
        QCOMPARE(QApplication::focusWidget(), w<QPushButton>(u"cmdOrgFile"_s));

        const QString missing = f->appFolder() + u"/無い雛形.xlsx"_s;
        w<QLineEdit>(u"txtOrgPath"_s)->setText(missing);
        f->messages.clear();
        click(u"cmdSave"_s);
        QCOMPARE(f->codes(), QStringList{u"E114"_s});
        QCOMPARE(f->messages.shown.first().text,
                 u"EXCELファイルが見つかりません。"_s + missing + u"を設定し直して下さい。"_s);
        QCOMPARE(QApplication::focusWidget(), w<QPushButton>(u"cmdOrgFile"_s));
        QVERIFY(!stored(u"客先A"_s, u"1"_s));

        // Cells, headings and the import workbook are not looked at: a ticked item with empty cells saves.
        w<QLineEdit>(u"txtOrgPath"_s)->setText(PrintFixture::workbook(u"one_sheet.xlsx"_s));
        w<QCheckBox>(u"chkH_NAME"_s)->click();
        f->messages.clear();
        click(u"cmdSave"_s);
        QCOMPARE(f->codes(), QStringList{u"I100"_s});
    }

    void columnCheckWhileTyping()
    {
        w<QCheckBox>(u"chkH_DWGNO"_s)->click();
        QComboBox* col = combo(u"cboH_DWGNO_C"_s);
        col->setFocus();
        QTRY_COMPARE(QApplication::focusWidget(), col);
        QTest::keyClicks(col, u"IV"_s);
        QVERIFY(f->messages.shown.isEmpty());
        QTest::keyClick(col, Qt::Key_Backspace);
        QTest::keyClicks(col, u"W"_s); // "IW"
        QCOMPARE(f->codes(), QStringList{u"E120"_s});
        QCOMPARE(col->currentText(), u"IW"_s);   // left as typed
        QTest::keyClick(col, Qt::Key_Backspace); // "I" is valid again
        QCOMPARE(f->codes().size(), 1);
        // One message per change that leaves the field invalid.
        QTest::keyClick(col, Qt::Key_Backspace);
        QTest::keyClicks(col, u"a"_s);
        QTest::keyClicks(col, u"1"_s);
        QCOMPARE(f->codes(), (QStringList{u"E120"_s, u"E120"_s, u"E120"_s}));
        col->setEditText(QString());
        col->setEditText(u"A"_s);
        QCOMPARE(f->codes().size(), 3);
        QCOMPARE(QApplication::focusWidget(), col);

        QComboBox* page = combo(u"cboPageMax"_s);
        page->setFocus();
        QTest::keyClicks(page, u"1x"_s);
        QCOMPARE(f->codes().last(), u"E102"_s);
        QCOMPARE(page->currentText(), u"1x"_s);
    }

    void leavingAnInvalidFieldDoesNotLoop()
    {
        w<QCheckBox>(u"chkH_DWGNO"_s)->click();
        QComboBox* col = combo(u"cboH_DWGNO_C"_s);
        QComboBox* row = combo(u"cboH_DWGNO_R"_s);
        row->setEditText(u"x"_s); // an invalid neighbour
        col->setFocus();
        QTRY_COMPARE(QApplication::focusWidget(), col);
        QTest::keyClicks(col, u"A1"_s);
        f->messages.clear();

        // Leaving: one box, the focus comes back, the neighbour is not checked on the way.
        row->setFocus(Qt::TabFocusReason);
        QTRY_COMPARE(QApplication::focusWidget(), col);
        for (int i = 0; i < 5; ++i)
            QCoreApplication::processEvents();
        QCOMPARE(f->codes(), QStringList{u"E120"_s});
        QCOMPARE(col->lineEdit()->selectedText(), u"A1"_s);

        // Leaving again is checked again (once); a valid field leaves freely.
        row->setFocus(Qt::TabFocusReason);
        QTRY_COMPARE(QApplication::focusWidget(), col);
        QCOMPARE(f->codes().size(), 2);
        col->setEditText(u"IV"_s);
        f->messages.clear();
        combo(u"cboPageMax"_s)->setFocus(Qt::TabFocusReason);
        QTRY_COMPARE(QApplication::focusWidget(), combo(u"cboPageMax"_s));
        QCoreApplication::processEvents();
        QVERIFY(f->messages.shown.isEmpty());
    }

    void loadKeepsUntickedHeaderCells()
    {
        // 客先A: drawing number ticked at C5. 客先B: drawing number unticked, maker unticked.
        fillScreen(u"客先A"_s, PrintFixture::workbook(u"one_sheet.xlsx"_s));
        combo(u"cboH_DWGNO_C"_s)->setEditText(u"C"_s);
        combo(u"cboH_DWGNO_R"_s)->setEditText(u"5"_s);
        click(u"cmdSave"_s);
        combo(u"cboUser"_s)->setEditText(u"客先B"_s);
        w<QCheckBox>(u"chkH_DWGNO"_s)->click();
        combo(u"cboH_DWGNO_C"_s)->setEditText(u"Q"_s);
        w<QCheckBox>(u"chkM_MAKER"_s)->click();
        combo(u"cboPageMax"_s)->setEditText(u"33"_s);
        click(u"cmdSave"_s);
        f->messages.clear();

        combo(u"cboUser"_s)->setEditText(u"客先A"_s);
        click(u"cmdSearch"_s);
        QCOMPARE(combo(u"cboH_DWGNO_C"_s)->currentText(), u"C"_s);
        combo(u"cboUser"_s)->setEditText(u"客先B"_s);
        click(u"cmdSearch"_s);
        QCOMPARE(w<QPushButton>(u"cmdSave"_s)->text(), u"更新"_s);
        QCOMPARE(combo(u"cboPageMax"_s)->currentText(), u"33"_s);
        QVERIFY(!w<QCheckBox>(u"chkH_DWGNO"_s)->isChecked());
        QCOMPARE(combo(u"cboH_DWGNO_C"_s)->currentText(), u"C"_s); // 客先A's cell, kept
        QCOMPARE(combo(u"cboH_DWGNO_R"_s)->currentText(), u"5"_s);
        QVERIFY(!combo(u"cboH_DWGNO_C"_s)->isEnabled());
        QVERIFY(!w<QCheckBox>(u"chkM_MAKER"_s)->isChecked());
        QCOMPARE(combo(u"cboM_MAKER_C"_s)->currentText(), QString());
        QVERIFY(!w<QLineEdit>(u"txtM_MAKER"_s)->isEnabled());

        // No row: only the caption changes.
        combo(u"cboUser"_s)->setEditText(u"客先Z"_s);
        click(u"cmdSearch"_s);
        QCOMPARE(w<QPushButton>(u"cmdSave"_s)->text(), u"新規登録"_s);
        QCOMPARE(combo(u"cboPageMax"_s)->currentText(), u"33"_s);

        // A change of kind reloads at once and sets the current kind.
        combo(u"cboUser"_s)->setEditText(u"客先A"_s);
        w<QRadioButton>(u"optKounyu"_s)->click();
        QCOMPARE(f->ctx.CurrentKind, u"2"_s);
        QCOMPARE(w<QPushButton>(u"cmdSave"_s)->text(), u"新規登録"_s);
        w<QRadioButton>(u"optSeisaku"_s)->click();
        QCOMPARE(f->ctx.CurrentKind, u"1"_s);
        QCOMPARE(w<QPushButton>(u"cmdSave"_s)->text(), u"更新"_s);
        QVERIFY(f->messages.shown.isEmpty());

        // Leaving the box with a listed customer typed in loads nothing, by Tab nor by a click on a
        // command; a click on the customer in the open list loads.
        QComboBox* user = combo(u"cboUser"_s);
        combo(u"cboPageMax"_s)->setEditText(u"44"_s);
        user->lineEdit()->clear();
        QTest::mouseClick(user->lineEdit(), Qt::LeftButton);
        QTest::sendKeyEvent(QTest::Click, user->lineEdit(), Qt::Key_unknown, u"客先B"_s, Qt::NoModifier);
        QTest::keyClick(user->lineEdit(), Qt::Key_Tab);
        QCOMPARE(combo(u"cboPageMax"_s)->currentText(), u"44"_s);
        QTest::mouseClick(user->lineEdit(), Qt::LeftButton);
        click(u"cmdSave"_s);
        QCOMPARE(f->codes(), (QStringList{u"Q105"_s, u"I100"_s}));
        QCOMPARE(stored(u"客先B"_s, u"1"_s)->pageMax, u"44"_s);
        user->showPopup();
        QTest::qWait(QApplication::doubleClickInterval() + 100);
        QAbstractItemView* list = user->view();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          list->visualRect(list->model()->index(0, 0)).center());
        QCOMPARE(user->currentText(), u"客先A"_s);
        QCOMPARE(combo(u"cboPageMax"_s)->currentText(), u"20"_s);
    }

    void chooseThreeSheetWorkbook()
    {
        const QString book = PrintFixture::workbook(u"three_sheets.xlsx"_s);
        f->dialogs.next << book;
        QStringList listed;
        QString title;
        QString date;
        whenDialog(u"KVRCAD0004"_s, [&](QWidget* d) {
            title = d->windowTitle();
            date = d->findChild<QLabel*>(u"lblDate"_s)->text();
            auto* list = d->findChild<QListWidget*>(u"lstTAN1050"_s);
            for (int i = 0; i < list->count(); ++i)
                listed << list->item(i)->text();
            // Pressed without a choice: E108, the dialog stays.
            d->findChild<QPushButton*>(u"cmdTAN1050"_s)->click();
            QVERIFY(d->isVisible());
            list->setCurrentRow(1);
            QTest::keyClick(list, Qt::Key_F5);
        });
        click(u"cmdOrgFile"_s);
        QCOMPARE(f->dialogs.lastTitle, u"EXCELﾌｧｲﾙ指定"_s);
        QCOMPARE(listed, (QStringList{u"表紙"_s, u"部品表"_s, u"控え"_s}));
        QCOMPARE(title, u"雛形ﾌｧｲﾙ設定"_s);
        QCOMPARE(date, u"令和8年11月21日 09:30:05"_s);
        QCOMPARE(f->codes(), QStringList{u"E108"_s});
        QCOMPARE(w<QLineEdit>(u"txtOrgPath"_s)->text(), book);
        QCOMPARE(w<QLineEdit>(u"txtOrgSheet"_s)->text(), u"部品表"_s);
        QVERIFY(w<QLineEdit>(u"txtCpySheet"_s)->text().isEmpty());

        // The import choice, by double click.
        f->dialogs.next << book;
        whenDialog(u"KVRCAD0004"_s, [&](QWidget* d) {
            QCOMPARE(d->windowTitle(), u"取込ﾌｧｲﾙ設定"_s);
            auto* list = d->findChild<QListWidget*>(u"lstTAN1050"_s);
            Q_EMIT list->itemDoubleClicked(list->item(2));
        });
        click(u"cmdCpyFile"_s);
        QCOMPARE(w<QLineEdit>(u"txtCpyPath"_s)->text(), book);
        QCOMPARE(w<QLineEdit>(u"txtCpySheet"_s)->text(), u"控え"_s);
        QCOMPARE(w<QLineEdit>(u"txtOrgSheet"_s)->text(), u"部品表"_s);

        // Closed without a choice: the new path with the old sheet.
        const QString one = PrintFixture::workbook(u"filled_list.xlsx"_s);
        f->dialogs.next << f->appFolder() + u"/copy.xlsx"_s;
        QFile::copy(book, f->appFolder() + u"/copy.xlsx"_s);
        whenDialog(u"KVRCAD0004"_s, [](QWidget* d) { d->close(); });
        click(u"cmdOrgFile"_s);
        QCOMPARE(w<QLineEdit>(u"txtOrgPath"_s)->text(), f->appFolder() + u"/copy.xlsx"_s);
        QCOMPARE(w<QLineEdit>(u"txtOrgSheet"_s)->text(), u"部品表"_s);
        QVERIFY(w<QPushButton>(u"cmdSave"_s)->isEnabled());
    }

    void oneSheetWorkbookAndCancel()
    {
        w<QLineEdit>(u"txtOrgSheet"_s)->setText(u"前のシート"_s);
        const QString one = PrintFixture::workbook(u"one_sheet.xlsx"_s);
        f->dialogs.next << one;
        click(u"cmdOrgFile"_s);
        QCOMPARE(w<QLineEdit>(u"txtOrgPath"_s)->text(), one);
        QCOMPARE(w<QLineEdit>(u"txtOrgSheet"_s)->text(), u"前のシート"_s);
        f->dialogs.next << one;
        click(u"cmdCpyFile"_s);
        QCOMPARE(w<QLineEdit>(u"txtCpyPath"_s)->text(), one);
        QVERIFY(w<QLineEdit>(u"txtCpySheet"_s)->text().isEmpty());
        // Cancelled dialog and a missing file change nothing.
        click(u"cmdOrgFile"_s);
        QCOMPARE(w<QLineEdit>(u"txtOrgPath"_s)->text(), one);
        f->dialogs.next << f->appFolder() + u"/無い.xlsx"_s;
        click(u"cmdOrgFile"_s);
        QCOMPARE(f->codes(), QStringList{u"E114"_s});
        QCOMPARE(w<QLineEdit>(u"txtOrgPath"_s)->text(), one);
        QCOMPARE(QApplication::overrideCursor(), nullptr);
    }

    void newCustomerButton()
    {
        // The dialog's own checks are tested with the dialog; here: it opens modally from the
        // button and selects the new name in this screen's customer list.
        whenDialog(u"KVRCAD0102"_s, [](QWidget* d) {
            d->findChild<QLineEdit*>(u"txtUserName"_s)->setText(u"新しい客先"_s);
            d->findChild<QPushButton*>(u"cmdButton0"_s)->click();
        });
        click(u"cmdNewUser"_s);
        QCOMPARE(f->ctx.ini->find(u"USER"_s, u"3"_s), u"新しい客先"_s);
        QCOMPARE(combo(u"cboUser"_s)->currentText(), u"新しい客先"_s);
        QCOMPARE(combo(u"cboUser"_s)->currentIndex(), 2);
    }

    void previewRunsTestPrint()
    {
        combo(u"cboUser"_s)->setEditText(u"客先A"_s);

        PrintRequest seen;
        int runs = 0;
        f->ctx.printRun = [&](const PrintRequest& r) {
            seen = r;
            ++runs;
            // The button row is disabled while the run lasts.
            QVERIFY(!w<QPushButton>(u"cmdSave"_s)->isEnabled());
        };
        w<QRadioButton>(u"optKounyu"_s)->click();
        click(u"cmdPreview"_s);
        QCOMPARE(runs, 1);
        QCOMPARE(seen.runMode, u"TEST"_s);
        QCOMPARE(seen.dwgNo, u"TEST"_s);
        QCOMPARE(seen.assy, u"TEST"_s);
        QCOMPARE(seen.customer, u"客先A"_s);
        QCOMPARE(seen.kind, u"2"_s);
        QCOMPARE(seen.caller, static_cast<QWidget*>(screen));
        QVERIFY(w<QPushButton>(u"cmdSave"_s)->isEnabled());
    }

    void closingGivesBackMenuAndConnection()
    {
        QList<bool> menu;
        f->ctx.enableMenuButtons = [&](bool on) { menu << on; };
        QVERIFY(f->ctx.DbConnection);
        QTest::keyClick(screen, Qt::Key_F12);
        QVERIFY(!screen->isVisible());
        QCOMPARE(menu, QList<bool>{true});
        QVERIFY(!f->ctx.DbConnection);

        // Opened through the menu's entry: the menu is disabled while it is open.
        menu.clear();
        QWidget* s = createOutputSettings(f->ctx, nullptr);
        QCOMPARE(menu, QList<bool>{false});
        QPointer<QWidget> guard(s);
        s->close();
        QTRY_VERIFY(guard.isNull());
        QCOMPARE(menu, (QList<bool>{false, true}));
    }
};

QTEST_MAIN(TestOutputSettings)
#include "TestOutputSettings.moc"
