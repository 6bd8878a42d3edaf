#pragma once

#include <QString>
#include <QStringList>

// LibreOffice run headless for the two jobs it does for the list output: turning an old .xls
// template into .xlsx, and rendering the filled work copy to PDF for the preview.
namespace LibreOffice
{

// The soffice program, or "" when LibreOffice is not installed. setProgram overrides the search
// (tests use it to act as a machine without LibreOffice: a path that is not a program).
QString program();
void setProgram(const QString& path);
inline bool installed()
{
    return !program().isEmpty();
}

// The arguments of one conversion: a private profile folder (so that a running LibreOffice of the
// user does not take the job over), headless, the target format, the output folder and the file.
QStringList convertArguments(const QString& profileFolder, const QString& format, const QString& outFolder,
                             const QString& file);

// The path the converted file gets: the file's base name with the new suffix in outFolder.
QString convertedPath(const QString& file, const QString& outFolder, const QString& format);

// Checks a finished conversion: the output must exist and the log may not hold an "Error:" line.
// Returns "" when it is good, otherwise the reason.
QString checkConversion(const QString& output, const QByteArray& log);

// Converts synchronously (waits at most timeoutMs). Returns "" on success, otherwise the reason.
QString convert(const QString& profileFolder, const QString& format, const QString& outFolder,
                const QString& file, int timeoutMs = 180000);

} // namespace LibreOffice

// An .xls template converted to .xlsx once, cached by the file's hash in cacheFolder.
// Returns the .xlsx path; throws RuntimeError with a clear text when it cannot be done.
QString ConvertedXlsTemplate(const QString& xlsPath, const QString& workFolder);
