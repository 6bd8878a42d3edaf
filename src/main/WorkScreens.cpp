#include "WorkScreens.h"

#include "AppContext.h"
#include "DrawingSearch.h"
#include "InstallPrintRun.h"
#include "MainMenu.h"
#include "OutputSettingsEntry.h"
#include "SearchAidsGlue.h"

// Each screen is made the first time its slot is pressed, as a child window of the menu; it
// enables the menu's buttons again when it closes. The list output is installed here too, so the
// editor's and the settings screen's "印刷ﾌﾟﾚﾋﾞｭｰ" reach the print run; the search screen gets the
// data search and the editor's input aids.
void RegisterWorkScreens(MainMenu& menu, AppContext& ctx, WarmRenderer* renderer)
{
    installPrintRun(ctx, renderer);
    menu.registerScreen(0, [&ctx](QWidget* owner) -> QWidget* { return createOutputSettings(ctx, owner); });
    menu.registerScreen(
        1, [&ctx](QWidget* owner) -> QWidget* { return createDrawingSearch(ctx, owner, MakeSearchHooks()); });
}
