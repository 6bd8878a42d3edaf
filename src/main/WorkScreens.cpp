#include "WorkScreens.h"

#include "AppContext.h"
#include "MainMenu.h"

// Each screen is made the first time its slot is pressed, as a child window of the menu:
//     menu.registerScreen(1, [&ctx](QWidget* owner) -> QWidget* { return new KVRCAD0001(ctx, owner); });
// The screen calls EnableMenuButtons(ctx, true) when it closes.
void RegisterWorkScreens(MainMenu& menu, AppContext& ctx)
{
    (void)menu;
    (void)ctx;
}
