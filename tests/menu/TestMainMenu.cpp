#include "Common.h"
#include "IniAccess.h"
#include "Initial.h"
#include "KVRInfo.h"
#include "Main.h"
#include "MainMenu.h"
#include "MenuTestSupport.h"
#include "RuntimeError.h"
#include "ScreenTestHelpers.h"
#include "TestSupport.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QPushButton>
#include <QtTest>

using namespace Qt::StringLiterals;

// The main menu KVRCAD0000 shown and dressed from a settings file.
class TestMainMenu : public QObject
{
    Q_OBJECT
    std::unique_ptr<AppFolder> f;
    std::unique_ptr<MainMenu> m_menu;

    QPushButton* left(int k) { return m_menu->findChild<QPushButton*>(u"cmdLeft_%1"_s.arg(k)); }
    QPushButton* right(int i) { return m_menu->findChild<QPushButton*>(u"cmdRight_%1"_s.arg(i)); }

    // Start-up as the program does it, on a settings file made for the test.
    void startWith(const QString& iniText)
    {
        f = std::make_unique<AppFolder>(iniText);
        m_menu = std::make_unique<MainMenu>(f->ctx);
        LoadMenuSettings(*f->ctx.ini, m_menu->state(), *m_menu);
        ShowButtonGroup(m_menu->state(), Int16(), *m_menu);
        m_menu->show();
    }
    bool allButtonsEnabled(bool enabled)
    {
        for (int k = 0; k < 24; ++k)
            if (left(k)->isEnabled() != enabled)
                return false;
        for (int i = 0; i < 12; ++i)
            if (right(i)->isEnabled() != enabled)
                return false;
        return true;
    }
private Q_SLOTS:
    void cleanup()
    {
        m_menu.reset();
        f.reset();
    }

    void isDressedFromTheSettingsFileAndSwitchesGroups()
    {
        startWith(completeMenuText());
        QCOMPARE(m_menu->windowTitle() + m_menu->findChild<QLabel*>(u"lblTitle"_s)->text(),
                 u"部品表部品表"_s);
        QCOMPARE(m_menu->palette().color(QPalette::Window), QColor(255, 192, 192)); // index 3
        QCOMPARE(QStringList({right(0)->text(), right(10)->text(), right(11)->text(), left(0)->text()}),
                 QStringList({u"グループ1"_s, u"プリンタ設定(F9)"_s, u"終了(ESC)"_s, u"G1ボタン1"_s}));
        QVERIFY(right(2)->isVisible() && !right(3)->isVisible());
        QVERIFY(left(2)->isVisible() && !left(3)->isVisible());
        QVERIFY(allButtonsEnabled(true));
        // A group button shows its group with a beep; the group already shown is not re-labelled.
        QTest::mouseClick(right(1), Qt::LeftButton);
        QCOMPARE(m_menu->state().CurrentButtonGroup.value(), 1);
        QCOMPARE(left(0)->text(), u"G2ボタン1"_s);
        QVERIFY(right(1)->isChecked());
        m_menu->state().ButtonTable[1][0].Caption = u"変更"_s;
        QTest::mouseClick(right(1), Qt::LeftButton);
        QCOMPARE(left(0)->text(), u"G2ボタン1"_s);
        QCOMPARE(f->messages.beeps, 2);
        QVERIFY(f->messages.shown.isEmpty());
    }

    void aSlotOpensTheSameScreenInEveryGroup()
    {
        startWith(completeMenuText().replace(u"4=\r\n5=\r\n"_s, u"4=グループ4\r\n5=\r\n"_s));
        int made = 0;
        QPointer<QWidget> screen;
        m_menu->registerScreen(0, [&](QWidget* owner) -> QWidget* {
            ++made;
            screen = new QWidget(owner, Qt::Window);
            return screen;
        });
        QTest::mouseClick(right(3), Qt::LeftButton);
        QCOMPARE(left(0)->text(), u"G4ボタン1"_s);
        QTest::mouseClick(left(0), Qt::LeftButton);
        QCOMPARE(made, 1);
        QVERIFY(screen && screen->isVisible());
        QCOMPARE(screen->parentWidget(), m_menu.get());
        QVERIFY(allButtonsEnabled(false));
        // While the work screen is open, the menu's keys do nothing either.
        int ends = 0;
        m_menu->endProgram = [&ends] { ++ends; };
        QTest::keyClick(m_menu.get(), Qt::Key_Escape);
        QCOMPARE(ends, 0);
        // The screen re-enables the menu when it closes; slot 0 of group 0 shows the same screen.
        f->ctx.enableMenuButtons(true);
        screen->hide();
        QTest::mouseClick(right(0), Qt::LeftButton);
        QTest::mouseClick(left(0), Qt::LeftButton);
        QCOMPARE(made, 1);
        QVERIFY(screen->isVisible());
        // A screen that is gone cannot re-enable the menu: the menu does.
        delete screen;
        QVERIFY(allButtonsEnabled(true));
        QVERIFY(f->messages.shown.isEmpty());
    }

