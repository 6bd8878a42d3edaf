#pragma once

#include "PageLayout.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

struct AppContext;
struct PrintRequest;

// The work-copy workbook as a print run uses it. The workbook engine implements it; tests can give
// their own.
class OutputWorkbook
{
public:
    virtual ~OutputWorkbook() = default;
    // The named sheet receives the pages; its rows 1..formRows as they are now become the page form
    // (none when formRows is below 1). Throws RuntimeError (9) when the workbook has no such sheet.
    virtual void selectOutputSheet(const QString& name, int formRows) = 0;
    virtual LayoutTarget& target() = 0;
    // Makes the print area cover every page laid out.
    virtual void extendPrintArea(int pages, int pageRows) = 0;
    virtual void renameOutputSheet(const QString& name) = 0;
    virtual void save() = 0;
    // Writes a copy of the saved workbook that prints the output sheet alone (the other sheets
    // hidden) at path and returns it: what the preview, its printing and the PDF show. A workbook of
    // one sheet prints as it is: its own path comes back and nothing is written.
    virtual QString savePrintCopy(const QString& path) = 0;
    // What of the template did not come through to every page as it is in the form (controls and
    // charts left on page 1, links not updated, …), in the user's words; empty when all did.
    virtual QStringList notes() const { return {}; }
};
// Opens the work copy; throws RuntimeError when it cannot be read.
using WorkbookOpener = std::function<std::unique_ptr<OutputWorkbook>(const QString& path)>;

// What the user sees of a run: the busy pointer, progress, the preview and the kept workbook.
class PrintPresenter
{
public:
    virtual ~PrintPresenter() = default;
    virtual void busy(bool /*on*/) {}
    virtual void progress(int /*page*/, int /*totalPages*/) {}
    // Shows the filled and saved work copy: printPath is its copy that prints the output sheet
    // alone; notes say what of the template did not come through to every page, runNotes what of
    // the list the page loop left out or cut (a column "AA", a row that is no number, page breaks
    // past the sheet's limit, a text too long for a cell). Returns when the user has closed the
    // preview.
    virtual void preview(const QString& workbookPath, const QString& printPath, const QStringList& notes,
                         const QStringList& runNotes) = 0;
    // "印刷ﾌﾟﾚﾋﾞｭｰ後にｴｸｾﾙ表示": the renamed and saved work copy goes on in the spreadsheet program.
    virtual void keepWorkbook(const QString& workbookPath) = 0;
    // Clears the system clipboard at the end of a run that did not keep the workbook.
    virtual void clearClipboard() {}
};

enum class PrintOutcome { Done, NoSettings, TemplateNotOpened, Failed };

// The print run behind "印刷ﾌﾟﾚﾋﾞｭｰ": settings lookup, template, list, pages, preview. Everything
// is reported to the user through the context's message service.
PrintOutcome RunPrint(AppContext& ctx, const PrintRequest& request, const WorkbookOpener& opener,
                      PrintPresenter& presenter);

// The text of the box shown when a run fails outside the page loop.
QString PrintErrorText(int number);
