#pragma once

struct AppContext;
class MainMenu;
class WarmRenderer;

// Registers the work screens that the main menu's slots open: slot 0 the output settings screen
// KVRCAD0003, slot 1 the drawing list search KVRCAD0001 (in whatever group the settings file puts
// them). A slot without a screen tells the user so when it is pressed. The previews render through
// renderer, the program's LibreOffice kept warm, when it is ready.
void RegisterWorkScreens(MainMenu& menu, AppContext& ctx, WarmRenderer* renderer);
