#pragma once

#include "Clock.h"
#include "FileDialogService.h"
#include "IniAccess.h"
#include "Int16.h"
#include "MessageService.h"
#include "PrintRequest.h"

#include <QString>
#include <functional>
#include <memory>

class Database;

// The process-wide state of the program, made once at start-up and handed to every screen.
// Nothing else in the program keeps global state.
struct AppContext {
    // Paths, each folder ending in exactly one separator.
    QString AppPath;
    QString DataFolder;
    QString DefaultDbPath;
    QString IniPath;
    QString WorkbookPath; // AppPath + "WORK/TEMP.xlsx": the work copy of a template

    // Services: the real ones in the program, scripted ones in tests.
    MessageService* messages = nullptr;
    FileDialogService* fileDialogs = nullptr;
    const Clock* clock = nullptr;
    std::unique_ptr<IniAccess> ini;

    // The one shared database connection (replaced at every connect).
    std::shared_ptr<Database> DbConnection;
    // Work that only reads (the batch print) opens the local database read-only: nothing is written
    // to it, its journal mode is left as it is, and a read-only file or folder serves.
    bool DbReadOnly = false;

    // The current kind of parts list, "1" (manufactured) or "2" (purchased).
    QString CurrentKind = QStringLiteral("1");

    // What the drawing list search screen offers to the list output: its maker filter.
    bool makerFilterOn = false;
    QString makerFilterText;

    // Set to 0 by the drawing list search before it opens the data search screen.
    Int16 DataSearchFlag;

    // Set by the main menu: enables or disables its buttons while a work screen is open.
    std::function<void(bool)> enableMenuButtons;

    // Set by the list output: runs a print run and its preview. Screens call it when it is set.
    std::function<void(const PrintRequest&)> printRun;

    // Builds the paths from the program's folder (with or without a trailing separator).
    void setPaths(const QString& programFolder);
    // Makes the settings service on IniPath with the given message service.
    void makeIni();
};
