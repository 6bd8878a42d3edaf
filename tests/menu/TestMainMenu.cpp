#include "Common.h"
#include "CommonWidgets.h"
#include "IniAccess.h"
#include "Initial.h"
#include "KVRInfo.h"
#include "Main.h"
#include "MainMenu.h"
#include "QtJapanese.h"
#include "RuntimeError.h"
#include "ScreenTestHelpers.h"
#include "TestSupport.h"
#include "WidgetServices.h"

#include <QAbstractProxyModel>
#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QLabel>
#include <QLockFile>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QString>
#include <QStringList>
#include <QtTest>
#include <map>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{
// A main menu without a display: records what the start-up dresses.
struct RecordingMenuView : MenuView {
    std::optional<QString> title;
    std::optional<quint32> color;
    std::map<int, std::pair<bool, QString>> right;
    std::map<int, std::pair<bool, QString>> left;
    QStringList calls; // "title", "color" and "right" in the order they came

    template <class T, class V> void note(T& slot, V value, const QString& call)
    {
        slot = std::move(value);
        calls << call;
    }
    void setMenuTitle(const QString& t) override { note(title, t, u"title"_s); }
    void setMenuColor(quint32 bgr) override { note(color, bgr, u"color"_s); }
    void setRightButton(int i, bool on, const QString& w) override
    {
        note(right[i], std::pair(on, w), u"right"_s);
    }
    void setLeftButton(int k, bool visible, const QString& c) override { left[k] = {visible, c}; }
};

// The text of a complete menu: title "部品表", the given colour, words for the first three right-hand
// buttons, and all 240 left-hand keys (slots k = 1 to 3 of section BOTTANLg are "Gg ボタンk//Tg_k" without
// blanks, the rest "//"), then the two start-up messages. Tests change single entries by replacing their
// text.
QString completeMenuText(const QString& color = QStringLiteral("3"))
{
    QString t =
        QStringLiteral("[HEAD]\r\nTITLE=部品表\r\nCOLOR=") + color + QStringLiteral("\r\n[BOTTANR]\r\n");
    for (int i = 1; i <= 10; ++i)
        t += QStringLiteral("%1=%2\r\n").arg(i).arg(i <= 3 ? QStringLiteral("グループ%1").arg(i) : QString());
    for (int g = 1; g <= 10; ++g) {
        t += QStringLiteral("[BOTTANL%1]\r\n").arg(g);
        for (int k = 1; k <= 24; ++k)
            t +=
                QStringLiteral("%1=%2\r\n")
                    .arg(k)
                    .arg(k <= 3 ? QStringLiteral("G%1ボタン%2//T%1_%2").arg(g).arg(k) : QStringLiteral("//"));
    }
    t += QStringLiteral("[MSGCD]\r\nE001=既に起動しています。\r\nE002=メニュー設定エラー：\r\n");
    return t;
}

// The main menu settings loaded from a settings file, with what was shown meanwhile.
struct Loaded {
    ScriptedMessageService msgs;
    MenuState state;
    RecordingMenuView view;
    bool ok = false;
};
} // namespace

// The start of the program, the menu settings it loads, the settings file installed with it, and the
// main menu KVRCAD0000 shown and dressed from a settings file.
class TestMainMenu : public QObject
{
    Q_OBJECT
    std::unique_ptr<QTemporaryDir> m_dir;
    ScriptedMessageService m_msgs;
    // Every start of a test stays alive (with its lock) until the next test.
    std::vector<std::unique_ptr<AppContext>> m_contexts;
    std::vector<std::unique_ptr<Startup>> m_starts;

    QString folder() const { return m_dir->filePath(u"app"_s); }
    QString ini() const { return folder() + u"/PARA.ini"_s; }
    QString work() const { return folder() + u"/WORK"_s; }
    QString lock() const { return m_dir->filePath(u"buhinhyo.lock"_s); }

