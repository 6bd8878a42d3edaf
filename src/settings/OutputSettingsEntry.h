#pragma once

class QWidget;
struct AppContext;

// Opens the output settings screen KVRCAD0003 over the owner (the main menu) and returns it.
// The screen deletes itself when it is closed.
QWidget* createOutputSettings(AppContext& ctx, QWidget* owner);
