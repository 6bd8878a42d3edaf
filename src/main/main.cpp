// The program's entry: the start routine, then the event loop for as long as a screen is open.
#include "Main.h"
#include "AppContext.h"
#include "Database.h"
#include "Initial.h"
#include "MainMenu.h"
#include "QtJapanese.h"
#include "WidgetServices.h"
#include "WorkScreens.h"

#include <QApplication>

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

    // The lock against a second copy is held for as long as the program runs.
    Startup startup(ctx);
    std::unique_ptr<MainMenu> menu = Main(ctx, startup, QCoreApplication::applicationDirPath(),
                                          [&ctx](MainMenu& m) { RegisterWorkScreens(m, ctx); });
    if (!menu)
        return 0;
    const int status = app.exec();
    // A screen left open when the program ends still holds its connection: its log goes into the
    // database file now, so that the file alone is whole once the program has gone.
    Database::CheckpointAll();
    return status;
}
