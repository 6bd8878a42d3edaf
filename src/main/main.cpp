// The program's entry: the start-up steps, then the main menu and the information screen.
#include "AppContext.h"
#include "CommandGuard.h"
#include "IniAccess.h"
#include "Initial.h"
#include "KVRInfo.h"
#include "MainMenu.h"
#include "WidgetServices.h"
#include "WorkScreens.h"

#include <QApplication>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("buhinhyo"));
    QCoreApplication::setApplicationVersion(QStringLiteral(BUHINHYO_VERSION));
    QApplication::setFont(screenFont(10));

    WidgetMessageService messages;
    WidgetFileDialogService fileDialogs;
    SystemClock clock;
    AppContext ctx;
    ctx.messages = &messages;
    ctx.fileDialogs = &fileDialogs;
    ctx.clock = &clock;

    // Paths, the settings file, the work folder, one copy per user: any refusal ends the program
    // before a screen is shown.
    Startup startup(ctx);
    if (startup.prepare(QCoreApplication::applicationDirPath()) != Startup::Result::Run)
        return 0;

    MainMenu menu(ctx);
    RegisterWorkScreens(menu, ctx);
    LoadMenuSettings(*ctx.ini, menu.state(), menu);
    menu.state().CurrentButtonGroup = Int16();
    guardCommand(messages, [&] { ShowButtonGroup(menu.state(), menu.state().CurrentButtonGroup, menu); });
    menu.show();

    auto* info = new KVRInfo(&menu);
    info->show();
    return app.exec();
}
