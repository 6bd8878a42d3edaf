#include "AppContext.h"
#include "Common.h"
#include "IniAccess.h"
#include "Initial.h"
#include "KVRInfo.h"
#include "Main.h"
#include "MainMenu.h"
#include "MenuTestSupport.h"
#include "MessageService.h"
#include "RuntimeError.h"
#include "TestSupport.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QtTest>

using namespace Qt::StringLiterals;

class TestMainMenu : public QObject
{
    Q_OBJECT
    std::unique_ptr<QTemporaryDir> m_dir;
    ScriptedMessageService m_msgs;
    std::unique_ptr<AppContext> m_ctx;
    std::unique_ptr<MainMenu> m_menu;

    QPushButton* left(int k) { return m_menu->findChild<QPushButton*>(u"cmdLeft_%1"_s.arg(k)); }
    QPushButton* right(int i) { return m_menu->findChild<QPushButton*>(u"cmdRight_%1"_s.arg(i)); }

    // Start-up as the program does it, on a settings file made for the test.
    void startWith(const QString& iniText)
    {
        m_ctx = std::make_unique<AppContext>();
        m_ctx->messages = &m_msgs;
        m_ctx->setPaths(m_dir->path());
        writeCp932File(m_ctx->IniPath, iniText);
        m_ctx->makeIni();
        m_menu = std::make_unique<MainMenu>(*m_ctx);
        LoadMenuSettings(*m_ctx->ini, m_menu->state(), *m_menu);
        m_menu->state().CurrentButtonGroup = Int16();
        ShowButtonGroup(m_menu->state(), m_menu->state().CurrentButtonGroup, *m_menu);
        m_menu->show();
    }

    void setEntry(int group, int slot, const QString& value)
    {
        QCOMPARE(m_ctx->ini->file(m_ctx->IniPath)
                     .write(u"BOTTANL%1"_s.arg(group + 1), QString::number(slot + 1), value),
                 IniFile::WriteResult::Ok);
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
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_msgs.clear();
    }
    void cleanup()
    {
        m_menu.reset();
        m_ctx.reset();
    }

    void isDressedFromTheSettingsFile()
    {
        startWith(completeMenuText());
        QCOMPARE(m_menu->windowTitle(), u"部品表"_s);
        QCOMPARE(m_menu->findChild<QLabel*>(u"lblTitle"_s)->text(), u"部品表"_s);
        QCOMPARE(m_menu->palette().color(QPalette::Window), QColor(255, 192, 192)); // index 3
        QCOMPARE(right(0)->text(), u"グループ1"_s);
        QVERIFY(right(2)->isVisible());
        QVERIFY(!right(3)->isVisible());
        QCOMPARE(right(10)->text(), u"プリンタ設定(F9)"_s);
        QCOMPARE(right(11)->text(), u"終了(ESC)"_s);
        QCOMPARE(left(0)->text(), u"G1ボタン1"_s);
        QVERIFY(left(2)->isVisible());
        QVERIFY(!left(3)->isVisible());
        QVERIFY(m_msgs.shown.isEmpty());
        QVERIFY(allButtonsEnabled(true));
    }

    void groupButtonsSwitchTheLeftBlock()
    {
        startWith(completeMenuText());
        QTest::mouseClick(right(1), Qt::LeftButton);
        QCOMPARE(m_menu->state().CurrentButtonGroup.value(), 1);
        QCOMPARE(left(0)->text(), u"G2ボタン1"_s);
        QVERIFY(right(1)->isChecked());
        QCOMPARE(m_msgs.beeps, 1);
        // The group already shown: nothing is re-labelled.
        m_menu->state().ButtonTable[1][0].Caption = u"変更"_s;
        QTest::mouseClick(right(1), Qt::LeftButton);
        QCOMPARE(left(0)->text(), u"G2ボタン1"_s);
        QCOMPARE(m_msgs.beeps, 2);
        QTest::mouseClick(right(0), Qt::LeftButton);
        QCOMPARE(left(0)->text(), u"G1ボタン1"_s);
        QVERIFY(m_msgs.shown.isEmpty());
    }

