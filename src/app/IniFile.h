#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <optional>

// A settings file with the classic private-profile rules:
// - bytes are CP932 (Shift-JIS); a file that starts with a UTF-8 byte-order mark, or whose bytes are
//   valid UTF-8 with some non-ASCII text and not valid CP932, is read and written as UTF-8 instead,
//   so a file saved by a modern editor keeps the user's texts;
// - section and key names match without regard to case; blanks around names and values are trimmed;
//   one pair of surrounding quotes is removed from a value; the first of duplicate keys wins;
// - a write edits the one line in place and keeps every other byte (comments, order, line ends);
//   a new key goes at the end of its section, a new section at the end of the file.
// The file is parsed again only when it changed on disk.
class IniFile
{
public:
    explicit IniFile(QString path);

    const QString& path() const { return m_path; }
    bool exists() const;

    // The value of [section] key, or nothing when the file, the section or the key is missing.
    std::optional<QString> read(const QString& section, const QString& key);

    enum class WriteResult { Ok, NotEncodable, IoError };
    // Writes [section] key = value. A value that the file's encoding cannot hold is refused
    // (NotEncodable) rather than written as some other text.
    WriteResult write(const QString& section, const QString& key, const QString& value);
    QString lastError() const { return m_error; }
    // True when the file's encoding can hold the text (always for a UTF-8 file).
    bool canHold(const QString& text);
    // The message for a text that Shift-JIS cannot hold, naming the characters.
    static QString unencodableText(const QString& text);

    bool isUtf8() const { return m_utf8; }

    // Encodes a text the way the file stores it (CP932); nothing when some character has no CP932 form.
    static std::optional<QByteArray> encodeCp932(const QString& text);
    static QString decodeCp932(const QByteArray& bytes, bool* hadError = nullptr);
    // Cuts a text to at most maxBytes bytes of CP932, never in the middle of a double-byte character.
    static QString cutToBytes(const QString& text, int maxBytes);

    // Why a file cannot serve as a settings file (unreadable, far too large, binary bytes, text in
    // neither CP932 nor UTF-8), naming the first bad line; empty when it can.
    static QString describeDamage(const QString& path);
    // Files larger than this are not settings files.
    static constexpr qint64 kMaxFileSize = 16 * 1024 * 1024;

private:
    struct Line {
        QByteArray raw; // without the line end
        QByteArray eol; // "\r\n", "\n" or "" (last line)
    };
    struct Entry {
        int line;
        QString value;
    };
    struct Section {
        QString name;
        int headerLine;
        int lastLine;               // last non-blank line of the section (the header when empty)
        QHash<QString, Entry> keys; // lower-case key -> first occurrence
    };

    void reloadIfChanged();
    void parse();
    QString decodeLine(const QByteArray& raw) const;
    std::optional<QByteArray> encodeLine(const QString& text) const;
    bool saveLines(QList<Line> lines);

    QString m_path;
    bool m_loaded = false;
    bool m_utf8 = false;
    bool m_bom = false;
    QDateTime m_mtime;
    qint64 m_size = -1;
    QList<Line> m_lines;
    QList<Section> m_sections;
    QHash<QString, int> m_sectionIndex; // lower-case name -> first section
    QString m_error;
};