    void slotsWithoutAWorkingScreenLeaveTheMenuUsable()
    {
        QString text = completeMenuText();
        startWith(text.replace(u"2=G1ボタン2//T1_2"_s, u"2=見出しだけ//   "_s));
        int made = 0;
        m_menu->registerScreen(1, [&made](QWidget*) -> QWidget* { return ++made, nullptr; });
        QTest::mouseClick(left(1), Qt::LeftButton); // an empty target does nothing
        QCOMPARE(made, 0);
        QVERIFY(f->messages.shown.isEmpty());
        // No screen behind the slot: said in a box.
        QTest::mouseClick(left(2), Qt::LeftButton);
        QCOMPARE(f->messages.shown.size(), 1);
        QCOMPARE(f->messages.shown[0].icon, MsgIcon::Information);
        QVERIFY(f->messages.texts()[0].contains(u"G1ボタン3"_s) &&
                f->messages.texts()[0].contains(u"[BOTTANL1] キー 3"_s));
        // A screen that fails while it is made: the error box with the error's number and text.
        f->messages.clear();
        m_menu->registerScreen(0,
                               [](QWidget*) -> QWidget* { throw RuntimeError(3704, u"接続できません。"_s); });
        QTest::mouseClick(left(0), Qt::LeftButton);
        QCOMPARE(f->shownBoxes().value(0).left(3), u"エラー"_s);
        QVERIFY(f->messages.texts()[0].contains(u"3704"_s) &&
                f->messages.texts()[0].contains(u"接続できません。"_s));
        QVERIFY(allButtonsEnabled(true));
    }

    void functionKeysPressOnlyUsableButtons()
    {
        startWith(completeMenuText());
        int setups = 0, ends = 0;
        m_menu->printerSetup = [&setups] { ++setups; };
        m_menu->endProgram = [&ends] { ++ends; };
        QTest::keyClick(m_menu.get(), Qt::Key_F9);
        left(0)->setFocus();
        QTest::keyClick(left(0), Qt::Key_F9);      // from a focused button the key reaches the menu
        QTest::keyClick(m_menu.get(), Qt::Key_F5); // no other key is handled
        QCOMPARE(setups, 2);
        QCOMPARE(f->messages.beeps, 2);
        EnableMenuButtons(f->ctx, false);
        QTest::keyClick(m_menu.get(), Qt::Key_F9);
        QTest::keyClick(m_menu.get(), Qt::Key_Escape);
        EnableMenuButtons(f->ctx, true);
        right(11)->hide();
        QTest::keyClick(m_menu.get(), Qt::Key_Escape);
        QCOMPARE(setups + ends, 2);
        right(11)->show();
        QGuiApplication::clipboard()->setText(u"コピー中"_s);
        QTest::keyClick(m_menu.get(), Qt::Key_Escape);
        QCOMPARE(ends, 1);
        QVERIFY(!m_menu->isVisible());
        QVERIFY(QGuiApplication::clipboard()->text().isEmpty());
    }

    void printerSetUpOpensThePageSetupDialog()
    {
        startWith(completeMenuText());
        QString seen;
        whenModal<QDialog>([&seen](QDialog* d) { seen = d->windowTitle(); });
        QTest::mouseClick(right(10), Qt::LeftButton);
        QCOMPARE(seen, u"プリンタ設定"_s);
    }

    void theMenuCanGoWhileItsScreensLive()
    {
        startWith(completeMenuText());
        QPointer<QWidget> screen;
        m_menu->registerScreen(
            1, [&](QWidget* owner) -> QWidget* { return screen = new QWidget(owner, Qt::Window); });
        QTest::mouseClick(left(1), Qt::LeftButton);
        auto enable = f->ctx.enableMenuButtons;
        m_menu.reset();
        QVERIFY(!screen && !f->ctx.enableMenuButtons);
        enable(true); // a late call from a screen finds no menu and does nothing
    }

    void theStartRoutineShowsTheDressedMenuOnce()
    {
        QTemporaryDir dir;
        writeCp932File(dir.filePath(u"PARA.ini"_s), completeMenuText());
        ScriptedMessageService msgs;
        AppContext ctx, second;
        ctx.messages = second.messages = &msgs;
        Startup startup(ctx, dir.filePath(u"start.lock"_s)), again(second, dir.filePath(u"start.lock"_s));
        int registered = 0;
        std::unique_ptr<MainMenu> menu = Main(
            ctx, startup, dir.path(), [&registered](MainMenu&) { ++registered; }, 200);
        QVERIFY(menu && menu->isVisible());
        QCOMPARE(registered, 1);
        QCOMPARE(menu->findChild<QPushButton*>(u"cmdLeft_0"_s)->text(), u"G1ボタン1"_s);
        QPointer<KVRInfo> info = menu->findChild<KVRInfo*>(u"KVRInfo"_s);
        QVERIFY(info && info->isVisible());
        QTRY_VERIFY_WITH_TIMEOUT(!info, 5000);
        // A second start while the first runs: E001, no menu.
        QVERIFY(!Main(second, again, dir.path()));
        QCOMPARE(msgs.texts(), QStringList(u"既に起動しています。"_s));
    }
};

QTEST_MAIN(TestMainMenu)
#include "TestMainMenu.moc"
