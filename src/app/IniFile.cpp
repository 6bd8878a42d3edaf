#include "IniFile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringDecoder>
#include <QStringEncoder>

namespace
{

const QByteArray kBom("\xEF\xBB\xBF");

QString unquote(QString v)
{
    if (v.size() >= 2 &&
        ((v.front() == u'"' && v.back() == u'"') || (v.front() == u'\'' && v.back() == u'\'')))
        v = v.mid(1, v.size() - 2);
    return v;
}

// Characters that Shift-JIS sources of other platforms use and that CP932 spells differently.
QString toCp932Forms(QString text)
{
    text.replace(QChar(0x301C), QChar(0xFF5E)); // WAVE DASH -> FULLWIDTH TILDE
    text.replace(QChar(0x2212), QChar(0xFF0D)); // MINUS SIGN -> FULLWIDTH HYPHEN-MINUS
    text.replace(QChar(0x2016), QChar(0x2225)); // DOUBLE VERTICAL LINE -> PARALLEL TO
    text.replace(QChar(0x00A2), QChar(0xFFE0));
    text.replace(QChar(0x00A3), QChar(0xFFE1));
    text.replace(QChar(0x00AC), QChar(0xFFE2));
    return text;
}

bool isValidUtf8(const QByteArray& bytes)
{
    QStringDecoder dec(QStringDecoder::Utf8);
    const QString decoded = dec.decode(bytes); // decoding happens when the result is taken
    Q_UNUSED(decoded);
    return !dec.hasError();
}

bool hasNonAscii(const QByteArray& bytes)
{
    for (char c : bytes)
        if (static_cast<unsigned char>(c) >= 0x80)
            return true;
    return false;
}

// A file without a byte-order mark is UTF-8 when it has non-ASCII bytes that form valid UTF-8:
// Shift-JIS text with any kanji or kana in it practically never does.
bool looksLikeUtf8(const QByteArray& bytes)
{
    return hasNonAscii(bytes) && isValidUtf8(bytes);
}

} // namespace

IniFile::IniFile(QString path) : m_path(std::move(path)) {}

bool IniFile::exists() const
{
    return QFileInfo(m_path).isFile();
}

std::optional<QByteArray> IniFile::encodeCp932(const QString& text)
{
    QStringEncoder enc("CP932");
    QByteArray out = enc.encode(toCp932Forms(text));
    if (enc.hasError())
        return std::nullopt;
    return out;
}

QString IniFile::decodeCp932(const QByteArray& bytes, bool* hadError)
{
    QStringDecoder dec("CP932");
    QString out = dec.decode(bytes);
    if (hadError)
        *hadError = dec.hasError();
    return out;
}

QString IniFile::cutToBytes(const QString& text, int maxBytes)
{
    int used = 0;
    qsizetype i = 0;
    while (i < text.size()) {
        const bool pair = text.at(i).isHighSurrogate() && i + 1 < text.size();
        const QString ch = text.mid(i, pair ? 2 : 1);
        auto bytes = encodeCp932(ch);
        const int n = bytes ? int(bytes->size()) : 2;
        if (used + n > maxBytes)
            break;
        used += n;
        i += ch.size();
    }
    return text.left(i);
}

QString IniFile::decodeLine(const QByteArray& raw) const
{
    return m_utf8 ? QString::fromUtf8(raw) : decodeCp932(raw);
}

std::optional<QByteArray> IniFile::encodeLine(const QString& text) const
{
    if (m_utf8)
        return text.toUtf8();
    return encodeCp932(text);
}

void IniFile::reloadIfChanged()
{
    QFileInfo fi(m_path);
    fi.refresh();
    if (!fi.isFile()) {
        m_loaded = false;
        m_lines.clear();
        m_sections.clear();
        m_sectionIndex.clear();
        return;
    }
    if (m_loaded && fi.lastModified() == m_mtime && fi.size() == m_size)
        return;
    QFile f(m_path);
    if (!f.open(QIODevice::ReadOnly)) {
        m_loaded = false;
        m_lines.clear();
        m_sections.clear();
        m_sectionIndex.clear();
        return;
    }
    QByteArray all = f.readAll();
    m_mtime = fi.lastModified();
    m_size = fi.size();
    m_bom = all.startsWith(kBom);
    m_utf8 = m_bom || looksLikeUtf8(all);
    m_lines.clear();
    qsizetype start = 0;
    while (start < all.size()) {
        qsizetype nl = all.indexOf('\n', start);
        Line line;
        if (nl < 0) {
            line.raw = all.mid(start);
            start = all.size();
        } else {
            line.raw = all.mid(start, nl - start);
            line.eol = "\n";
            if (line.raw.endsWith('\r')) {
                line.raw.chop(1);
                line.eol = "\r\n";
            }
            start = nl + 1;
        }
        m_lines.append(line);
    }
    m_loaded = true;
    parse();
}

