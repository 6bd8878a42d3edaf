#include "AppContext.h"
#include "IniAccess.h"
#include "Initial.h"
#include "MenuTestSupport.h"
#include "MessageService.h"
#include "RuntimeError.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QLockFile>
#include <QRandomGenerator>
#include <QtTest>

class TestStartup : public QObject
{
    Q_OBJECT
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_folder;
    QString m_lockPath;
    ScriptedMessageService m_msgs;

    std::unique_ptr<AppContext> makeContext()
    {
        auto ctx = std::make_unique<AppContext>();
        ctx->messages = &m_msgs;
        return ctx;
    }
    QString ini() const { return m_folder + QStringLiteral("/PARA.ini"); }
    void writeRaw(const QByteArray& bytes)
    {
        QFile f(ini());
        QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(bytes);
    }

private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_folder = m_dir->filePath(QStringLiteral("app"));
        QVERIFY(QDir().mkpath(m_folder));
        m_lockPath = m_dir->filePath(QStringLiteral("buhinhyo.lock"));
        m_msgs.clear();
    }

    void pathsHaveOneSeparator()
    {
        for (const QString& given : QStringList{m_folder, m_folder + u'/', m_folder + QStringLiteral("//")}) {
            AppContext ctx;
            ctx.setPaths(given);
            QCOMPARE(ctx.AppPath, m_folder + u'/');
            QCOMPARE(ctx.DataFolder, ctx.AppPath);
            QCOMPARE(ctx.IniPath, m_folder + QStringLiteral("/PARA.ini"));
            QCOMPARE(ctx.DefaultDbPath, m_folder + QStringLiteral("/DB/CADDB.sqlite"));
            QCOMPARE(ctx.WorkbookPath, m_folder + QStringLiteral("/WORK/TEMP.xlsx"));
        }
    }

    void missingSettingsFileShowsTheReadersBoxAndStops()
    {
        auto ctx = makeContext();
        Startup startup(*ctx, m_lockPath);
        QCOMPARE(startup.prepare(m_folder), Startup::Result::NoSettingsFile);
        // The catalogue is in the missing file: what is seen is the box for the missing key.
        QCOMPARE(m_msgs.shown.size(), 1);
        QCOMPARE(m_msgs.shown[0].title, QStringLiteral("ＩＮＩファイルエラー"));
        QCOMPARE(m_msgs.shown[0].text,
                 QStringLiteral("ＩＮＩファイルが無いかキーが存在しません。タグ：MSGCD　キー：E003"));
        QCOMPARE(m_msgs.beeps, 1);
        // Checked before the work folder is made, and no lock taken.
        QVERIFY(!QFileInfo::exists(m_folder + QStringLiteral("/WORK")));
        QVERIFY(!QFileInfo::exists(m_lockPath));
    }

    void workFolderIsMadeAndReused()
    {
        writeCp932File(ini(), completeMenuText());
        {
            auto ctx = makeContext();
            Startup startup(*ctx, m_lockPath);
            QCOMPARE(startup.prepare(m_folder), Startup::Result::Run);
            QVERIFY(QFileInfo(m_folder + QStringLiteral("/WORK")).isDir());
            QCOMPARE(ctx->WorkbookPath, m_folder + QStringLiteral("/WORK/TEMP.xlsx"));
            QVERIFY(m_msgs.shown.isEmpty());
            QFile keep(m_folder + QStringLiteral("/WORK/TEMP.xlsx"));
            QVERIFY(keep.open(QIODevice::WriteOnly));
            keep.write("old");
        }
        // A second run (the first has ended) reuses the folder and deletes nothing.
        auto ctx = makeContext();
        Startup startup(*ctx, m_lockPath);
        QCOMPARE(startup.prepare(m_folder), Startup::Result::Run);
        QCOMPARE(readFileBytes(m_folder + QStringLiteral("/WORK/TEMP.xlsx")), QByteArray("old"));
    }

    void workFolderThatCannotBeMadeEndsWithAnErrorBox()
    {
        writeCp932File(ini(), completeMenuText());
        QFile blocker(m_folder + QStringLiteral("/WORK"));
        QVERIFY(blocker.open(QIODevice::WriteOnly)); // a file where the folder should be
        blocker.close();
        auto ctx = makeContext();
        Startup startup(*ctx, m_lockPath);
        QCOMPARE(startup.prepare(m_folder), Startup::Result::WorkFolderFailed);
        QCOMPARE(m_msgs.shown.size(), 1);
        QVERIFY(m_msgs.shown[0].text.contains(QStringLiteral("WORK")));
    }

    void secondStartMakesTheWorkFolderThenIsRefused()
    {
        writeCp932File(ini(), completeMenuText());
        QLockFile first(m_lockPath);
        QVERIFY(first.tryLock(0));
        auto ctx = makeContext();
        Startup startup(*ctx, m_lockPath);
        QCOMPARE(startup.prepare(m_folder), Startup::Result::SecondInstance);
        QVERIFY(QFileInfo(m_folder + QStringLiteral("/WORK")).isDir());
        QCOMPARE(m_msgs.shown.size(), 1);
        QCOMPARE(m_msgs.shown[0].title, QStringLiteral("エラー"));
        QCOMPARE(m_msgs.shown[0].text, QStringLiteral("既に起動しています。"));
        QCOMPARE(m_msgs.shown[0].icon, MsgIcon::Stop);
        // Once the first copy has ended, the program starts, and its lock keeps a third copy out.
        first.unlock();
        m_msgs.clear();
        auto ctx2 = makeContext();
        Startup again(*ctx2, m_lockPath);
        QCOMPARE(again.prepare(m_folder), Startup::Result::Run);
        QVERIFY(again.lock() && again.lock()->isLocked());
        auto ctx3 = makeContext();
        Startup third(*ctx3, m_lockPath);
        QCOMPARE(third.prepare(m_folder), Startup::Result::SecondInstance);
    }

    void aLockLeftByAnEndedCopyDoesNotKeepTheProgramOut()
    {
        writeCp932File(ini(), completeMenuText());
        // The lock file of a copy that crashed: its process is gone.
        QFile stale(m_lockPath);
        QVERIFY(stale.open(QIODevice::WriteOnly));
        stale.write(QByteArray::number(std::numeric_limits<int>::max()) + '\n' +
                    QCoreApplication::applicationName().toUtf8() + '\n' +
                    QSysInfo::machineHostName().toUtf8() + '\n');
        stale.close();
        auto ctx = makeContext();
        Startup startup(*ctx, m_lockPath);
        QCOMPARE(startup.prepare(m_folder), Startup::Result::Run);
        QVERIFY(m_msgs.shown.isEmpty());
    }

    void damagedSettingsFilesEndWithOneClearBox_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QByteArray random(64 * 1024, '\0');
        QRandomGenerator gen(20260101);
        for (char& c : random)
            c = char(gen.bounded(256));
        QTest::newRow("random bytes") << random;
        QTest::newRow("UTF-16") << QByteArray("\xFF\xFE[\0H\0E\0A\0D\0]\0\r\0\n\0", 18);
        QTest::newRow("not Shift-JIS") << QByteArray("[HEAD]\r\nTITLE=\x81\x20\xFD\xFE\r\n");
    }

    void damagedSettingsFilesEndWithOneClearBox()
    {
        QFETCH(QByteArray, bytes);
        writeRaw(bytes);
        auto ctx = makeContext();
        Startup startup(*ctx, m_lockPath);
        QCOMPARE(startup.prepare(m_folder), Startup::Result::DamagedSettings);
        QCOMPARE(m_msgs.shown.size(), 1);
        QCOMPARE(m_msgs.shown[0].title, QStringLiteral("ＩＮＩファイルエラー"));
        QVERIFY(m_msgs.shown[0].text.startsWith(QStringLiteral("設定ファイルを読み込めません。")));
        QVERIFY(m_msgs.shown[0].text.contains(QStringLiteral("行目")));
        QVERIFY(!QFileInfo::exists(m_folder + QStringLiteral("/WORK")));
    }

    void largeButValidFilesStartNormally_data()
    {
        QTest::addColumn<QString>("titleLine");
        QTest::addColumn<QString>("extra");
        QTest::addColumn<QString>("title");
        QString sections;
        for (int i = 0; i < 10000; ++i)
            sections += QStringLiteral("[S%1]\r\nK=%1\r\n").arg(i);
        QTest::newRow("10,000 sections")
            << QStringLiteral("TITLE=部品表") << sections << QStringLiteral("部品表");
        // A 100 KB title comes back as its first 99 bytes: 49 double-byte characters.
        QTest::newRow("100 KB line") << QStringLiteral("TITLE=") + QString(50 * 1024, QChar(0x90E8))
                                     << QString() << QString(49, QChar(0x90E8));
    }

    void largeButValidFilesStartNormally()
    {
        QFETCH(QString, titleLine);
        QFETCH(QString, extra);
        QFETCH(QString, title);
        QString text = completeMenuText() + extra;
        text.replace(QStringLiteral("TITLE=部品表"), titleLine);
        writeCp932File(ini(), text);
        auto ctx = makeContext();
        Startup startup(*ctx, m_lockPath);
        QCOMPARE(startup.prepare(m_folder), Startup::Result::Run);
        MenuState state;
        RecordingMenuView view;
        QVERIFY(LoadMenuSettings(*ctx->ini, state, view));
        QCOMPARE(*view.title, title);
        QVERIFY(m_msgs.shown.isEmpty());
    }

    void utf8FilesAreReadAsUtf8()
    {
        const QByteArray text = completeMenuText().toUtf8();
        for (const QByteArray& bytes : QList<QByteArray>{QByteArray("\xEF\xBB\xBF") + text, text}) {
            writeRaw(bytes);
            m_msgs.clear();
            auto ctx = makeContext();
            Startup startup(*ctx, m_lockPath);
            QCOMPARE(startup.prepare(m_folder), Startup::Result::Run);
            MenuState state;
            RecordingMenuView view;
            QVERIFY(LoadMenuSettings(*ctx->ini, state, view));
            QCOMPARE(*view.title, QStringLiteral("部品表"));
            QCOMPARE(state.ButtonTable[0][0].Caption, QStringLiteral("G1ボタン1"));
            QVERIFY(m_msgs.shown.isEmpty());
        }
    }

    void menuSettingsAreLoadedInOrder()
    {
        writeCp932File(ini(), completeMenuText());
        ScriptedMessageService msgs;
        IniAccess access(msgs, ini());
        IniFile& file = access.file(ini());
        QCOMPARE(
            file.write(QStringLiteral("BOTTANL4"), QStringLiteral("1"), QStringLiteral("  設定  //  KVR  ")),
            IniFile::WriteResult::Ok);
        QCOMPARE(file.write(QStringLiteral("BOTTANL1"), QStringLiteral("5"), QStringLiteral("//")),
                 IniFile::WriteResult::Ok);
        QCOMPARE(file.write(QStringLiteral("BOTTANL1"), QStringLiteral("6"), QStringLiteral("見出し//")),
                 IniFile::WriteResult::Ok);
        MenuState state;
        RecordingMenuView view;
        QVERIFY(LoadMenuSettings(access, state, view));
        QVERIFY(msgs.shown.isEmpty());
        QCOMPARE(state.MenuTitle, QStringLiteral("部品表"));
        QCOMPARE(*view.color, 0xC0C0FFu);
        QCOMPARE(state.RightButtonCaptions[0], QStringLiteral("グループ1"));
        // Right-hand buttons: words put in front; an empty text hides the button.
        QCOMPARE(view.right[2], std::make_pair(true, QStringLiteral("グループ3")));
        QCOMPARE(view.right[3], std::make_pair(false, QString()));
        QCOMPARE(view.right.size(), size_t(10));
        // Blanks around both halves are trimmed.
        QCOMPARE(state.ButtonTable[3][0].Caption, QStringLiteral("設定"));
        QCOMPARE(state.ButtonTable[3][0].Target, QStringLiteral("KVR"));
        QCOMPARE(state.ButtonTable[0][5].Caption, QStringLiteral("見出し"));
        QVERIFY(state.ButtonTable[0][5].Target.isEmpty());
        QVERIFY(state.ButtonTable[0][0].Extra.isEmpty());
        QCOMPARE(state.ButtonTable[9][2].Target, QStringLiteral("T10_3"));
        // Title and colour come before the buttons; the buttons are dressed last.
        QCOMPARE(view.calls.mid(0, 2), QStringList({QStringLiteral("title"), QStringLiteral("color")}));
        QVERIFY(view.left.empty());

        // Group 0 shown: slot 4 ("//") is hidden, slot 0 shows its caption.
        ShowButtonGroup(state, Int16(), view);
        QCOMPARE(view.left.size(), size_t(24));
        QCOMPARE(view.left[0], std::make_pair(true, QStringLiteral("G1ボタン1")));
        QCOMPARE(view.left[4].first, false);
        QCOMPARE(view.left[5], std::make_pair(true, QStringLiteral("見出し")));
        // Group 10 exists and is empty; 11 and -1 are range errors.
        ShowButtonGroup(state, Int16::from(10), view);
        QCOMPARE(view.left[0].first, false);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, ShowButtonGroup(state, Int16::from(11), view));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, ShowButtonGroup(state, Int16::from(-1), view));
    }

    void colourIndexIsReadLeniently_data()
    {
        QTest::addColumn<QString>("color");
        QTest::addColumn<int>("index");
        QTest::addColumn<qint64>("bgr"); // -1: the designed colour stays
        QTest::newRow("0") << QStringLiteral("0") << 0 << qint64(-1);
        QTest::newRow("17") << QStringLiteral("17") << 17 << qint64(-1);
        QTest::newRow("abc") << QStringLiteral("abc") << 0 << qint64(-1);
        QTest::newRow("-3") << QStringLiteral("-3") << -3 << qint64(-1);
        QTest::newRow("16") << QStringLiteral("16") << 16 << qint64(0xC000C0);
        QTest::newRow("1") << QStringLiteral("1") << 1 << qint64(0xFFFFFF);
        QTest::newRow("2.5 rounds to even") << QStringLiteral("2.5") << 2 << qint64(0xE0E0E0);
        QTest::newRow("3.5 rounds to even") << QStringLiteral("3.5") << 4 << qint64(0xC0E0FF);
        QTest::newRow("numeric prefix") << QStringLiteral(" 10色") << 10 << qint64(0x0000C0);
        QTest::newRow("exponent") << QStringLiteral("1.2e1") << 12 << qint64(0x00C0C0);
        QTest::newRow("full-width digits") << QStringLiteral("１６") << 0 << qint64(-1);
    }

    void colourIndexIsReadLeniently()
    {
        QFETCH(QString, color);
        QFETCH(int, index);
        QFETCH(qint64, bgr);
        writeCp932File(ini(), completeMenuText(color));
        ScriptedMessageService msgs;
        IniAccess access(msgs, ini());
        MenuState state;
        RecordingMenuView view;
        QVERIFY(LoadMenuSettings(access, state, view));
        QCOMPARE(state.MenuColorIndex.value(), index);
        if (bgr < 0)
            QVERIFY(!view.color);
        else
            QCOMPARE(qint64(*view.color), bgr);
        QVERIFY(msgs.shown.isEmpty());
    }

    void missingColourAndEmptyTitleKeepTheDesign()
    {
        QString text = completeMenuText();
        text.replace(QStringLiteral("TITLE=部品表\r\nCOLOR=3\r\n"), QStringLiteral("TITLE=\r\n"));
        writeCp932File(ini(), text);
        ScriptedMessageService msgs;
        IniAccess access(msgs, ini());
        MenuState state;
        RecordingMenuView view;
        QVERIFY(LoadMenuSettings(access, state, view));
        QVERIFY(!view.title);
        QVERIFY(!view.color);
        QCOMPARE(msgs.shown.size(), 1); // the missing COLOR key
        QCOMPARE(msgs.shown[0].text,
                 QStringLiteral("ＩＮＩファイルが無いかキーが存在しません。タグ：HEAD　キー：COLOR"));
    }

    void aBadEntryStopsTheLoadKeepingWhatWasApplied()
    {
        writeCp932File(ini(), completeMenuText());
        ScriptedMessageService msgs;
        IniAccess access(msgs, ini());
        QCOMPARE(access.file(ini()).write(QStringLiteral("BOTTANL1"), QStringLiteral("3"),
                                          QStringLiteral("区切りなし")),
                 IniFile::WriteResult::Ok);
        MenuState state;
        RecordingMenuView view;
        QVERIFY(!LoadMenuSettings(access, state, view));
        // One E002 box naming the entry.
        QCOMPARE(msgs.shown.size(), 1);
        QCOMPARE(msgs.shown[0].title, QStringLiteral("エラー"));
        QVERIFY(msgs.shown[0].text.startsWith(QStringLiteral("メニュー設定エラー：")));
        QVERIFY(msgs.shown[0].text.contains(QStringLiteral("[BOTTANL1] のキー 3")));
        // Title and colour stay applied; the right-hand buttons were never dressed.
        QCOMPARE(*view.title, QStringLiteral("部品表"));
        QVERIFY(view.color);
        QVERIFY(view.right.empty());
        QCOMPARE(state.RightButtonCaptions[1], QStringLiteral("グループ2"));
        // The entries before the bad one are in the table; the rest stay empty.
        QCOMPARE(state.ButtonTable[0][1].Caption, QStringLiteral("G1ボタン2"));
        QVERIFY(state.ButtonTable[0][2].Caption.isEmpty());
        QVERIFY(state.ButtonTable[1][0].Caption.isEmpty());
        // The start-up goes on with group 0.
        ShowButtonGroup(state, Int16(), view);
        QCOMPARE(view.left[1], std::make_pair(true, QStringLiteral("G1ボタン2")));
        QCOMPARE(view.left[2].first, false);
    }

    void aMissingEntryShowsTheReadersBoxThenStops()
    {
        QString text = completeMenuText();
        text.replace(QStringLiteral("[BOTTANL2]\r\n1=G2ボタン1//T2_1\r\n"), QStringLiteral("[BOTTANL2]\r\n"));
        writeCp932File(ini(), text);
        ScriptedMessageService msgs;
        IniAccess access(msgs, ini());
        MenuState state;
        RecordingMenuView view;
        QVERIFY(!LoadMenuSettings(access, state, view));
        QCOMPARE(msgs.shown.size(), 2);
        QCOMPARE(msgs.shown[0].text,
                 QStringLiteral("ＩＮＩファイルが無いかキーが存在しません。タグ：BOTTANL2　キー：1"));
        QVERIFY(msgs.shown[1].text.contains(QStringLiteral("EOFタグ：BOTTANL2")));
        QCOMPARE(state.ButtonTable[0][23].Caption, QString());
        QCOMPARE(state.ButtonTable[0][0].Caption, QStringLiteral("G1ボタン1"));
    }

    void aColourBeyondSixteenBitsStopsTheLoad()
    {
        writeCp932File(ini(), completeMenuText(QStringLiteral("99999")));
        ScriptedMessageService msgs;
        IniAccess access(msgs, ini());
        MenuState state;
        RecordingMenuView view;
        QVERIFY(!LoadMenuSettings(access, state, view));
        QCOMPARE(msgs.shown.size(), 1);
        QCOMPARE(msgs.shown[0].text, QStringLiteral("メニュー設定エラー：オーバーフローしました。"));
        QCOMPARE(*view.title, QStringLiteral("部品表"));
        QVERIFY(!view.color);
    }
};

QTEST_GUILESS_MAIN(TestStartup)
#include "TestStartup.moc"
