#include "IniAccess.h"

#include "MessageService.h"

#include <QDir>

namespace
{
const QString kIniErrorTitle = QStringLiteral("ＩＮＩファイルエラー");
constexpr int kValueBytes = 99;
} // namespace

IniAccess::IniAccess(MessageService& messages, QString iniPath)
    : m_messages(messages), m_iniPath(std::move(iniPath))
{
}

IniFile& IniAccess::file(const QString& path)
{
    auto it = m_files.find(path);
    if (it == m_files.end())
        it = m_files.emplace(path, std::make_unique<IniFile>(path)).first;
    return *it->second;
}

QString IniAccess::IniGet(const QString& file, const QString& section, const QString& key,
                          const QString& mode)
{
    const QString fallback = mode == u"GET" ? QStringLiteral("EOF") + QStringLiteral("タグ：") + section +
                                                  QStringLiteral("　キー：") + key
                                            : QStringLiteral("NOT FOUND");
    std::optional<QString> value = this->file(file).read(section, key);
    QString result = IniFile::cutToBytes(value ? *value : fallback, kValueBytes);
    // A stored value that itself begins with "EOF" is reported the same way: the check looks only
    // at the text, as users of the old tool know it.
    if (result.startsWith(u"EOF")) {
        m_messages.show(MsgIcon::Stop, MsgButtons::Ok, kIniErrorTitle,
                        QStringLiteral("ＩＮＩファイルが無いかキーが存在しません。") + result.mid(3));
    }
    return result;
}

bool IniAccess::IniPut(const QString& file, const QString& section, const QString& key, const QString& value)
{
    IniFile& ini = this->file(file);
    switch (ini.write(section, key, value)) {
    case IniFile::WriteResult::Ok:
        if (onWrite)
            onWrite(file, section, key, value);
        return true;
    case IniFile::WriteResult::NotEncodable:
        showUnstorable(ini.lastError(), value);
        return false;
    case IniFile::WriteResult::IoError:
        break;
    }
    // The file and what the system said about it, behind the box's own text.
    m_messages.show(MsgIcon::Stop, MsgButtons::Ok, kIniErrorTitle,
                    QStringLiteral("ＩＮＩファイル書き込みエラー"),
                    QDir::toNativeSeparators(ini.path()) + u'\n' + ini.lastError());
    return false;
}

bool IniAccess::CheckStorable(const QString& file, const QString& text)
{
    if (this->file(file).canHold(text))
        return true;
    showUnstorable(IniFile::unencodableText(text), text);
    return false;
}

void IniAccess::showUnstorable(const QString& reason, const QString& value)
{
    m_messages.show(MsgIcon::Stop, MsgButtons::Ok, kIniErrorTitle,
                    QStringLiteral("ＩＮＩファイル書き込みエラー") + u'\n' + reason + u'\n' + value);
}

QString IniAccess::ShowMessage(const QString& code, const QString& extra, const QString& detail)
{
    const QString text = IniGet(m_iniPath, QStringLiteral("MSGCD"), code, QStringLiteral("GET"));
    if (text.startsWith(u"EOF")) {
        m_messages.beep();
        return code.startsWith(u'Q') ? QStringLiteral("NO") : QStringLiteral("OK");
    }
    return ShowMessageText(code, text + extra, detail);
}

QString IniAccess::ShowMessageText(const QString& code, const QString& text, const QString& detail)
{
    const QChar kind = code.isEmpty() ? QChar() : code.front();
    MsgIcon icon = MsgIcon::Stop;
    MsgButtons buttons = MsgButtons::Ok;
    QString title = kIniErrorTitle;
    if (kind == u'E') {
        title = QStringLiteral("エラー");
    } else if (kind == u'W') {
        icon = MsgIcon::Exclamation;
        buttons = MsgButtons::OkCancel;
        title = QStringLiteral("ワーニング");
    } else if (kind == u'I') {
        icon = MsgIcon::Information;
        title = QStringLiteral("インフォメーション");
    } else if (kind == u'Q') {
        icon = MsgIcon::Question;
        buttons = MsgButtons::YesNo;
        title = QStringLiteral("確認");
    }
    m_messages.beep();
    const MsgAnswer answer = m_messages.show(icon, buttons, title, text, detail);
    if (kind == u'Q')
        return answer == MsgAnswer::Yes ? QStringLiteral("YES") : QStringLiteral("NO");
    // A warning offers Cancel, but its callers always receive "OK".
    return QStringLiteral("OK");
}
