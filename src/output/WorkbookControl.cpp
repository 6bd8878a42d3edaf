#include "WorkbookControl.h"

#include "AppContext.h"
#include "LibreOffice.h"
#include "RuntimeError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

QString ColumnLetter(int number)
{
    if (number < 1 || number > 26)
        return {};
    return QString(QChar(u'A' + number - 1));
}

Int16 ColumnNumber(const QString& letter)
{
    if (letter.size() != 1)
        return Int16::from(0);
    const char16_t c = letter.at(0).unicode();
    if (c < u'A' || c > u'Z')
        return Int16::from(0);
    return Int16::from(c - u'A' + 1);
}

bool SpreadsheetProcessRunning(const QString& procFolder)
{
    // The process names of a running LibreOffice or Excel (Wine names a Windows process after its
    // program file). Read with plain system calls: a busy machine has hundreds of processes, and
    // this runs before every print.
    static const std::string_view names[] = {"soffice.bin", "soffice", "EXCEL.EXE", "excel.exe"};
    const QByteArray folder = QFile::encodeName(procFolder);
    DIR* dir = opendir(folder.constData());
    if (!dir)
        return false;
    bool found = false;
    std::string path;
    while (const dirent* entry = readdir(dir)) {
        if (entry->d_name[0] < '0' || entry->d_name[0] > '9')
            continue;
        path.assign(folder.constData()).append("/").append(entry->d_name).append("/comm");
        const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0)
            continue;
        char buf[64];
        const ssize_t n = read(fd, buf, sizeof buf);
        close(fd);
        std::string_view name(buf, n > 0 ? static_cast<size_t>(n) : 0);
        while (!name.empty() && (name.back() == '\n' || name.back() == ' '))
            name.remove_suffix(1);
        for (const std::string_view spreadsheet : names)
            found = found || name == spreadsheet;
        if (found)
            break;
    }
    closedir(dir);
    return found;
}

QString PrintCopyPath(const QString& workCopyPath)
{
    const QFileInfo work(workCopyPath);
    return work.dir().filePath(work.completeBaseName() + QStringLiteral("-print.xlsx"));
}