void IniFile::parse()
{
    m_sections.clear();
    m_sectionIndex.clear();
    Section* current = nullptr;
    for (int i = 0; i < m_lines.size(); ++i) {
        QByteArray raw = m_lines[i].raw;
        if (i == 0 && m_bom)
            raw = raw.mid(kBom.size());
        const QString text = decodeLine(raw).trimmed();
        if (text.isEmpty())
            continue;
        if (text.startsWith(u'[')) {
            const qsizetype close = text.indexOf(u']');
            const QString name = (close < 0 ? text.mid(1) : text.mid(1, close - 1)).trimmed();
            m_sections.append(Section{name, i, i, {}});
            const QString lower = name.toLower();
            if (!m_sectionIndex.contains(lower))
                m_sectionIndex.insert(lower, int(m_sections.size() - 1));
            current = &m_sections.last();
            continue;
        }
        if (!current)
            continue;
        current->lastLine = i;
        if (text.startsWith(u';'))
            continue;
        const qsizetype eq = text.indexOf(u'=');
        if (eq < 0)
            continue;
        const QString key = text.left(eq).trimmed().toLower();
        if (!current->keys.contains(key))
            current->keys.insert(key, Entry{i, unquote(text.mid(eq + 1).trimmed())});
    }
}

std::optional<QString> IniFile::read(const QString& section, const QString& key)
{
    reloadIfChanged();
    auto s = m_sectionIndex.constFind(section.trimmed().toLower());
    if (s == m_sectionIndex.cend())
        return std::nullopt;
    const Section& sec = m_sections[*s];
    auto k = sec.keys.constFind(key.trimmed().toLower());
    if (k == sec.keys.cend())
        return std::nullopt;
    return k->value;
}

bool IniFile::canHold(const QString& text)
{
    reloadIfChanged();
    return encodeLine(text).has_value();
}

QString IniFile::unencodableText(const QString& text)
{
    QString bad;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const qsizetype n = text[i].isHighSurrogate() && i + 1 < text.size() ? 2 : 1;
        const QString ch = text.mid(i, n);
        if (!encodeCp932(ch) && !bad.contains(ch))
            bad += ch;
        i += n - 1;
    }
    return QStringLiteral("「%1」は設定ファイルの文字コード(Shift-JIS)で表せない文字です。"
                          "この文字を使わずに入力し直して下さい。")
        .arg(bad);
}

