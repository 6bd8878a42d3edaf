#pragma once

struct AppContext;
class WarmRenderer;

// Installs the print run of the screens into ctx.printRun: the work copy is filled through the
// workbook engine, shown in the program's own preview window, and kept open in the desktop's
// spreadsheet program when the user asked for it. The preview renders through renderer (the
// program's LibreOffice kept warm) when it is given and ready. Call once at start-up.
void installPrintRun(AppContext& ctx, WarmRenderer* renderer = nullptr);
