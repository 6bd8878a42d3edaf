// The program's entry: the start routine, then the event loop for as long as a screen is open.
#include "Main.h"
#include "AppContext.h"
#include "Database.h"
#include "Initial.h"
#include "MainMenu.h"
#include "QtJapanese.h"
#include "WarmRenderer.h"
#include "WidgetServices.h"
#include "WorkScreens.h"

#include <QApplication>
#include <QFileInfo>
#include <QTimer>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("buhinhyo"));
    QCoreApplication::setApplicationVersion(QStringLiteral(BUHINHYO_VERSION));
    QApplication::setFont(screenFont(10));
    if (!LoadQtJapanese(app))
        qWarning("Qt's Japanese texts (qtbase_ja, Debian qt6-translations-l10n) are not installed; "
                 "buttons and dialogs show English texts.");

    WidgetMessageService messages;
    WidgetFileDialogService fileDialogs;
    SystemClock clock;
    AppContext ctx;
    ctx.messages = &messages;
    ctx.fileDialogs = &fileDialogs;
    ctx.clock = &clock;

    // The lock against a second copy is held for as long as the program runs, so that two renderers
    // never share a profile.
    Startup startup(ctx);
    // The previews' LibreOffice, one for the program, started in the background once the menu is
    // up; it ends with the program.
    std::unique_ptr<WarmRenderer> renderer;
    std::unique_ptr<MainMenu> menu =
        Main(ctx, startup, QCoreApplication::applicationDirPath(), [&ctx, &renderer](MainMenu& m) {
            renderer = std::make_unique<WarmRenderer>(QFileInfo(ctx.WorkbookPath).absolutePath());
            RegisterWorkScreens(m, ctx, renderer.get());
        });
    if (!menu)
        return 0;
    QTimer::singleShot(0, renderer.get(), &WarmRenderer::start);
    const int status = app.exec();
    // A screen left open when the program ends still holds its connection: its log goes into the
    // database file now, so that the file alone is whole once the program has gone.
    Database::CheckpointAll();
    return status;
}
