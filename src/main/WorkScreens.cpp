#include "WorkScreens.h"

#include "AppContext.h"
#include "DrawingSearch.h"
#include "MainMenu.h"
#include "SearchAidsGlue.h"

// Each screen is made the first time its slot is pressed, as a child window of the menu; it
// enables the menu's buttons again when it closes.
void RegisterWorkScreens(MainMenu& menu, AppContext& ctx)
{
    menu.registerScreen(1, [&ctx](QWidget* owner) -> QWidget* {
        return createDrawingSearch(ctx, owner, MakeSearchHooks());
    });
}
