#include "Spreadsheet.h"

#include "LibreOffice.h"
#include "MessageService.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace
{

QString mimeTypeOf(const QString& path)
{
    return QFileInfo(path).suffix().compare(u"xls", Qt::CaseInsensitive) == 0
               ? QStringLiteral("application/vnd.ms-excel")
               : QStringLiteral("application/vnd.openxmlformats-officedocument.spreadsheetml.sheet");
}

// The desktop file of the program registered for the type, "" when there is none.
QString registeredProgram(const QString& mimeType)
{
    const QString xdgMime = QStandardPaths::findExecutable(QStringLiteral("xdg-mime"));
    if (xdgMime.isEmpty())
        return {};
    QProcess query;
    query.start(xdgMime, {QStringLiteral("query"), QStringLiteral("default"), mimeType});
    if (!query.waitForFinished(10000) || query.exitCode() != 0)
        return {};
    return QString::fromLocal8Bit(query.readAllStandardOutput()).trimmed();
}

// LibreOffice without its window system parts (Debian's "nogui" packages) can only convert.
bool canShowWindows(const QString& soffice)
{
    const QDir programDir = QFileInfo(QFileInfo(soffice).canonicalFilePath()).absoluteDir();
    return !programDir.entryList({QStringLiteral("libvclplug_*")}, QDir::Files).isEmpty();
}

} // namespace

QString OpenInSpreadsheet(const QString& workbookPath)
{
    const QString file = QFileInfo(workbookPath).absoluteFilePath();
    if (!QFileInfo::exists(file))
        return QStringLiteral("ファイルがありません。");
    const QString xdgOpen = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    if (!xdgOpen.isEmpty() && !registeredProgram(mimeTypeOf(file)).isEmpty() &&
        QProcess::startDetached(xdgOpen, {file}))
        return {};
    const QString soffice = LibreOffice::program();
    if (!soffice.isEmpty() && canShowWindows(soffice) &&
        QProcess::startDetached(soffice, {QStringLiteral("--calc"), file}))
        return {};
    return QStringLiteral("このコンピュータには、ブックを開ける表計算ソフト（LibreOffice Calc など）が"
                          "インストールされていません。");
}

void HandOverWorkbook(MessageService& messages, const QString& workbookPath)
{
    const QString problem = OpenInSpreadsheet(workbookPath);
    if (problem.isEmpty())
        return;
    messages.show(MsgIcon::Exclamation, MsgButtons::Ok, QStringLiteral("表計算ソフトで開く"),
                  QStringLiteral("ブックを表計算ソフトで開けませんでした。\n") + problem +
                      QStringLiteral("\nブックはここにあります：\n") +
                      QDir::toNativeSeparators(workbookPath));
}