    Startup::Result start()
    {
        m_contexts.push_back(std::make_unique<AppContext>());
        m_contexts.back()->messages = &m_msgs;
        m_starts.push_back(std::make_unique<Startup>(*m_contexts.back(), lock()));
        return m_starts.back()->prepare(folder());
    }
    std::unique_ptr<Loaded> load(const QString& text, const QString& path = QString())
    {
        if (path.isEmpty())
            writeCp932File(ini(), text);
        auto l = std::make_unique<Loaded>();
        IniAccess access(l->msgs, path.isEmpty() ? ini() : path);
        l->ok = LoadMenuSettings(access, l->state, l->view);
        return l;
    }
    static QString menuWith(const QString& from, const QString& to)
    {
        return completeMenuText().replace(from, to);
    }
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
    void init()
    {
        m_starts.clear();
        m_contexts.clear();
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir().mkpath(folder()));
        m_msgs.clear();
    }
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
        QString seen; // the printer set-up button opens the page set-up dialog
        whenModal<QDialog>([&seen](QDialog* d) { seen = d->windowTitle(); });
        QTest::mouseClick(right(10), Qt::LeftButton);
        QCOMPARE(seen, u"プリンタ設定"_s);
        int setups = 0, ends = 0;
        m_menu->printerSetup = [&setups] { ++setups; };
        m_menu->endProgram = [&ends] { ++ends; };
        QTest::keyClick(m_menu.get(), Qt::Key_F9);
        left(0)->setFocus();
        QTest::keyClick(left(0), Qt::Key_F9);      // from a focused button the key reaches the menu
        QTest::keyClick(m_menu.get(), Qt::Key_F5); // no other key is handled
        QCOMPARE(setups, 2);
        QCOMPARE(f->messages.beeps, 3); // the click and both keys
        EnableMenuButtons(f->ctx, false);
        QTest::keyClick(m_menu.get(), Qt::Key_F9);
        QTest::keyClick(m_menu.get(), Qt::Key_Escape);
        EnableMenuButtons(f->ctx, true);
        QGuiApplication::clipboard()->setText(u"コピー中"_s);
        QTest::keyClick(m_menu.get(), Qt::Key_Escape);
        QCOMPARE(ends, 1);
        QVERIFY(!m_menu->isVisible());
        QVERIFY(QGuiApplication::clipboard()->text().isEmpty());
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
        QTemporaryDir dir;
        writeCp932File(dir.filePath(u"PARA.ini"_s), completeMenuText());
        ScriptedMessageService msgs;
        AppContext ctx;
        ctx.messages = &msgs;
        Startup startup(ctx, dir.filePath(u"start.lock"_s));
        int registered = 0;
        std::unique_ptr<MainMenu> menu = Main(
            ctx, startup, dir.path(), [&registered](MainMenu&) { ++registered; }, 200);
        QVERIFY(menu && menu->isVisible());
        QCOMPARE(registered, 1);
        QCOMPARE(menu->findChild<QPushButton*>(u"cmdLeft_0"_s)->text(), u"G1ボタン1"_s);
        QPointer<KVRInfo> info = menu->findChild<KVRInfo*>(u"KVRInfo"_s);
        QVERIFY(info && info->isVisible());
        // The menu is placed by the program, on the screen, with the information centred over it.
        QVERIFY(menu->testAttribute(Qt::WA_Moved));
        QVERIFY(menu->screen()->availableGeometry().contains(menu->pos()));
        QVERIFY((info->geometry().center() - menu->frameGeometry().center()).manhattanLength() < 40);
        QTRY_VERIFY_WITH_TIMEOUT(!info, 5000);
        QVERIFY(msgs.shown.isEmpty());
    }

    void startsInOrderSettingsWorkFolderThenOneCopy()
    {
        // No settings file: the catalogue is in the missing file, so what is seen is the reader's box
        // for the missing key; checked before the work folder is made, and no lock taken.
        QCOMPARE(start(), Startup::Result::NoSettingsFile);
        QCOMPARE(m_msgs.texts(),
                 QStringList(u"ＩＮＩファイルが無いかキーが存在しません。タグ：MSGCD　キー：E003"_s));
        QVERIFY(!QFileInfo::exists(work()) && !QFileInfo::exists(lock()));
        // A copy is running: a second start still makes the work folder, then is refused.
        writeCp932File(ini(), completeMenuText());
        m_msgs.clear();
        QLockFile first(lock());
        QVERIFY(first.tryLock(0));
        QCOMPARE(start(), Startup::Result::SecondInstance);
        QVERIFY(QFileInfo(work()).isDir());
        QCOMPARE(m_msgs.texts(), QStringList(u"既に起動しています。"_s));
        QCOMPARE(m_msgs.shown[0].title, u"エラー"_s);
        // Once the first copy has ended the program starts, reusing the folder untouched, and its lock
        // keeps a third copy out.
        first.unlock();
        writeCp932File(work() + u"/TEMP.xlsx"_s, u"old"_s);
        m_msgs.clear();
        QCOMPARE(start(), Startup::Result::Run);
        QVERIFY(m_msgs.shown.isEmpty());
        QCOMPARE(m_contexts.back()->WorkbookPath, work() + u"/TEMP.xlsx"_s);
        QCOMPARE(readFileBytes(work() + u"/TEMP.xlsx"_s), QByteArray("old"));
        QCOMPARE(start(), Startup::Result::SecondInstance);
    }

    void leftoversOfEarlierRuns()
    {
        writeCp932File(ini(), completeMenuText());
        // The lock file of a copy that crashed: its process is gone.
        writeCp932File(lock(), QString::number(std::numeric_limits<int>::max()) + u'\n' +
                                   QCoreApplication::applicationName() + u'\n' + QSysInfo::machineHostName() +
                                   u'\n');
        QCOMPARE(start(), Startup::Result::Run);
        QVERIFY(m_msgs.shown.isEmpty());
        // A file where the work folder should be.
        m_starts.clear();
        QDir(work()).removeRecursively();
        writeCp932File(work(), u"x"_s);
        QCOMPARE(start(), Startup::Result::WorkFolderFailed);
        QVERIFY(m_msgs.texts().value(0).contains(u"WORK"_s));
    }

    void damagedSettingsFilesEndWithOneClearBox()
    {
        for (const QByteArray& bytes : {QByteArray("\xFF\xFE[\0H\0E\0A\0D\0]\0\r\0\n\0", 18),
                                        QByteArray("[HEAD]\r\nTITLE=\x81\x20\xFD\xFE\r\n")}) {
            QFile f(ini());
            QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
            f.write(bytes);
            f.close();
            m_msgs.clear();
            QCOMPARE(start(), Startup::Result::DamagedSettings);
            QCOMPARE(m_msgs.shown.size(), 1);
            QVERIFY(m_msgs.shown[0].text.startsWith(u"設定ファイルを読み込めません。"_s));
            QVERIFY(m_msgs.shown[0].text.contains(u"行目"_s));
            QVERIFY(!QFileInfo::exists(work()));
        }
    }

    void menuSettingsAreLoadedInOrder()
    {
        QString text = menuWith(u"1=G4ボタン1//T4_1"_s, u"1=  設定  //  KVR  "_s);
        text.replace(u"6=//\r\n7=//\r\n"_s, u"6=見出し//\r\n7=タブ\t//\tT\r\n"_s);
        auto l = load(text);
        QVERIFY(l->ok && l->msgs.shown.isEmpty());
        QCOMPARE(l->state.MenuTitle, u"部品表"_s);
        // Right-hand buttons: an empty text hides the button.
        QCOMPARE(l->view.right[2], std::make_pair(true, u"グループ3"_s));
        QCOMPARE(l->view.right[3], std::make_pair(false, QString()));
        // Spaces around both halves are trimmed, and only spaces.
        const auto& t = l->state.ButtonTable;
        QCOMPARE(
            QStringList({t[3][0].Caption, t[3][0].Target, t[0][6].Caption, t[0][6].Target, t[0][5].Caption,
                         t[0][5].Target, t[9][2].Target}),
            QStringList({u"設定"_s, u"KVR"_s, u"タブ\t"_s, u"\tT"_s, u"見出し"_s, QString(), u"T10_3"_s}));
        // Title and colour come before the buttons; the left-hand block is dressed later.
        QCOMPARE(l->view.calls.mid(0, 2), QStringList({u"title"_s, u"color"_s}));
        QVERIFY(l->view.left.empty());
        // Group 0 shown: slot 4 ("//") is hidden. Group 10 exists and is empty; 11 is a range error.
        ShowButtonGroup(l->state, Int16(), l->view);
        QCOMPARE(l->view.left[0], std::make_pair(true, u"G1ボタン1"_s));
        QCOMPARE(l->view.left[4].first, false);
        QCOMPARE(l->view.left[5], std::make_pair(true, u"見出し"_s));
        ShowButtonGroup(l->state, Int16::from(10), l->view);
        QCOMPARE(l->view.left[0].first, false);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, ShowButtonGroup(l->state, Int16::from(11), l->view));
    }

    void colourIndexIsReadLeniently()
    {
        // -1: the designed colour stays.
        for (const auto& [color, index, bgr] : {std::tuple{u"0"_s, 0, -1LL},
                                                {u"abc"_s, 0, -1LL},
                                                {u"16"_s, 16, 0xC000C0LL},
                                                {u"2.5"_s, 2, 0xE0E0E0LL},
                                                {u"3.5"_s, 4, 0xC0E0FFLL},
                                                {u" 10色"_s, 10, 0x0000C0LL},
                                                {u"１６"_s, 0, -1LL}}) {
            auto l = load(completeMenuText(color));
            QVERIFY(l->ok && l->msgs.shown.isEmpty());
            QCOMPARE(l->state.MenuColorIndex.value(), index);
            QCOMPARE(l->view.color ? qint64(*l->view.color) : -1, bgr);
        }
        auto l = load(menuWith(u"TITLE=部品表\r\nCOLOR=3\r\n"_s, u"TITLE=\r\n"_s));
        QVERIFY(!l->view.title && !l->view.color);
        QCOMPARE(l->msgs.texts(),
                 QStringList(u"ＩＮＩファイルが無いかキーが存在しません。タグ：HEAD　キー：COLOR"_s));
    }

    void aBadEntryStopsTheLoadKeepingWhatWasApplied()
    {
        auto l = load(menuWith(u"3=G1ボタン3//T1_3"_s, u"3=区切りなし"_s));
        QVERIFY(!l->ok);
        QCOMPARE(l->msgs.shown.size(), 1);
        QVERIFY(l->msgs.shown[0].text.startsWith(u"メニュー設定エラー："_s));
        QVERIFY(l->msgs.shown[0].text.contains(u"[BOTTANL1] のキー 3"_s));
        // Title and colour stay applied, the right-hand buttons were never dressed, the entries
        // before the bad one are in the table.
        QVERIFY(l->view.title && l->view.color && l->view.right.empty());
        QCOMPARE(l->state.ButtonTable[0][1].Caption, u"G1ボタン2"_s);
        QVERIFY(l->state.ButtonTable[0][2].Caption.isEmpty());
        l = load(menuWith(u"[BOTTANL2]\r\n1=G2ボタン1//T2_1\r\n"_s, u"[BOTTANL2]\r\n"_s));
        QVERIFY(!l->ok);
        QCOMPARE(l->msgs.shown.size(), 2);
        QVERIFY(l->msgs.shown[1].text.contains(u"EOFタグ：BOTTANL2"_s));
        // A colour beyond 16 bits is an overflow that stops the load after the title.
        l = load(completeMenuText(u"99999"_s));
        QCOMPARE(l->msgs.texts(), QStringList(u"メニュー設定エラー：オーバーフローしました。"_s));
        QVERIFY(l->view.title && !l->view.color);
    }

    void boxesSpeakJapaneseAndScreensCentreOverTheirOwner()
    {
        QVERIFY(LoadQtJapanese(*qApp));
        const QString line =
            u"取込ﾌｧｲﾙのデータを登録します。「いいえ」を選ぶと何もしません。よろしいですか？"_s;
        QStringList buttons;
        bool wrapped = true;
        int width = 0;
        QTimer::singleShot(0, [&] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            QVERIFY(box);
            for (QAbstractButton* b : box->buttons())
                buttons << b->text();
            auto* label = box->findChild<QLabel*>(u"qt_msgbox_label"_s);
            wrapped = label->height() > label->fontMetrics().height() * 3 / 2;
            width = box->width();
            box->reject();
        });
        WidgetMessageService().show(MsgIcon::Question, MsgButtons::YesNo, u"インフォメーション"_s, line);
        buttons.sort();
        QCOMPARE(buttons, (QStringList{u"いいえ"_s, u"はい"_s}));
        QVERIFY(!wrapped && width > QFontMetrics(screenFont()).horizontalAdvance(line));
        QDialogButtonBox dialogButtons(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
        QCOMPARE(dialogButtons.button(QDialogButtonBox::Cancel)->text(), u"キャンセル"_s);
        // The file dialog gives back the chosen file, or nothing when cancelled.
        QTemporaryDir dir;
        const QString chosen = dir.filePath(u"客先A_製作部品表_雛形.xlsx"_s);
        QFile chosenFile(chosen);
        QVERIFY(chosenFile.open(QIODevice::WriteOnly) && chosenFile.write(QByteArray(1500, 'x')) == 1500);
        chosenFile.close();
        for (const bool accept : {true, false}) {
            QString title;
            QString columns;
            QTimer::singleShot(0, [&] {
                auto* files = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
                QVERIFY(files);
                title = files->windowTitle();
                files->selectFile(chosen);
                // Its size, type and date columns as the desks' file windows show them, whatever the
                // locale of the session.
                QAbstractProxyModel* shown = files->proxyModel();
                auto* fs = qobject_cast<QFileSystemModel*>(shown ? shown->sourceModel() : nullptr);
                QVERIFY(fs);
                const QModelIndex at = shown->mapFromSource(fs->index(chosen));
                for (int column = 1; column <= 3; ++column)
                    columns += shown->index(at.row(), column, at.parent()).data().toString() + u'|';
                QDialog* dialog = files; // accept() as the 開く button calls it
                accept ? dialog->accept() : dialog->reject();
            });
            QCOMPARE(
                WidgetFileDialogService().getOpenFileName(u"EXCELﾌｧｲﾙ指定"_s, {u"EXCELファイル (*.xlsx)"_s}),
                accept ? chosen : QString());
            QCOMPARE(title, u"EXCELﾌｧｲﾙ指定"_s);
            QVERIFY2(
                QRegularExpression(u"^2 KB\\|(Microsoft Excel ワークシート|Excel 2007 スプレッドシート|XLSX "
                                   u"ファイル)\\|20\\d\\d/\\d\\d/\\d\\d \\d\\d:\\d\\d\\|$"_s)
                    .match(columns)
                    .hasMatch(),
                qPrintable(columns));
        }
        // A work screen is shown owned by the menu, centred over it.
        QWidget owner;
        owner.setObjectName(u"KVRCAD0000"_s);
        owner.setGeometry(100, 50, 500, 400);
        owner.show();
        auto* screen = new QWidget;
        screen->setObjectName(u"KVRCAD0001"_s);
        screen->resize(300, 200);
        ShowScreen(screen, &owner);
        QCOMPARE(screen->parentWidget(), &owner);
        // A window of the owner's kind that the window manager keeps above it (a plain window has no
        // owner for it).
        QCOMPARE(screen->windowType(), Qt::Dialog);
        QCOMPARE(screen->windowHandle()->transientParent(), owner.windowHandle());
        QVERIFY((screen->frameGeometry().center() - owner.frameGeometry().center()).manhattanLength() < 40);
    }

    void shippedSettingsFileIsCompleteShiftJis()
    {
        const QByteArray bytes = readFileBytes(shippedIniPath());
        QVERIFY(IniFile::describeDamage(shippedIniPath()).isEmpty() && !bytes.startsWith("\xEF\xBB\xBF"));
        QCOMPARE(bytes.count('\n'), bytes.count("\r\n"));
        for (const QByteArray& line : bytes.split('\n')) // every value fits in the 99 bytes read back
            if (!line.startsWith(';') && line.indexOf('=') >= 0)
                QVERIFY2(line.trimmed().size() - line.indexOf('=') - 1 <= 99, line.constData());
        // Every key the program reads with "GET".
        QStringList keys =
            u"HEAD/TITLE HEAD/COLOR DBMS/DB LOCAL/MDB ORACLE/DSN ORACLE/UID ORACLE/PWD ODBC/PRV "
            "ODBC/DSN ODBC/UID ODBC/PWD KVRCAD0002COMBOMAX/MAX"_s.split(u' ');
        for (const QString& code :
             u"E001 E002 E003 E102 E103 E108 E109 E111 E114 E115 E117 E118 E120 E150 I100 "
             "Q001 Q105"_s.split(u' '))
            keys << u"MSGCD/"_s + code;
        ScriptedMessageService msgs;
        IniAccess ini(msgs, shippedIniPath());
        for (const QString& key : keys)
            QVERIFY2(ini.find(key.section(u'/', 0, 0), key.section(u'/', 1)) != u"NOT FOUND",
                     qPrintable(key));
        for (int n = 1; n <= 8; ++n) // list n feeds slot n - 1
            QCOMPARE(StrictInt(ini.get(u"KVRCAD0002COMBO%1"_s.arg(n), u"INDEX"_s)), n - 1);
        for (const QString& unit : u"個 本 R L R/L× L/R× 計"_s.split(u' '))
            QVERIFY2(ReadList(ini, u"STANI"_s).contains(unit), qPrintable(unit));
        // Every customer of the sample tables can be chosen.
        static const QRegularExpression header(
            u"INSERT INTO BUHINHYO \\(.*VALUES \\('[^']*','[^']*','[^']*','([^']*)'"_s);
        QStringList customers{u"株式会社サンプル機工"_s};
        for (auto it = header.globalMatch(
                 QString::fromUtf8(readFileBytes(sourceDir() + u"/data/sample-data.sql"_s)));
             it.hasNext();)
            customers << it.next().captured(1);
        QVERIFY(customers.size() > 1);
        for (const QString& customer : customers)
            QVERIFY2(ReadList(ini, u"USER"_s).contains(customer), qPrintable(customer));
        QCOMPARE(ini.get(u"LOCAL"_s, u"MDB"_s), u"DB\\CADDB.sqlite"_s);
        QVERIFY(msgs.shown.isEmpty());
        // The menu it describes: the two work screens in group 0.
        auto l = load(QString(), shippedIniPath());
        QVERIFY(l->ok && l->msgs.shown.isEmpty());
        QCOMPARE(l->state.ButtonTable[0][0].Caption, u"印刷用エクセル設定"_s);
        QCOMPARE(l->state.ButtonTable[0][1].Caption, u"部品表作成"_s);
        for (int k = 2; k < kMenuSlots; ++k)
            QVERIFY(l->state.ButtonTable[0][k].Caption.isEmpty());
    }
};

QTEST_MAIN(TestMainMenu)
#include "TestMainMenu.moc"
