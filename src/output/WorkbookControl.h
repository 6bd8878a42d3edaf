#pragma once

#include "Int16.h"

#include <QString>
#include <functional>

struct AppContext;

// Column letters of the output: only the single letters "A" (1) to "Z" (26). The settings screen
// accepts two-letter columns too; those convert to 0 here and the cell is left out at output time.
QString ColumnLetter(int number);
Int16 ColumnNumber(const QString& letter);

// The layer between the list output and the spreadsheet: the spreadsheet-running marker, opening a
// template as the work copy, and releasing everything after a run.
class WorkbookControl
{
public:
    // Opens the work copy in the workbook engine; throws RuntimeError when the file cannot be read.
    using Opener = std::function<void(const QString& workCopyPath)>;

    explicit WorkbookControl(AppContext& ctx);

    // Looks for a running spreadsheet program (LibreOffice or Excel). Found: the marker becomes "1"
    // and the result is 0 (false). Not found: the marker is cleared and the result is -1 (true).
    Int16 ExcelRunning();
    const QString& excelRunningMarker() const { return m_excelRunning; }

    // Result: the template path, "NO" (nothing chosen, or the copy or the opening failed) or
    // "ERROR" (no such file). The path "SHINKI" or an empty path asks for a file first.
    QString OpenTemplate(const QString& path);
    void setOpener(Opener opener) { m_opener = std::move(opener); }

    // The program's own windows are shown and hidden by the print run itself; there is no separate
    // application window to switch on and off, so these only keep the run's steps readable.
    void ShowExcel() {}
    void HideExcel() {}

    // Drops the run's objects and clears the clipboard (the old page copies went through it, and
    // users expect it to be empty after a run that did not keep the workbook). The clipboard belongs
    // to the window system, so the caller says how to clear it; a batch run has none.
    void ReleaseExcel();
    void setClipboardClearer(std::function<void()> clear) { m_clearClipboard = std::move(clear); }

    const QString& templatePath() const { return m_templatePath; }
    const QString& secondPath() const { return m_secondPath; }

private:
    // Copies (converting an .xls first) the template over the work copy. Throws RuntimeError.
    void copyToWorkCopy(const QString& path);

    AppContext& m_ctx;
    Opener m_opener;
    std::function<void()> m_clearClipboard;
    QString m_excelRunning;
    QString m_templatePath;
    QString m_secondPath;
};

// Whether a process of a spreadsheet program runs on this machine, looked up in /proc.
bool SpreadsheetProcessRunning(const QString& procFolder = QStringLiteral("/proc"));
// The work copy's copy that prints the output sheet alone, beside it.
QString PrintCopyPath(const QString& workCopyPath);
// Copies source over target through a temporary file beside target that takes its place only when
// the copy is complete: when anything fails the old target stays as it was. Returns "" or why not,
// naming the file and the system's message (a full disk, no permission).
QString ReplaceWithCopy(const QString& source, const QString& target);
// Makes a folder and those above it; throws RuntimeError 76 ("パスが見つかりません。") with the
// system's cause (a file of that name, no permission).
void MakeFolder(const QString& folder);
// Whether two paths name the same file: one file on disk however it is spelt or linked, or, when
// either does not exist yet, the same place.
bool SameFile(const QString& a, const QString& b);
// Removes what killed saves of the file left beside it (its name with a six-character suffix,
// "TEMP.xlsx.AbC123"): those files are only ever written by a save of that file.
void RemoveSaveLeftovers(const QString& file);
