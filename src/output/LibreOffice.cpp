#include "LibreOffice.h"

#include "RuntimeError.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

namespace
{
QString& programOverride()
{
    static QString path;
    return path;
}
bool& overrideSet()
{
    static bool set = false;
    return set;
}
} // namespace

namespace LibreOffice
{

QString program()
{
    if (overrideSet())
        return QFileInfo(programOverride()).isExecutable() ? programOverride() : QString();
    QString found = QStandardPaths::findExecutable(QStringLiteral("soffice"));
    if (found.isEmpty())
        found = QStandardPaths::findExecutable(QStringLiteral("libreoffice"));
    return found;
}

void setProgram(const QString& path)
{
    programOverride() = path;
    overrideSet() = true;
}

QStringList convertArguments(const QString& profileFolder, const QString& format, const QString& outFolder,
                             const QString& file)
{
    return {QStringLiteral("-env:UserInstallation=") +
                QUrl::fromLocalFile(QDir(profileFolder).absolutePath()).toString(),
            QStringLiteral("--headless"),
            QStringLiteral("--norestore"),
            QStringLiteral("--convert-to"),
            format,
            QStringLiteral("--outdir"),
            QDir(outFolder).absolutePath(),
            QFileInfo(file).absoluteFilePath()};
}

QString convertedPath(const QString& file, const QString& outFolder, const QString& format)
{
    return QDir(outFolder).absoluteFilePath(QFileInfo(file).completeBaseName() + u'.' + format);
}

QString checkConversion(const QString& output, const QByteArray& log)
{
    // soffice ends with status 0 even when it could not load the file; only its log tells.
    for (const QByteArray& line : log.split('\n')) {
        if (line.trimmed().startsWith("Error:"))
            return QStringLiteral("LibreOffice がブックを読み込めませんでした。原因: ") +
                   QString::fromLocal8Bit(line.trimmed());
    }
    if (!QFileInfo(output).isFile() || QFileInfo(output).size() == 0)
        return QStringLiteral("変換結果のファイルが作成されませんでした。");
    return {};
}

QString convert(const QString& profileFolder, const QString& format, const QString& outFolder,
                const QString& file, int timeoutMs)
{
    const QString soffice = program();
    if (soffice.isEmpty())
        return QStringLiteral("LibreOffice がインストールされていません。");
    const QString output = convertedPath(file, outFolder, format);
    QFile::remove(output);
    QDir().mkpath(outFolder);
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(soffice, convertArguments(profileFolder, format, outFolder, file));
    if (!process.waitForStarted(30000))
        return QStringLiteral("LibreOffice を起動できませんでした。");
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished(5000);
        return QStringLiteral("LibreOffice の変換が時間内に終わりませんでした。");
    }
    return checkConversion(output, process.readAll());
}

} // namespace LibreOffice

QString ConvertedXlsTemplate(const QString& xlsPath, const QString& workFolder)
{
    const QString advice =
        QStringLiteral("ファイル %1 は古い形式（.xls）です。").arg(QDir::toNativeSeparators(xlsPath));
    QFile in(xlsPath);
    if (!in.open(QIODevice::ReadOnly))
        throw RuntimeError(75, advice + QStringLiteral("\nファイルを読めません: ") + in.errorString());
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(&in);
    const QString key = QString::fromLatin1(hash.result().toHex());
    const QString cacheFolder = QDir(workFolder).absoluteFilePath(QStringLiteral("xls-cache"));
    const QString cached = QDir(cacheFolder).absoluteFilePath(key + QStringLiteral(".xlsx"));
    if (QFileInfo(cached).isFile())
        return cached;
    if (!LibreOffice::installed())
        throw RuntimeError(
            1004, advice + QStringLiteral("\nLibreOffice がインストールされていないため変換できません。"
                                          "表計算ソフトで .xlsx 形式で保存し直し、設定し直して下さい。"));

    // One conversion at a time: print runs started together share the cache and the profile. A run
    // that waited finds the file the other one made.
    QDir().mkpath(cacheFolder);
    QLockFile lock(cacheFolder + QStringLiteral(".lock"));
    lock.setStaleLockTime(0);
    lock.lock();
    if (QFileInfo(cached).isFile())
        return cached;

    // Converted under a neutral name in a folder of its own, then moved into the cache.
    const QString jobFolder = QDir(cacheFolder).absoluteFilePath(key);
    QDir(jobFolder).removeRecursively();
    QDir().mkpath(jobFolder);
    const QString source = QDir(jobFolder).absoluteFilePath(QStringLiteral("template.xls"));
    QFile::copy(xlsPath, source);
    const QString profile = QDir(workFolder).absoluteFilePath(QStringLiteral("lo-profile-convert"));
    const QString problem = LibreOffice::convert(profile, QStringLiteral("xlsx"), jobFolder, source);
    if (!problem.isEmpty()) {
        QDir(jobFolder).removeRecursively();
        throw RuntimeError(1004, advice + QStringLiteral("\n.xlsx への変換に失敗しました（") + problem +
                                     QStringLiteral("）。表計算ソフトで .xlsx 形式で保存し直して下さい。"));
    }
    QFile::rename(LibreOffice::convertedPath(source, jobFolder, QStringLiteral("xlsx")), cached);
    QDir(jobFolder).removeRecursively();
    return cached;
}
