#pragma once

struct AppContext;
class MainMenu;

// Registers the work screens that the main menu's slots open: slot 0 the output settings screen
// KVRCAD0003, slot 1 the drawing list search KVRCAD0001 (in whatever group the settings file puts
// them). A slot without a screen tells the user so when it is pressed.
void RegisterWorkScreens(MainMenu& menu, AppContext& ctx);
