#include "Main.h"

#include "AppContext.h"
#include "CommandGuard.h"
#include "CommonWidgets.h"
#include "IniAccess.h"
#include "Initial.h"
#include "KVRInfo.h"
#include "MainMenu.h"

std::unique_ptr<MainMenu> Main(AppContext& ctx, Startup& startup, const QString& programFolder,
                               const std::function<void(MainMenu&)>& registerScreens, int infoMilliseconds)
{
    if (startup.prepare(programFolder) != Startup::Result::Run)
        return nullptr;

    auto menu = std::make_unique<MainMenu>(ctx);
    if (registerScreens)
        registerScreens(*menu);
    // A stop inside the load has shown "E002"; the start goes on with what was loaded.
    LoadMenuSettings(*ctx.ini, menu->state(), *menu);
    menu->state().CurrentButtonGroup = Int16();
    guardCommand(*ctx.messages,
                 [&] { ShowButtonGroup(menu->state(), menu->state().CurrentButtonGroup, *menu); });
    // Placed by the program, so that the information screen can be centred over it.
    CentreOver(menu.get(), nullptr);
    menu->show();

    auto* info = new KVRInfo(menu.get(), infoMilliseconds);
    info->show();
    return menu;
}
