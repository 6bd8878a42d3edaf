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

using namespace Qt::StringLiterals;

namespace
{

// The main menu settings loaded from a settings file, with what was shown meanwhile.
struct Loaded {
    ScriptedMessageService msgs;
    MenuState state;
    RecordingMenuView view;
    bool ok = false;
};

} // namespace

class TestStartup : public QObject
{
    Q_OBJECT
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_folder;
    QString m_lockPath;
    ScriptedMessageService m_msgs;
    // Every start of a test stays alive (with its lock) until the next test.
    std::vector<std::unique_ptr<AppContext>> m_contexts;
    std::vector<std::unique_ptr<Startup>> m_starts;

    QString ini() const { return m_folder + u"/PARA.ini"_s; }
    QString work() const { return m_folder + u"/WORK"_s; }

    Startup::Result start()
    {
        m_contexts.push_back(std::make_unique<AppContext>());
        m_contexts.back()->messages = &m_msgs;
        m_starts.push_back(std::make_unique<Startup>(*m_contexts.back(), m_lockPath));
        return m_starts.back()->prepare(m_folder);
    }

    std::unique_ptr<Loaded> load(const QString& text)
    {
        writeCp932File(ini(), text);
        auto l = std::make_unique<Loaded>();
        IniAccess access(l->msgs, ini());
        l->ok = LoadMenuSettings(access, l->state, l->view);
        return l;
    }
    static QString menuWith(const QString& from, const QString& to)
    {
        return completeMenuText().replace(from, to);
    }

private Q_SLOTS:
    void init()
    {
        m_starts.clear();
        m_contexts.clear();
        m_dir = std::make_unique<QTemporaryDir>();
        m_folder = m_dir->filePath(u"app"_s);
        QVERIFY(QDir().mkpath(m_folder));
        m_lockPath = m_dir->filePath(u"buhinhyo.lock"_s);
        m_msgs.clear();
    }

    void pathsHaveOneSeparator()
    {
        for (const QString& given : QStringList{m_folder, m_folder + u'/', m_folder + u"//"_s}) {
            AppContext ctx;
            ctx.setPaths(given);
            QCOMPARE(ctx.AppPath, m_folder + u'/');
            QCOMPARE(ctx.DataFolder, ctx.AppPath);
            QCOMPARE(ctx.IniPath, m_folder + u"/PARA.ini"_s);
            QCOMPARE(ctx.DefaultDbPath, m_folder + u"/DB/CADDB.sqlite"_s);
            QCOMPARE(ctx.WorkbookPath, work() + u"/TEMP.xlsx"_s);
        }
    }

    void startsInOrderSettingsWorkFolderThenOneCopy()
    {
        // No settings file: the catalogue is in the missing file, so what is seen is the reader's
        // box for the missing key; checked before the work folder is made, and no lock taken.
        QCOMPARE(start(), Startup::Result::NoSettingsFile);
        QCOMPARE(m_msgs.shown.size(), 1);
        QCOMPARE(m_msgs.shown[0].title, u"ＩＮＩファイルエラー"_s);
        QCOMPARE(m_msgs.shown[0].text,
                 u"ＩＮＩファイルが無いかキーが存在しません。タグ：MSGCD　キー：E003"_s);
        QCOMPARE(m_msgs.beeps, 1);
        QVERIFY(!QFileInfo::exists(work()));
        QVERIFY(!QFileInfo::exists(m_lockPath));

        // A copy is running: a second start still makes the work folder, then is refused.
        writeCp932File(ini(), completeMenuText());
        m_msgs.clear();
        QLockFile first(m_lockPath);
        QVERIFY(first.tryLock(0));
        QCOMPARE(start(), Startup::Result::SecondInstance);
        QVERIFY(QFileInfo(work()).isDir());
        QCOMPARE(m_msgs.shown.size(), 1);
        QCOMPARE(m_msgs.shown[0].title, u"エラー"_s);
        QCOMPARE(m_msgs.shown[0].text, u"既に起動しています。"_s);
        QCOMPARE(m_msgs.shown[0].icon, MsgIcon::Stop);

        // Once the first copy has ended, the program starts, reuses the folder untouched, and its
        // lock keeps a third copy out.
        first.unlock();
        QFile keep(work() + u"/TEMP.xlsx"_s);
        QVERIFY(keep.open(QIODevice::WriteOnly));
        keep.write("old");
        keep.close();
        m_msgs.clear();
        QCOMPARE(start(), Startup::Result::Run);
        QVERIFY(m_msgs.shown.isEmpty());
        QCOMPARE(m_contexts.back()->WorkbookPath, work() + u"/TEMP.xlsx"_s);
        QCOMPARE(readFileBytes(work() + u"/TEMP.xlsx"_s), QByteArray("old"));
        QCOMPARE(start(), Startup::Result::SecondInstance);
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
        QCOMPARE(start(), Startup::Result::Run);
        QVERIFY(m_msgs.shown.isEmpty());
    }

