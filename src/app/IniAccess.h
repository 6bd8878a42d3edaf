#pragma once

#include "IniFile.h"

#include <QString>
#include <functional>
#include <map>
#include <memory>

class MessageService;

// Reading and writing settings one value at a time, and showing numbered messages from the
// catalogue in section "MSGCD" of the settings file.
class IniAccess
{
public:
    IniAccess(MessageService& messages, QString iniPath);

    const QString& iniPath() const { return m_iniPath; }
    MessageService& messages() { return m_messages; }

    // mode "GET": the key must exist; a missing one shows the settings error box and returns the
    // placeholder "EOF" + "タグ：" + section + "　キー：" + key, which callers go on with as data.
    // Any other mode ("FIND"): a missing key returns "NOT FOUND" silently.
    // At most 99 bytes (Shift-JIS) of a value are returned.
    QString IniGet(const QString& file, const QString& section, const QString& key, const QString& mode);
    bool IniPut(const QString& file, const QString& section, const QString& key, const QString& value);
    // False, after the write error box naming the characters, when the file cannot hold the text;
    // lets a caller refuse a typed value before it writes anything.
    bool CheckStorable(const QString& file, const QString& text);
    // Shows the message of the code with the extra text appended, and the detail text (the cause
    // behind it) on demand; returns "OK", "YES" or "NO".
    QString ShowMessage(const QString& code, const QString& extra, const QString& detail = QString());
    // The same box for the code with a text of the caller's own, where the code's catalogue text
    // speaks of another use of the code.
    QString ShowMessageText(const QString& code, const QString& text, const QString& detail = QString());

    // Shortcuts on the program's own settings file.
    QString get(const QString& section, const QString& key)
    {
        return IniGet(m_iniPath, section, key, QStringLiteral("GET"));
    }
    QString find(const QString& section, const QString& key)
    {
        return IniGet(m_iniPath, section, key, QStringLiteral("FIND"));
    }
    bool put(const QString& section, const QString& key, const QString& value)
    {
        return IniPut(m_iniPath, section, key, value);
    }

    IniFile& file(const QString& path);

    // Called after every successful write, in order (a log of what the program changed).
    std::function<void(const QString& file, const QString& section, const QString& key, const QString& value)>
        onWrite;

private:
    void showUnstorable(const QString& reason, const QString& value);

    MessageService& m_messages;
    QString m_iniPath;
    std::map<QString, std::unique_ptr<IniFile>> m_files;
};