    void anEmptyTargetDoesNothing()
    {
        QString text = completeMenuText();
        text.replace(u"1=G1ボタン1//T1_1"_s, u"1=見出しだけ//   "_s);
        startWith(text);
        int made = 0;
        m_menu->registerScreen(0, [&made](QWidget*) -> QWidget* {
            ++made;
            return nullptr;
        });
        QVERIFY(left(0)->isVisible());
        QTest::mouseClick(left(0), Qt::LeftButton);
        QCOMPARE(made, 0);
        QVERIFY(allButtonsEnabled(true));
        QVERIFY(m_msgs.shown.isEmpty());
        QCOMPARE(m_msgs.beeps, 1);
    }

    void aSlotOpensTheSameScreenInEveryGroup()
    {
        QString text = completeMenuText();
        text.replace(u"4=\r\n5=\r\n"_s, u"4=グループ4\r\n5=\r\n"_s);
        startWith(text);
        int made = 0;
        QPointer<QWidget> screen;
        m_menu->registerScreen(0, [&](QWidget* owner) -> QWidget* {
            ++made;
            screen = new QWidget(owner, Qt::Window);
            screen->setObjectName(u"KVRCAD0003"_s);
            return screen;
        });
        QVERIFY(right(3)->isVisible());
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
        m_ctx->enableMenuButtons(true);
        screen->hide();
        QVERIFY(allButtonsEnabled(true));
        QTest::mouseClick(right(0), Qt::LeftButton);
        QTest::mouseClick(left(0), Qt::LeftButton);
        QCOMPARE(made, 1);
        QVERIFY(screen->isVisible());
        QCOMPARE(m_menu->openedScreen(0), screen.data());
        // A screen that is gone cannot re-enable the menu: the menu does.
        delete screen;
        QVERIFY(allButtonsEnabled(true));
        QVERIFY(m_msgs.shown.isEmpty());
    }

    void slotsWithoutAWorkingScreenLeaveTheMenuUsable()
    {
        startWith(completeMenuText());
        // No screen behind the slot: said in a box.
        QTest::mouseClick(left(2), Qt::LeftButton);
        QCOMPARE(m_msgs.shown.size(), 1);
        QCOMPARE(m_msgs.shown[0].icon, MsgIcon::Information);
        QVERIFY(m_msgs.shown[0].text.contains(u"G1ボタン3"_s));
        QVERIFY(m_msgs.shown[0].text.contains(u"[BOTTANL1] キー 3"_s));
        QVERIFY(allButtonsEnabled(true));
        // A screen that fails while it is made: the error box.
        m_msgs.clear();
        m_menu->registerScreen(
            1, [](QWidget*) -> QWidget* { throw RuntimeError(3704, u"データベースに接続できません。"_s); });
        QTest::mouseClick(left(1), Qt::LeftButton);
        QCOMPARE(m_msgs.shown.size(), 1);
        QCOMPARE(m_msgs.shown[0].title, u"エラー"_s);
        QVERIFY(m_msgs.shown[0].text.contains(u"3704"_s));
        QVERIFY(m_msgs.shown[0].text.contains(u"データベースに接続できません。"_s));
        QVERIFY(allButtonsEnabled(true));
    }

    void functionKeysPressOnlyUsableButtons()
    {
        startWith(completeMenuText());
        int setups = 0;
        int ends = 0;
        m_menu->printerSetup = [&setups] { ++setups; };
        m_menu->endProgram = [&ends] { ++ends; };
        QTest::keyClick(m_menu.get(), Qt::Key_F9);
        QCOMPARE(setups, 1);
        QCOMPARE(m_msgs.beeps, 1);
        left(0)->setFocus();
        QTest::keyClick(left(0), Qt::Key_F9); // from a focused button the key reaches the menu
        QCOMPARE(setups, 2);
        QCOMPARE(m_msgs.beeps, 2);
        QTest::keyClick(m_menu.get(), Qt::Key_F5); // no other key is handled
        QTest::keyClick(m_menu.get(), Qt::Key_F12);
        QCOMPARE(m_msgs.beeps, 2);

        EnableMenuButtons(*m_ctx, false);
        QTest::keyClick(m_menu.get(), Qt::Key_F9);
        QTest::keyClick(m_menu.get(), Qt::Key_Escape);
        QCOMPARE(setups, 2);
        QCOMPARE(ends, 0);
        EnableMenuButtons(*m_ctx, true);
        right(11)->hide();
        QTest::keyClick(m_menu.get(), Qt::Key_Escape);
        QCOMPARE(ends, 0);
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
        // Closes the dialog as soon as it is up, however long that takes on a loaded machine.
        QTimer closer;
        closer.setInterval(50);
        connect(&closer, &QTimer::timeout, this, [&seen, &closer] {
            if (QWidget* dialog = QApplication::activeModalWidget()) {
                seen = dialog->windowTitle();
                dialog->close();
                closer.stop();
            }
        });
        closer.start();
        QTest::mouseClick(right(10), Qt::LeftButton);
        QCOMPARE(seen, u"プリンタ設定"_s);
        QVERIFY(m_menu->isVisible());
    }

