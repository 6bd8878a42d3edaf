#pragma once

#include <QString>
#include <functional>
#include <memory>

struct AppContext;
class MainMenu;
class Startup;

// The start routine: builds the paths, requires the settings file, makes the work folder, refuses a
// second copy, then makes the main menu, dresses it from the settings file, shows group 0 and shows
// the menu with the information screen over it. Returns the menu, or nothing when the program is
// to end without a screen (a box has said why).
// registerScreens is given the menu before it is dressed, to register the work screens of its slots.
std::unique_ptr<MainMenu> Main(AppContext& ctx, Startup& startup, const QString& programFolder,
                               const std::function<void(MainMenu&)>& registerScreens = {},
                               int infoMilliseconds = 3000);
