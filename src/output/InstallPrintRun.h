#pragma once

struct AppContext;

// Installs the print run of the screens into ctx.printRun: the work copy is filled through the
// workbook engine, shown in the program's own preview window, and kept open in the desktop's
// spreadsheet program when the user asked for it. Call once at start-up.
void installPrintRun(AppContext& ctx);