IniFile::WriteResult IniFile::write(const QString& section, const QString& key, const QString& givenValue)
{
    m_error.clear();
    // A value is one line: line breaks pasted into a field become blanks rather than new lines.
    QString value = givenValue;
    value.replace(QStringLiteral("\r\n"), QStringLiteral(" "));
    value.replace(u'\r', u' ');
    value.replace(u'\n', u' ');
    reloadIfChanged();
    const QString sectionName = section.trimmed();
    const QString keyName = key.trimmed();
    if (!encodeLine(value) || !encodeLine(keyName) || !encodeLine(sectionName)) {
        m_error = unencodableText(value + keyName + sectionName);
        return WriteResult::NotEncodable;
    }
    QFileInfo fi(m_path);
    // A file marked read-only is not written, even for a user who could (root, for one).
    if (fi.exists() && (!fi.isWritable() || !(fi.permissions() & QFileDevice::WriteOwner))) {
        m_error = QStringLiteral("設定ファイルが読み取り専用です。");
        return WriteResult::IoError;
    }

    QList<Line> lines = m_loaded ? m_lines : QList<Line>{};
    QByteArray eol = "\r\n";
    for (const Line& l : lines)
        if (!l.eol.isEmpty()) {
            eol = l.eol;
            break;
        }
    const QByteArray newLine = *encodeLine(keyName + u'=' + value);

    auto s = m_sectionIndex.constFind(sectionName.toLower());
    if (s != m_sectionIndex.cend()) {
        const Section& sec = m_sections[*s];
        auto k = sec.keys.constFind(keyName.toLower());
        if (k != sec.keys.cend()) {
            // Keep the key as it is spelled in the file and any blanks before it.
            QByteArray raw = lines[k->line].raw;
            const qsizetype eq = raw.indexOf('=');
            lines[k->line].raw = raw.left(eq + 1) + *encodeLine(value);
        } else {
            const int at = sec.lastLine + 1;
            if (lines[sec.lastLine].eol.isEmpty())
                lines[sec.lastLine].eol = eol;
            lines.insert(at, Line{newLine, at < lines.size() ? eol : eol});
        }
    } else {
        if (!lines.isEmpty() && lines.last().eol.isEmpty())
            lines.last().eol = eol;
        QByteArray header = *encodeLine(u'[' + sectionName + u']');
        if (lines.isEmpty() && m_bom)
            header.prepend(kBom);
        lines.append(Line{header, eol});
        lines.append(Line{newLine, eol});
    }
    if (!saveLines(lines))
        return WriteResult::IoError;
    return WriteResult::Ok;
}

bool IniFile::saveLines(QList<Line> lines)
{
    QByteArray out;
    for (const Line& l : lines)
        out += l.raw + l.eol;
    // Written beside the file and renamed over it: a failure part-way never leaves half a file.
    QSaveFile f(m_path);
    // A folder the user may not write in, holding a file the user may write: write in place.
    f.setDirectWriteFallback(true);
    if (!f.open(QIODevice::WriteOnly) || f.write(out) != out.size() || !f.commit()) {
        m_error =
            QStringLiteral(
                "設定ファイルを書き込めません（ディスクの空きや書き込みの権限を確認して下さい）。原因: ") +
            f.errorString();
        return false;
    }
    m_loaded = false; // parse again on the next read
    return true;
}

QString IniFile::describeDamage(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return QStringLiteral("ファイルを開けません。原因: %1").arg(f.errorString());
    if (f.size() > kMaxFileSize)
        return QStringLiteral("ファイルが大きすぎます（%1 バイト）。設定ファイルではありません。")
            .arg(f.size());
    QByteArray all = f.readAll();
    const bool bom = all.startsWith(kBom);
    if (bom)
        all = all.mid(kBom.size());
    const bool utf8 = bom || looksLikeUtf8(all);
    // A text file holds no NUL byte (UTF-16 and binary files do) and few other control bytes: one
    // stray byte, in a comment say, is read past as the settings functions always did.
    qsizetype controls = 0;
    for (char c : std::as_const(all)) {
        const auto u = static_cast<unsigned char>(c);
        if (u < 0x20 && u != '\t' && u != '\r' && u != '\n' && u != '\f' && u != 0x1A)
            ++controls;
    }
    const bool notText = all.contains('\0') || (controls > 8 && controls * 100 > all.size());
    int lineNo = 1;
    qsizetype start = 0;
    while (start <= all.size()) {
        qsizetype end = all.indexOf('\n', start);
        if (end < 0)
            end = all.size();
        const QByteArray line = all.mid(start, end - start);
        for (char c : line) {
            const auto u = static_cast<unsigned char>(c);
            if (notText && u < 0x20 && u != '\t' && u != '\r' && u != '\f' && u != 0x1A)
                return QStringLiteral("%1 行目にテキストではないデータ（制御文字 0x%2）があります。")
                    .arg(lineNo)
                    .arg(u, 2, 16, QLatin1Char('0'));
        }
        bool bad = false;
        if (utf8)
            bad = !isValidUtf8(line);
        else
            decodeCp932(line, &bad);
        if (bad)
            return QStringLiteral("%1 行目に %2 として読めない文字があります。")
                .arg(lineNo)
                .arg(utf8 ? QStringLiteral("UTF-8") : QStringLiteral("Shift-JIS"));
        ++lineNo;
        start = end + 1;
    }
    return {};
}
