#include "Common.h"
#include "IniAccess.h"
#include "Initial.h"
#include "MenuTestSupport.h"
#include "RuntimeError.h"
#include "TestSupport.h"

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

// The start of the program, the menu settings it loads, and the settings file installed with it.
class TestStartup : public QObject
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

private Q_SLOTS:
    void init()
    {
        m_starts.clear();
        m_contexts.clear();
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir().mkpath(folder()));
        m_msgs.clear();
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
        QByteArray random(64 * 1024, '\0');
        QRandomGenerator gen(20260101);
        for (char& c : random)
            c = char(gen.bounded(256));
        for (const QByteArray& bytes : {random, QByteArray("\xFF\xFE[\0H\0E\0A\0D\0]\0\r\0\n\0", 18),
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
                                                {u"17"_s, 17, -1LL},
                                                {u"abc"_s, 0, -1LL},
                                                {u"16"_s, 16, 0xC000C0LL},
                                                {u"1"_s, 1, 0xFFFFFFLL},
                                                {u"2.5"_s, 2, 0xE0E0E0LL},
                                                {u"3.5"_s, 4, 0xC0E0FFLL},
                                                {u" 10色"_s, 10, 0x0000C0LL},
                                                {u"１６"_s, 0, -1LL}}) {
            auto l = load(completeMenuText(color));
            QVERIFY(l->ok && l->msgs.shown.isEmpty());
            QCOMPARE(l->state.MenuColorIndex.value(), index);
            QCOMPARE(l->view.color ? qint64(*l->view.color) : -1, bgr);
        }
        // No colour and an empty title keep the design.
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
        // A missing entry: the reader's box, then the stop.
        l = load(menuWith(u"[BOTTANL2]\r\n1=G2ボタン1//T2_1\r\n"_s, u"[BOTTANL2]\r\n"_s));
        QVERIFY(!l->ok);
        QCOMPARE(l->msgs.shown.size(), 2);
        QVERIFY(l->msgs.shown[1].text.contains(u"EOFタグ：BOTTANL2"_s));
        // A colour beyond 16 bits is an overflow that stops the load after the title.
        l = load(completeMenuText(u"99999"_s));
        QCOMPARE(l->msgs.texts(), QStringList(u"メニュー設定エラー：オーバーフローしました。"_s));
        QVERIFY(l->view.title && !l->view.color);
    }

    void shippedSettingsFileIsCompleteShiftJis()
    {
        const QByteArray bytes = readFileBytes(shippedIniPath());
        QVERIFY(bytes.size() > 1000 && !bytes.startsWith("\xEF\xBB\xBF"));
        QVERIFY(IniFile::describeDamage(shippedIniPath()).isEmpty());
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
        // Lists long enough to choose from; list n feeds slot n - 1.
        for (const QString& list : {u"USER"_s, u"MAKER"_s, u"STANI"_s, u"DESINED"_s})
            QVERIFY(ReadList(ini, list).size() >= 5);
        for (int n = 1; n <= 8; ++n) {
            QVERIFY(ReadList(ini, u"KVRCAD0002COMBO%1"_s.arg(n)).size() >= 5);
            QCOMPARE(StrictInt(ini.get(u"KVRCAD0002COMBO%1"_s.arg(n), u"INDEX"_s)), n - 1);
        }
        for (const QString& unit : u"個 本 R L R/L× L/R× 計"_s.split(u' '))
            QVERIFY2(ReadList(ini, u"STANI"_s).contains(unit), qPrintable(unit));
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

QTEST_GUILESS_MAIN(TestStartup)
#include "TestStartup.moc"
