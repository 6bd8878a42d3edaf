#pragma once

#include "ImportParser.h"

#include <QString>
#include <QStringList>
#include <memory>

struct AppContext;

// The workbook operations the output settings screen needs: open a workbook through the file
// dialog (the "SHINKI" mode of opening a template), list its sheets, close it; and open the
// sheet of an import workbook for reading.
class SettingsWorkbooks
{
public:
    virtual ~SettingsWorkbooks() = default;
    // path "SHINKI" (or empty) asks for the file. Returns the path, "NO" when nothing was chosen
    // or opening failed ("E109"/"E111" shown), "ERROR" when the file does not exist ("E114" shown).
    virtual QString OpenTemplate(const QString& path) = 0;
    // Sheet names of the workbook opened last, in workbook order.
    virtual QStringList SheetNames() const = 0;
    virtual void Close() = 0;
    // The named sheet (the first one when the name is empty) of a workbook, for reading.
    // Throws RuntimeError when the file or the sheet cannot be read.
    virtual std::unique_ptr<SheetCells> OpenSheet(const QString& path, const QString& sheet) = 0;
};

// The implementation on the program's workbook engine: the chosen file is copied over the work
// copy and opened from there, as every template is.
std::unique_ptr<SettingsWorkbooks> MakeEngineWorkbooks(AppContext& ctx);