    void workFolderThatCannotBeMadeEndsWithAnErrorBox()
    {
        writeCp932File(ini(), completeMenuText());
        QFile blocker(work()); // a file where the folder should be
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        QCOMPARE(start(), Startup::Result::WorkFolderFailed);
        QCOMPARE(m_msgs.shown.size(), 1);
        QVERIFY(m_msgs.shown[0].text.contains(u"WORK"_s));
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
        QFile f(ini());
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(bytes);
        f.close();
        QCOMPARE(start(), Startup::Result::DamagedSettings);
        QCOMPARE(m_msgs.shown.size(), 1);
        QCOMPARE(m_msgs.shown[0].title, u"ＩＮＩファイルエラー"_s);
        QVERIFY(m_msgs.shown[0].text.startsWith(u"設定ファイルを読み込めません。"_s));
        QVERIFY(m_msgs.shown[0].text.contains(u"行目"_s));
        QVERIFY(!QFileInfo::exists(work()));
    }

    void menuSettingsAreLoadedInOrder()
    {
        QString text = menuWith(u"1=G4ボタン1//T4_1"_s, u"1=  設定  //  KVR  "_s);
        text.replace(u"3=G1ボタン3//T1_3\r\n4=//\r\n5=//\r\n6=//\r\n7=//\r\n"_s,
                     u"3=G1ボタン3//T1_3\r\n4=//\r\n5=//\r\n6=見出し//\r\n7=タブ\t//\tT\r\n"_s);
        auto l = load(text);
        QVERIFY(l->ok);
        QVERIFY(l->msgs.shown.isEmpty());
        QCOMPARE(l->state.MenuTitle, u"部品表"_s);
        QCOMPARE(*l->view.color, 0xC0C0FFu);
        // Right-hand buttons: words put in front; an empty text hides the button.
        QCOMPARE(l->view.right[2], std::make_pair(true, u"グループ3"_s));
        QCOMPARE(l->view.right[3], std::make_pair(false, QString()));
        QCOMPARE(l->view.right.size(), size_t(10));
        // Spaces around both halves are trimmed, and only spaces.
        QCOMPARE(l->state.ButtonTable[3][0].Caption, u"設定"_s);
        QCOMPARE(l->state.ButtonTable[3][0].Target, u"KVR"_s);
        QCOMPARE(l->state.ButtonTable[0][6].Caption, u"タブ\t"_s);
        QCOMPARE(l->state.ButtonTable[0][6].Target, u"\tT"_s);
        QCOMPARE(l->state.ButtonTable[0][5].Caption, u"見出し"_s);
        QVERIFY(l->state.ButtonTable[0][5].Target.isEmpty());
        QVERIFY(l->state.ButtonTable[0][0].Extra.isEmpty());
        QCOMPARE(l->state.ButtonTable[9][2].Target, u"T10_3"_s);
        // Title and colour come before the buttons; the left-hand block is dressed later.
        QCOMPARE(l->view.calls.mid(0, 2), QStringList({u"title"_s, u"color"_s}));
        QVERIFY(l->view.left.empty());

        // Group 0 shown: slot 4 ("//") is hidden, slot 0 shows its caption.
        ShowButtonGroup(l->state, Int16(), l->view);
        QCOMPARE(l->view.left.size(), size_t(24));
        QCOMPARE(l->view.left[0], std::make_pair(true, u"G1ボタン1"_s));
        QCOMPARE(l->view.left[4].first, false);
        QCOMPARE(l->view.left[5], std::make_pair(true, u"見出し"_s));
        // Group 10 exists and is empty; 11 and -1 are range errors.
        ShowButtonGroup(l->state, Int16::from(10), l->view);
        QCOMPARE(l->view.left[0].first, false);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, ShowButtonGroup(l->state, Int16::from(11), l->view));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, ShowButtonGroup(l->state, Int16::from(-1), l->view));
    }

    void colourIndexIsReadLeniently_data()
    {
        QTest::addColumn<QString>("color");
        QTest::addColumn<int>("index");
        QTest::addColumn<qint64>("bgr"); // -1: the designed colour stays
        QTest::newRow("0") << u"0"_s << 0 << qint64(-1);
        QTest::newRow("17") << u"17"_s << 17 << qint64(-1);
        QTest::newRow("abc") << u"abc"_s << 0 << qint64(-1);
        QTest::newRow("-3") << u"-3"_s << -3 << qint64(-1);
        QTest::newRow("16") << u"16"_s << 16 << qint64(0xC000C0);
        QTest::newRow("1") << u"1"_s << 1 << qint64(0xFFFFFF);
        QTest::newRow("2.5 rounds to even") << u"2.5"_s << 2 << qint64(0xE0E0E0);
        QTest::newRow("3.5 rounds to even") << u"3.5"_s << 4 << qint64(0xC0E0FF);
        QTest::newRow("numeric prefix") << u" 10色"_s << 10 << qint64(0x0000C0);
        QTest::newRow("full-width digits") << u"１６"_s << 0 << qint64(-1);
    }

    void colourIndexIsReadLeniently()
    {
        QFETCH(QString, color);
        QFETCH(int, index);
        QFETCH(qint64, bgr);
        auto l = load(completeMenuText(color));
        QVERIFY(l->ok);
        QCOMPARE(l->state.MenuColorIndex.value(), index);
        QCOMPARE(l->view.color ? qint64(*l->view.color) : -1, bgr);
        QVERIFY(l->msgs.shown.isEmpty());
    }

    void missingColourAndEmptyTitleKeepTheDesign()
    {
        auto l = load(menuWith(u"TITLE=部品表\r\nCOLOR=3\r\n"_s, u"TITLE=\r\n"_s));
        QVERIFY(!l->view.title);
        QVERIFY(!l->view.color);
        QCOMPARE(l->msgs.shown.size(), 1); // the missing COLOR key
        QCOMPARE(l->msgs.shown[0].text,
                 u"ＩＮＩファイルが無いかキーが存在しません。タグ：HEAD　キー：COLOR"_s);
    }

    void aBadEntryStopsTheLoadKeepingWhatWasApplied()
    {
        auto l = load(menuWith(u"3=G1ボタン3//T1_3"_s, u"3=区切りなし"_s));
        QVERIFY(!l->ok);
        // One E002 box naming the entry.
        QCOMPARE(l->msgs.shown.size(), 1);
        QCOMPARE(l->msgs.shown[0].title, u"エラー"_s);
        QVERIFY(l->msgs.shown[0].text.startsWith(u"メニュー設定エラー："_s));
        QVERIFY(l->msgs.shown[0].text.contains(u"[BOTTANL1] のキー 3"_s));
        // Title and colour stay applied; the right-hand buttons were never dressed.
        QCOMPARE(*l->view.title, u"部品表"_s);
        QVERIFY(l->view.color);
        QVERIFY(l->view.right.empty());
        QCOMPARE(l->state.RightButtonCaptions[1], u"グループ2"_s);
        // The entries before the bad one are in the table; the rest stay empty.
        QCOMPARE(l->state.ButtonTable[0][1].Caption, u"G1ボタン2"_s);
        QVERIFY(l->state.ButtonTable[0][2].Caption.isEmpty());
        QVERIFY(l->state.ButtonTable[1][0].Caption.isEmpty());

        // A missing entry: the reader's box, then the stop.
        l = load(menuWith(u"[BOTTANL2]\r\n1=G2ボタン1//T2_1\r\n"_s, u"[BOTTANL2]\r\n"_s));
        QVERIFY(!l->ok);
        QCOMPARE(l->msgs.shown.size(), 2);
        QCOMPARE(l->msgs.shown[0].text,
                 u"ＩＮＩファイルが無いかキーが存在しません。タグ：BOTTANL2　キー：1"_s);
        QVERIFY(l->msgs.shown[1].text.contains(u"EOFタグ：BOTTANL2"_s));
        QCOMPARE(l->state.ButtonTable[0][0].Caption, u"G1ボタン1"_s);

        // A colour beyond 16 bits is an overflow that stops the load after the title.
        l = load(completeMenuText(u"99999"_s));
        QVERIFY(!l->ok);
        QCOMPARE(l->msgs.shown.size(), 1);
        QCOMPARE(l->msgs.shown[0].text, u"メニュー設定エラー：オーバーフローしました。"_s);
        QCOMPARE(*l->view.title, u"部品表"_s);
        QVERIFY(!l->view.color);
    }
};

QTEST_GUILESS_MAIN(TestStartup)
#include "TestStartup.moc"
