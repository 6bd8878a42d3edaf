#include "Initial.h"

#include "AppContext.h"
#include "Common.h"
#include "IniAccess.h"
#include "IniFile.h"
#include "MessageService.h"
#include "RuntimeError.h"

#include <QDir>
#include <QFileInfo>
#include <QLockFile>
#include <QStandardPaths>

namespace
{

// Blanks around the halves of a button entry: the half-width space only. A tab stays, and so does
// the full-width blank, which a site may use on purpose to indent a caption.
QString trimBlanks(const QString& text)
{
    qsizetype from = 0;
    qsizetype to = text.size();
    while (from < to && text[from] == u' ')
        ++from;
    while (to > from && text[to - 1] == u' ')
        --to;
    return text.mid(from, to - from);
}

} // namespace

MenuPaletteType MakeMenuPalette()
{
    MenuPaletteType p{};
    p[1] = 0xFFFFFF;
    p[2] = 0xE0E0E0;
    p[3] = 0xC0C0FF;
    p[4] = 0xC0E0FF;
    p[5] = 0xC0FFFF;
    p[6] = 0xC0FFC0;
    p[7] = 0xFFFFC0;
    p[8] = 0xFFC0C0;
    p[9] = 0xFFC0FF;
    p[10] = 0x0000C0;
    p[11] = 0x0040C0;
    p[12] = 0x00C0C0;
    p[13] = 0x00C000;
    p[14] = 0xC0C000;
    p[15] = 0xC00000;
    p[16] = 0xC000C0;
    return p;
}

MenuButtonEntry ParseButtonEntry(const QString& text, const QString& section, const QString& key)
{
    const qsizetype split = text.indexOf(u"//");
    if (split < 0) {
        throw RuntimeError(5, QStringLiteral("[%1] のキー %2 の値「%3」に区切りの \"//\" がありません。")
                                  .arg(section, key, text));
    }
    MenuButtonEntry entry;
    entry.Caption = trimBlanks(text.left(split));
    entry.Target = trimBlanks(text.mid(split + 2));
    return entry;
}

bool LoadMenuSettings(IniAccess& ini, MenuState& state, MenuView& view)
{
    try {
        state.MenuTitle.clear();
        state.MenuColorIndex = Int16();
        state.MenuPalette = MakeMenuPalette();
        for (int i = 0; i < kRightGroupButtons; ++i)
            state.RightButtonCaptions[i].clear();

        state.MenuTitle = ini.get(QStringLiteral("HEAD"), QStringLiteral("TITLE"));
        if (!state.MenuTitle.isEmpty())
            view.setMenuTitle(state.MenuTitle);

        // The colour is read leniently ("abc" is 0, "2.5" is 2), but a number beyond 16 bits stops
        // the load like any other run-time error.
        state.MenuColorIndex =
            Int16::from(LenientInt(ini.get(QStringLiteral("HEAD"), QStringLiteral("COLOR"))));
        if (state.MenuColorIndex >= 1 && state.MenuColorIndex <= 16)
            view.setMenuColor(state.MenuPalette[state.MenuColorIndex.value()]);

        for (int i = 1; i <= kRightGroupButtons; ++i)
            state.RightButtonCaptions[i - 1] = ini.get(QStringLiteral("BOTTANR"), QString::number(i));

        for (int g = 1; g <= kMenuGroups; ++g) {
            const QString section = QStringLiteral("BOTTANL") + QString::number(g);
            for (int k = 1; k <= kMenuSlots; ++k) {
                const QString key = QString::number(k);
                state.ButtonTable[g - 1][k - 1] = ParseButtonEntry(ini.get(section, key), section, key);
            }
        }

        for (int i = 0; i < kRightGroupButtons; ++i) {
            const QString& words = state.RightButtonCaptions[i];
            view.setRightButton(i, !words.isEmpty(), words);
        }
        return true;
    } catch (const RuntimeError& e) {
        ini.ShowMessage(QStringLiteral("E002"), e.description());
        return false;
    }
}

void ShowButtonGroup(const MenuState& state, const Int16& group, MenuView& view)
{
    if (group < 0 || group > kMenuGroups)
        throw RuntimeError::outOfRange();
    const auto& row = state.ButtonTable[group.value()];
    for (int i = 0; i < kMenuSlots; ++i) {
        const QString& caption = row[i].Caption;
        view.setLeftButton(i, !caption.isEmpty(), caption);
    }
}

Startup::Startup(AppContext& ctx, QString lockFilePath) : m_ctx(ctx), m_lockFilePath(std::move(lockFilePath))
{
    if (m_lockFilePath.isEmpty())
        m_lockFilePath = defaultLockFilePath();
}

Startup::~Startup() = default;

QString Startup::defaultLockFilePath()
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty() || !QFileInfo(folder).isDir())
        return QDir::tempPath() + QStringLiteral("/buhinhyo-") +
               qEnvironmentVariable("USER", QStringLiteral("user")) + QStringLiteral(".lock");
    return folder + QStringLiteral("/buhinhyo.lock");
}

Startup::Result Startup::prepare(const QString& programFolder)
{
    // 1, 2: the paths.
    m_ctx.setPaths(programFolder);
    if (!m_ctx.ini)
        m_ctx.makeIni();
    IniAccess& ini = *m_ctx.ini;

    // 3: the settings file must be there. The message text itself lives in the missing file, so
    // what the user sees is the settings reader's box for the missing catalogue key.
    if (!QFileInfo(m_ctx.IniPath).isFile()) {
        ini.ShowMessage(QStringLiteral("E003"), m_ctx.IniPath);
        return Result::NoSettingsFile;
    }
    // A file that is not a settings file at all (binary bytes, another encoding) would answer every
    // read with a box; one clear box instead, then the program ends.
    const QString damage = IniFile::describeDamage(m_ctx.IniPath);
    if (!damage.isEmpty()) {
        m_ctx.messages->beep();
        m_ctx.messages->show(MsgIcon::Stop, MsgButtons::Ok, QStringLiteral("ＩＮＩファイルエラー"),
                             QStringLiteral("設定ファイルを読み込めません。\n%1\n\n%2\n\n"
                                            "Shift-JIS のテキストファイルとして保存し直すか、"
                                            "インストール時の PARA.ini に置き換えて下さい。")
                                 .arg(QDir::toNativeSeparators(m_ctx.IniPath), damage));
        return Result::DamagedSettings;
    }

    // 4: the work folder, one level, reused untouched when it exists.
    const QString work = m_ctx.AppPath + QStringLiteral("WORK");
    if (!QFileInfo(work).isDir() && !QDir(m_ctx.AppPath).mkdir(QStringLiteral("WORK"))) {
        m_ctx.messages->beep();
        m_ctx.messages->show(MsgIcon::Stop, MsgButtons::Ok, QStringLiteral("エラー"),
                             QStringLiteral("実行時エラー '75':\n\nパス/ファイル アクセス エラーです。\n") +
                                 QDir::toNativeSeparators(work));
        return Result::WorkFolderFailed;
    }
    m_ctx.WorkbookPath = work + QStringLiteral("/TEMP.xlsx");

    // 5: one copy per user. A lock that cannot be made for another reason (no such folder, no
    // rights) does not keep the user from working.
    m_lock = std::make_unique<QLockFile>(m_lockFilePath);
    m_lock->setStaleLockTime(0); // a long-running first copy must never look stale
    if (!m_lock->tryLock(0) && m_lock->error() == QLockFile::LockFailedError) {
        m_lock.reset();
        ini.ShowMessage(QStringLiteral("E001"), QString());
        return Result::SecondInstance;
    }
    return Result::Run;
}