    void theMenuCanGoWhileItsScreensLive()
    {
        startWith(completeMenuText());
        QPointer<QWidget> screen;
        m_menu->registerScreen(1, [&](QWidget* owner) -> QWidget* {
            screen = new QWidget(owner, Qt::Window);
            return screen;
        });
        QTest::mouseClick(left(1), Qt::LeftButton);
        QVERIFY(screen);
        auto enable = m_ctx->enableMenuButtons;
        m_menu.reset();
        QVERIFY(!screen);
        QVERIFY(!m_ctx->enableMenuButtons);
        enable(true); // a late call from a screen finds no menu and does nothing
    }

    void closingTheMenuAsksEachScreenOnce()
    {
        // A work screen that refuses to close (the editor's closing question answered No).
        struct Refusing : QWidget {
            using QWidget::QWidget;
            int asked = 0;
            bool refuse = true;
            void closeEvent(QCloseEvent* e) override
            {
                ++asked;
                e->setAccepted(!refuse);
            }
        };
        startWith(completeMenuText());
        Refusing* screen = nullptr;
        m_menu->registerScreen(
            1, [&](QWidget* owner) -> QWidget* { return screen = new Refusing(owner, Qt::Window); });
        QTest::mouseClick(left(1), Qt::LeftButton);
        QVERIFY(!m_menu->close());
        QCOMPARE(screen->asked, 1);
        QVERIFY(m_menu->isVisible() && screen->isVisible());
        screen->refuse = false;
        QVERIFY(m_menu->close());
        QCOMPARE(screen->asked, 2);
        QVERIFY(!screen->isVisible());
    }

    void theStartRoutineShowsTheDressedMenuOnce()
    {
        writeCp932File(m_dir->filePath(u"PARA.ini"_s), completeMenuText());
        const QString lockPath = m_dir->filePath(u"start.lock"_s);
        AppContext ctx;
        ctx.messages = &m_msgs;
        Startup startup(ctx, lockPath);
        int registered = 0;
        std::unique_ptr<MainMenu> menu = Main(
            ctx, startup, m_dir->path(), [&registered](MainMenu&) { ++registered; }, 200);
        QVERIFY(menu);
        QCOMPARE(registered, 1);
        QVERIFY(menu->isVisible());
        QCOMPARE(menu->windowTitle(), u"部品表"_s);
        QCOMPARE(menu->state().CurrentButtonGroup.value(), 0);
        QCOMPARE(menu->findChild<QPushButton*>(u"cmdLeft_0"_s)->text(), u"G1ボタン1"_s);
        QPointer<KVRInfo> info = menu->findChild<KVRInfo*>(u"KVRInfo"_s);
        QVERIFY(info && info->isVisible());
        // The menu is placed by the program, on the screen, with the information centred over it.
        QVERIFY(menu->testAttribute(Qt::WA_Moved));
        QVERIFY(menu->screen()->availableGeometry().contains(menu->pos()));
        QVERIFY((info->geometry().center() - menu->frameGeometry().center()).manhattanLength() < 40);
        QTRY_VERIFY_WITH_TIMEOUT(!info, 5000);

        // A second start while the first runs: the work folder is there, E001, no menu.
        QDir(m_dir->path()).rmdir(u"WORK"_s);
        AppContext second;
        second.messages = &m_msgs;
        Startup again(second, lockPath);
        QVERIFY(!Main(second, again, m_dir->path()));
        QVERIFY(QFileInfo(m_dir->filePath(u"WORK"_s)).isDir());
        QCOMPARE(m_msgs.shown.size(), 1);
        QCOMPARE(m_msgs.shown[0].text, u"既に起動しています。"_s);
    }
};

QTEST_MAIN(TestMainMenu)
#include "TestMainMenu.moc"