QString ReplaceWithCopy(const QString& source, const QString& target)
{
    QFile in(source);
    if (!in.open(QIODevice::ReadOnly))
        return QDir::toNativeSeparators(source) + QStringLiteral(" を読めません: ") + in.errorString();
    QSaveFile out(target);
    auto failed = [&](const QString& why) -> QString {
        out.cancelWriting();
        return QDir::toNativeSeparators(target) + QStringLiteral(" に書き込めません: ") + why;
    };
    // Unbuffered: a write that fails says why at once.
    if (!out.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return failed(out.errorString());
    QByteArray chunk(1 << 16, Qt::Uninitialized);
    while (true) {
        const qint64 n = in.read(chunk.data(), chunk.size());
        if (n < 0)
            return failed(QDir::toNativeSeparators(source) + QStringLiteral(" を読めません: ") +
                          in.errorString());
        if (n == 0)
            break;
        if (out.write(chunk.constData(), n) != n)
            return failed(out.errorString());
    }
    if (!out.commit())
        return QDir::toNativeSeparators(target) + QStringLiteral(" に書き込めません: ") + out.errorString();
    return {};
}

void MakeFolder(const QString& folder)
{
    std::error_code ec;
    std::filesystem::create_directories(QFile::encodeName(folder).constData(), ec);
    if (!ec && QFileInfo(folder).isDir())
        return;
    QString why = ec ? QString::fromLocal8Bit(ec.message()) : QString();
    // The usual cause: a file where a folder of the path should be.
    for (QFileInfo up(QDir::cleanPath(QFileInfo(folder).absoluteFilePath())); !up.isRoot();
         up = QFileInfo(up.absolutePath()))
        if (up.exists()) {
            if (!up.isDir())
                why += QStringLiteral("（") + QDir::toNativeSeparators(up.absoluteFilePath()) +
                       QStringLiteral(" はフォルダではなくファイルです）");
            break;
        }
    throw RuntimeError(76, QStringLiteral("パスが見つかりません。"))
        .withCause(QStringLiteral("フォルダ ") + QDir::toNativeSeparators(folder) +
                   QStringLiteral(" を作れません: ") + why);
}

namespace
{
// The place a path names: its folder as the file system resolves it, and its name.
QString PlaceOf(const QString& path)
{
    const QFileInfo info(path);
    const QString folder = QFileInfo(info.absolutePath()).canonicalFilePath();
    return QDir::cleanPath((folder.isEmpty() ? info.absolutePath() : folder) + u'/' + info.fileName());
}
} // namespace

bool SameFile(const QString& a, const QString& b)
{
    struct stat sa;
    struct stat sb;
    if (::stat(QFile::encodeName(a).constData(), &sa) == 0 &&
        ::stat(QFile::encodeName(b).constData(), &sb) == 0)
        return sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
    return PlaceOf(a) == PlaceOf(b);
}

void RemoveSaveLeftovers(const QString& file)
{
    const QFileInfo info(file);
    const QString prefix = info.fileName() + u'.';
    for (const QFileInfo& left :
         info.dir().entryInfoList({prefix + QStringLiteral("??????")}, QDir::Files | QDir::Hidden))
        QFile::remove(left.absoluteFilePath());
}

WorkbookControl::WorkbookControl(AppContext& ctx) : m_ctx(ctx) {}

Int16 WorkbookControl::ExcelRunning()
{
    if (SpreadsheetProcessRunning()) {
        m_excelRunning = QStringLiteral("1");
        return Int16::from(0);
    }
    m_excelRunning.clear();
    return Int16::from(-1);
}

QString WorkbookControl::OpenTemplate(const QString& path)
{
    QString result = QStringLiteral("NO");
    m_templatePath.clear();
    m_secondPath.clear();

    QString file = path;
    if (path == u"SHINKI" || path.isEmpty()) {
        // "SHINKI" always asks, even when a file of that name exists.
        const QString chosen = m_ctx.fileDialogs->getOpenFileName(
            QStringLiteral("EXCELﾌｧｲﾙ指定"),
            {QStringLiteral("EXCELファイル (*.xlsx *.xls *.XLSX *.XLS)"),
             QStringLiteral("EXCELファイル (*.xlsx *.XLSX)"), QStringLiteral("EXCELファイル (*.xls *.XLS)")});
        if (chosen.isEmpty())
            return result;
        file = chosen;
    }
    result = file;

    if (!QFileInfo(file).isFile()) {
        m_ctx.ini->ShowMessage(QStringLiteral("E114"), file + QStringLiteral("を設定し直して下さい。"));
        return QStringLiteral("ERROR");
    }

    // An old .xls template is converted to .xlsx first; when that is not possible the user is told
    // plainly what to do instead of getting an error number.
    QString source = file;
    if (QFileInfo(file).suffix().compare(u"xls", Qt::CaseInsensitive) == 0) {
        try {
            // The cache is the program folder's WORK, shared with the batch runs' own work copies.
            source = ConvertedXlsTemplate(file, m_ctx.AppPath + QStringLiteral("WORK"));
        } catch (const RuntimeError& e) {
            m_ctx.messages->beep();
            m_ctx.messages->show(MsgIcon::Stop, MsgButtons::Ok, QStringLiteral("エラー"), e.description());
            return QStringLiteral("NO");
        }
    }

    // A failing copy is reported as "E111", a work copy the engine cannot open as "E109"; the
    // cause (the engine's message, the files) is the box's detail text. The catalogue text of
    // "E111" speaks of the import file, so the copy of a template has a text of its own.
    const QString files = QStringLiteral("\n雛形：") + QDir::toNativeSeparators(file) +
                          QStringLiteral("\n作業ファイル：") + QDir::toNativeSeparators(m_ctx.WorkbookPath);
    const QString errorCode = QStringLiteral("エラーＣＤ：");
    try {
        copyToWorkCopy(source);
    } catch (const RuntimeError& e) {
        m_ctx.ini->ShowMessageText(QStringLiteral("E111"),
                                   QStringLiteral("雛形ファイルを作業ファイルにコピーできませんでした。") +
                                       errorCode + QString::number(e.number()),
                                   e.detailText() + files);
        return QStringLiteral("NO");
    }
    try {
        if (m_opener)
            m_opener(m_ctx.WorkbookPath);
    } catch (const RuntimeError& e) {
        m_ctx.ini->ShowMessage(QStringLiteral("E109"), errorCode + QString::number(e.number()),
                               e.detailText() + files);
        return QStringLiteral("NO");
    }
    m_templatePath = file;
    return result;
}

void WorkbookControl::copyToWorkCopy(const QString& path)
{
    MakeFolder(QFileInfo(m_ctx.WorkbookPath).absolutePath());
    // A save of the work copy or its print copy that was killed left its temporary file beside it;
    // only this run writes them now.
    RemoveSaveLeftovers(m_ctx.WorkbookPath);
    RemoveSaveLeftovers(PrintCopyPath(m_ctx.WorkbookPath));

    // Replaced whole on every run: the work copy never carries anything over from the previous one,
    // and a copy that fails half-way leaves no half-copied file.
    const QString why = ReplaceWithCopy(path, m_ctx.WorkbookPath);
    if (!why.isEmpty())
        throw RuntimeError(75, QStringLiteral("パス名が無効です。")).withCause(why);
    // A template marked read-only keeps that mark on its copy; the work copy must be writable.
    QFile::setPermissions(m_ctx.WorkbookPath, QFile::permissions(m_ctx.WorkbookPath) |
                                                  QFileDevice::WriteOwner | QFileDevice::ReadOwner);
}

void WorkbookControl::ReleaseExcel()
{
    m_opener = nullptr;
    if (m_clearClipboard)
        m_clearClipboard();
}
