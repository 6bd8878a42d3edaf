#include "CommandGuard.h"
#include "CommonWidgets.h"
#include "IniAccess.h"
#include "NewCustomerDialog.h"
#include "OutputSettingsEntry.h"
#include "OutputSettingsScreen.h"
#include "PrintTestSupport.h"
#include "ScreenTestHelpers.h"
#include "SettingsSave.h"
#include "SheetSelectDialog.h"
#include "TeamMode.h"

#include <QAbstractItemView>

using namespace Qt::StringLiterals;

// The output settings screen KVRCAD0003 shown, on the program folder with the sample settings.
class TestOutputSettings : public QObject
{
    Q_OBJECT

    std::unique_ptr<PrintFixture> f;
    OutputSettingsScreen* screen = nullptr;

    template <class T> T* w(const QString& name) { return control<T>(screen, qPrintable(name)); }
    QComboBox* combo(const QString& name) { return w<QComboBox>(name); }
    void click(const QString& name) { QTest::mouseClick(w<QPushButton>(name), Qt::LeftButton); }

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
    QString text(const char* name) { return w<QLineEdit>(QString::fromLatin1(name))->text(); }

    std::optional<SettingsRecord> stored(const QString& user, const QString& kind)
    {
        return ReadSettings(*f->ctx.DbConnection, user, kind);
    }

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<PrintFixture>();
        screen = new OutputSettingsScreen(f->ctx, nullptr);
        QVERIFY(showActive(screen)); // the focus checks need an active window
    }
    void cleanup()
    {
        delete screen;
        screen = nullptr;
        f.reset();
    }

    void saveNewCustomerThenOverwriteOnlyWhenAnsweredYes()
    {
        const QString tpl = PrintFixture::workbook(u"three_sheets.xlsx"_s);
        fillScreen(u"客先A "_s, tpl);
        QTest::keyClick(screen, Qt::Key_F5);
        QCOMPARE(f->codes(), QStringList(u"I100"_s));
        // Every column as the screen showed it, untrimmed; the end column is the start column and every
        // item carries the one pair of detail rows. The other kind and the trimmed name are other keys.
        QCOMPARE(stored(u"客先A "_s, u"1"_s), std::optional(SampleSettings(u"客先A "_s, tpl)));
        QVERIFY(!stored(u"客先A "_s, u"2"_s) && !stored(u"客先A"_s, u"1"_s));
        QTest::keyClick(screen, Qt::Key_F1); // the search finds the row
        QCOMPARE(w<QPushButton>(u"cmdSave"_s)->text(), u"更新"_s);
        // Saved again with changes: Q105 answered No leaves the row; any other answer overwrites.
        // Page rows typed with a decimal pass the digit check and store as the database rounds them.
        const auto before = stored(u"客先A "_s, u"1"_s);
        combo(u"cboPageMax"_s)->lineEdit()->selectAll();
        QTest::keyClicks(combo(u"cboPageMax"_s)->lineEdit(), u"1.5"_s);
        w<QCheckBox>(u"chkM_MAKER"_s)->click();
        f->messages.clear();
        f->messages.setNextAnswer(MsgAnswer::No);
        click(u"cmdSave"_s);
        QCOMPARE(f->codes(), QStringList(u"Q105"_s));
        QCOMPARE(stored(u"客先A "_s, u"1"_s), before);
        click(u"cmdSave"_s);
        QCOMPARE(f->codes(), QStringList({u"Q105"_s, u"Q105"_s, u"I100"_s}));
        QCOMPARE(stored(u"客先A "_s, u"1"_s)->pageMax, u"2"_s);
        QVERIFY(!stored(u"客先A "_s, u"1"_s)->detail[MMaker].on);
    }

    void formChecksInOrder()
    {
        click(u"cmdSave"_s);
        QCOMPARE(f->codes(), QStringList(u"E117"_s));
        QCOMPARE(QApplication::focusWidget(), combo(u"cboUser"_s));
        combo(u"cboUser"_s)->setEditText(u"客先A"_s);
        combo(u"cboPageMax"_s)->setEditText(u"  "_s); // blanks fail the row check as typed
        f->messages.clear();
        click(u"cmdSave"_s);
        QCOMPARE(f->codes(), QStringList(u"E118"_s));
        QCOMPARE(QApplication::focusWidget(), combo(u"cboPageMax"_s));
        combo(u"cboPageMax"_s)->setEditText(u"30"_s);
        f->messages.clear();
        click(u"cmdSave"_s);
        QCOMPARE(f->codes(), QStringList(u"E115"_s));
        QCOMPARE(QApplication::focusWidget(), w<QPushButton>(u"cmdOrgFile"_s));
        const QString missing = f->path(u"無い雛形.xlsx"_s);
        w<QLineEdit>(u"txtOrgPath"_s)->setText(missing);
        f->messages.clear();
        click(u"cmdSave"_s);
        QCOMPARE(f->messages.texts(),
                 QStringList(u"EXCELファイルが見つかりません。"_s + missing + u"を設定し直して下さい。"_s));
        QCOMPARE(QApplication::focusWidget(), w<QPushButton>(u"cmdOrgFile"_s));
        QVERIFY(!stored(u"客先A"_s, u"1"_s));
        // Cells, headings and the import workbook are not looked at: a ticked item with empty cells saves.
        w<QLineEdit>(u"txtOrgPath"_s)->setText(PrintFixture::workbook(u"one_sheet.xlsx"_s));
        w<QCheckBox>(u"chkH_NAME"_s)->click();
        f->messages.clear();
        click(u"cmdSave"_s);
        QCOMPARE(f->codes(), QStringList(u"I100"_s));
    }

    void columnAndRowChecksWhileTyping()
    {
        w<QCheckBox>(u"chkH_DWGNO"_s)->click();
        QComboBox* col = combo(u"cboH_DWGNO_C"_s);
        col->setFocus();
        QTRY_COMPARE(QApplication::focusWidget(), col);
        QTest::keyClicks(col, u"IV"_s);
        QVERIFY(f->messages.shown.isEmpty());
        QTest::keyClick(col, Qt::Key_Backspace);
        QTest::keyClicks(col, u"W"_s); // "IW": one message, the text left as typed
        QCOMPARE(f->codes(), QStringList(u"E120"_s));
        QCOMPARE(col->currentText(), u"IW"_s);
        QTest::keyClick(col, Qt::Key_Backspace); // "I" is valid again
        QTest::keyClick(col, Qt::Key_Backspace);
        QTest::keyClicks(col, u"a1"_s); // one message per change that leaves the field invalid
        QCOMPARE(f->codes(), QStringList({u"E120"_s, u"E120"_s, u"E120"_s}));
        col->setEditText(QString());
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
        // Leaving: one box, the focus comes back, the neighbour is not checked on the way; leaving
        // again is checked again; a valid field leaves freely.
        for (int leave = 1; leave <= 2; ++leave) {
            row->setFocus(Qt::TabFocusReason);
            QTRY_COMPARE(QApplication::focusWidget(), col);
            for (int i = 0; i < 5; ++i)
                QCoreApplication::processEvents();
            QCOMPARE(f->codes(), QStringList(leave, u"E120"_s));
            QCOMPARE(col->lineEdit()->selectedText(), u"A1"_s);
        }
        col->setEditText(u"IV"_s);
        f->messages.clear();
        combo(u"cboPageMax"_s)->setFocus(Qt::TabFocusReason);
        QTRY_COMPARE(QApplication::focusWidget(), combo(u"cboPageMax"_s));
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
        combo(u"cboUser"_s)->setEditText(u"客先B"_s);
        click(u"cmdSearch"_s);
        QCOMPARE(w<QPushButton>(u"cmdSave"_s)->text(), u"更新"_s);
        QCOMPARE(combo(u"cboPageMax"_s)->currentText(), u"33"_s);
        QVERIFY(!w<QCheckBox>(u"chkH_DWGNO"_s)->isChecked() && !combo(u"cboH_DWGNO_C"_s)->isEnabled());
        QCOMPARE(combo(u"cboH_DWGNO_C"_s)->currentText() + combo(u"cboH_DWGNO_R"_s)->currentText(), u"C5"_s);
        QVERIFY(!w<QCheckBox>(u"chkM_MAKER"_s)->isChecked() && !w<QLineEdit>(u"txtM_MAKER"_s)->isEnabled());
        QCOMPARE(combo(u"cboM_MAKER_C"_s)->currentText(), QString());
        // A change of kind reloads at once and sets the current kind.
        combo(u"cboUser"_s)->setEditText(u"客先A"_s);
        w<QRadioButton>(u"optKounyu"_s)->click();
        QCOMPARE(f->ctx.CurrentKind + w<QPushButton>(u"cmdSave"_s)->text(), u"2新規登録"_s);
        w<QRadioButton>(u"optSeisaku"_s)->click();
        QCOMPARE(f->ctx.CurrentKind + w<QPushButton>(u"cmdSave"_s)->text(), u"1更新"_s);
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
        // Keys pick as the click does: ↓ on the closed box, ↑ and Enter in the open list. The focus
        // stays in the box, also after 検索(F1).
        user->setFocus();
        QTest::keyClick(user, Qt::Key_Down);
        QCOMPARE(user->currentText() + combo(u"cboPageMax"_s)->currentText(), u"客先B44"_s);
        QVERIFY(user->hasFocus());
        user->showPopup();
        QTest::keyClick(user->view(), Qt::Key_Up);
        QTest::keyClick(user->view(), Qt::Key_Return);
        QCOMPARE(user->currentText() + combo(u"cboPageMax"_s)->currentText(), u"客先A20"_s);
        QTest::keyClick(user, Qt::Key_F1);
        QVERIFY(user->hasFocus());
    }

    void templateAndImportWorkbookChoice()
    {
        const QString book = PrintFixture::workbook(u"three_sheets.xlsx"_s);
        f->dialogs.next << book;
        QStringList seen;
        whenModal<SheetSelectDialog>([&](SheetSelectDialog* d) {
            seen << d->windowTitle() << d->findChild<QLabel*>(u"lblDate"_s)->text();
            auto* list = d->findChild<QListWidget*>(u"lstTAN1050"_s);
            for (int i = 0; i < list->count(); ++i)
                seen << list->item(i)->text();
            // Nothing looks chosen, even with the focus in the list; without a choice: E108, it stays.
            list->setFocus();
            QVERIFY(!list->currentIndex().isValid() && list->selectedItems().isEmpty());
            d->findChild<QPushButton*>(u"cmdTAN1050"_s)->click();
            QVERIFY(d->isVisible());
            list->setCurrentRow(1);
            QTest::keyClick(list, Qt::Key_F5);
        });
        click(u"cmdOrgFile"_s);
        QCOMPARE(f->dialogs.lastTitle, u"EXCELﾌｧｲﾙ指定"_s);
        QCOMPARE(seen, QStringList({u"雛形ﾌｧｲﾙ設定"_s, u"令和8年11月21日 09:30:05"_s, u"表紙"_s, u"部品表"_s,
                                    u"控え"_s}));
        QCOMPARE(f->codes(), QStringList(u"E108"_s));
        QCOMPARE(text("txtOrgPath") + u'|' + text("txtOrgSheet") + u'|' + text("txtCpySheet"),
                 book + u"|部品表|"_s);
        // The import choice, by double click.
        f->dialogs.next << book;
        whenModal<SheetSelectDialog>([&](SheetSelectDialog* d) {
            QCOMPARE(d->windowTitle(), u"取込ﾌｧｲﾙ設定"_s);
            auto* list = d->findChild<QListWidget*>(u"lstTAN1050"_s);
            Q_EMIT list->itemDoubleClicked(list->item(2));
        });
        click(u"cmdCpyFile"_s);
        QCOMPARE(text("txtCpyPath") + u'|' + text("txtCpySheet") + u'|' + text("txtOrgSheet"),
                 book + u"|控え|部品表"_s);
        // Closed without a choice: the new path with the old sheet.
        QFile::copy(book, f->path(u"copy.xlsx"_s));
        f->dialogs.next << f->path(u"copy.xlsx"_s);
        whenModal<SheetSelectDialog>([](SheetSelectDialog* d) { d->close(); });
        click(u"cmdOrgFile"_s);
        QCOMPARE(text("txtOrgPath") + u'|' + text("txtOrgSheet"), f->path(u"copy.xlsx"_s) + u"|部品表"_s);
        // A workbook of one sheet takes no sheet choice; a cancelled dialog and a missing file change
        // nothing.
        const QString one = PrintFixture::workbook(u"one_sheet.xlsx"_s);
        f->dialogs.next << one << one;
        click(u"cmdOrgFile"_s);
        click(u"cmdCpyFile"_s);
        QCOMPARE(text("txtOrgPath") + u'|' + text("txtOrgSheet") + u'|' + text("txtCpyPath") + u'|' +
                     text("txtCpySheet"),
                 one + u"|部品表|"_s + one + u"|控え"_s);
    }

    void previewRunsTestPrint()
    {
        combo(u"cboUser"_s)->setEditText(u"客先A"_s);
        PrintRequest seen;
        f->ctx.printRun = [&](const PrintRequest& r) {
            seen = r;
            QVERIFY(!w<QPushButton>(u"cmdSave"_s)->isEnabled()); // the buttons are off while it runs
        };
        w<QRadioButton>(u"optKounyu"_s)->click();
        click(u"cmdPreview"_s);
        QCOMPARE(QStringList({seen.runMode, seen.dwgNo, seen.assy, seen.customer, seen.kind}),
                 QStringList({u"TEST"_s, u"TEST"_s, u"TEST"_s, u"客先A"_s, u"2"_s}));
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
        QPointer<QWidget> s = createOutputSettings(f->ctx, nullptr);
        QCOMPARE(menu, QList<bool>{false});
        s->close();
        QTRY_VERIFY(s.isNull());
        QCOMPARE(menu, QList<bool>({false, true}));
        // A customer count that is no integer: the error box naming the key, and no half-built screen.
        f->writeIni(QString(AppFolder::kIni).replace(u"[USER]\r\nMAX=2"_s, u"[USER]\r\nMAX=abc"_s));
        f->messages.clear();
        QVERIFY_THROWS_EXCEPTION(CommandEnded, createOutputSettings(f->ctx, nullptr));
        QCOMPARE(f->messages.texts(), QStringList(u"実行時エラー '13':\n\n型が一致しません。"_s));
        QVERIFY(f->messages.shown[0].detail.endsWith(u" の [USER] キー MAX の値「abc」"_s));
    }

    // Team use: while another desk (another session on the server) edits a layout, this one is told
    // on loading it and its save is refused; once the other desk lets go, the save goes through.
    void layoutEditedOnAnotherDesk()
    {
        if (!teamMode())
            QSKIP("one desk on the local file");
        const auto other = openOtherDesk();
        LockHolder holder;
        auto held = TeamLock::take(other, LayoutLockName(u"客先A"_s, u"1"_s), &holder);
        QVERIFY(held);
        fillScreen(u"客先A"_s, PrintFixture::workbook(u"three_sheets.xlsx"_s));
        QTest::keyClick(screen, Qt::Key_F1);
        const QString who =
            u"出力設定 客先A (製作ﾘｽﾄ) は "_s + ThisDesk() + u" の "_s + ThisUser() + u" さんが "_s;
        QCOMPARE(f->messages.shown.size(), 1);
        QVERIFY2(f->messages.shown[0].text.startsWith(who), qPrintable(f->messages.shown[0].text));
        QTest::keyClick(screen, Qt::Key_F5);
        QVERIFY(f->shownBoxes().value(1).startsWith(u"注意|"_s) &&
                f->shownBoxes()[1].contains(u"登録できません"_s));
        QVERIFY(!stored(u"客先A"_s, u"1"_s));
        held.reset();
        QTest::keyClick(screen, Qt::Key_F5);
        QCOMPARE(f->codes().last(), u"I100"_s);
        QVERIFY(stored(u"客先A"_s, u"1"_s));
    }

    // The new customer dialog KVRCAD0102 over the settings file's customer list.
    void newCustomerDialog()
    {
        QComboBox list;
        FillComboFromList(*f->ctx.ini, &list, u"USER"_s);
        list.setCurrentIndex(0);
        // Types the name and presses the button; the dialog's result.
        auto press = [&](const QString& name, const char* button) {
            NewCustomerDialog d(f->ctx, &list, nullptr);
            d.findChild<QLineEdit*>(u"txtUserName"_s)->setText(name);
            d.findChild<QPushButton*>(QLatin1StringView(button))->click();
            return d.result();
        };
        // A listed name and a cancel write nothing; blanks (full-width too) are refused.
        const QByteArray before = readFileBytes(f->ctx.IniPath);
        QCOMPARE(press(u"客先B"_s, "cmdButton0"), int(QDialog::Accepted));
        QCOMPARE(press(u"取り消し"_s, "cmdButton1"), int(QDialog::Rejected));
        QCOMPARE(press(u"　 "_s, "cmdButton0"), int(QDialog::Rejected));
        QCOMPARE(f->shownBoxes(), QStringList(u"注意|客先名が空欄です。登録できません。"_s));
        QCOMPARE(readFileBytes(f->ctx.IniPath), before);
        QCOMPARE(list.currentIndex(), 0);
        // A new name is appended and selected; leading blanks make a customer of its own.
        QCOMPARE(press(u"客先C"_s, "cmdButton0"), int(QDialog::Accepted));
        QCOMPARE(f->ctx.ini->find(u"USER"_s, u"MAX"_s) + f->ctx.ini->find(u"USER"_s, u"3"_s), u"3客先C"_s);
        QCOMPARE(list.currentIndex(), 2);
        press(u"  客先C"_s, "cmdButton0");
        QVERIFY(f->iniText().contains(u"4=  客先C"_s));
        QCOMPARE(list.count(), 4);
        // The screen's button opens it modally; the new name is selected in the screen's list.
        whenModal<NewCustomerDialog>([](NewCustomerDialog* d) {
            d->findChild<QLineEdit*>(u"txtUserName"_s)->setText(u"新しい客先"_s);
            d->findChild<QPushButton*>(u"cmdButton0"_s)->click();
        });
        click(u"cmdNewUser"_s);
        QCOMPARE(combo(u"cboUser"_s)->currentText(), u"新しい客先"_s);
    }
};

QTEST_MAIN(TestOutputSettings)
#include "TestOutputSettings.moc"
