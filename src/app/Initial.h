#pragma once

#include "Int16.h"

#include <QString>
#include <array>
#include <memory>

struct AppContext;
class IniAccess;
class QLockFile;

// Start-up: the process-wide paths, the checks made before any screen is shown, and the dressing of
// the main menu from the settings file. Everything here works without a display; the main menu
// screen takes the results through MenuView.

// One left-hand button of the main menu, as the settings file describes it: "caption//target".
struct MenuButtonEntry {
    QString Caption; // the button text; an empty caption hides the button
    QString Target;  // the text after "//"; a click acts only when it is not empty
    QString Extra;   // never filled by the start-up; the main menu reads it
};

constexpr int kMenuGroups = 10; // groups 0 to 9 are filled (the table has room for 11)
constexpr int kMenuSlots = 24;  // slots 0 to 23 are filled (the table has room for 25)
constexpr int kRightGroupButtons = 10;

using ButtonTableType = std::array<std::array<MenuButtonEntry, kMenuSlots + 1>, kMenuGroups + 1>;

// The main menu's background colours, stored as 0x00BBGGRR. Index 0 is never set nor selected.
using MenuPaletteType = std::array<quint32, 17>;
MenuPaletteType MakeMenuPalette();

// The menu state that start-up loads and the main menu works with.
struct MenuState {
    QString MenuTitle;
    Int16 MenuColorIndex;
    std::array<QString, kRightGroupButtons + 1> RightButtonCaptions; // slot 10 is never used
    ButtonTableType ButtonTable;
    Int16 CurrentButtonGroup;
    MenuPaletteType MenuPalette{};
};

// What the start-up dresses on the main menu screen.
class MenuView
{
public:
    virtual ~MenuView() = default;
    // The window caption and the title label.
    virtual void setMenuTitle(const QString& title) = 0;
    // The background colour, as 0x00BBGGRR.
    virtual void setMenuColor(quint32 bgr) = 0;
    // Right-hand group button i (0 to 9): hidden, or shown with the words in front of its designed caption.
    virtual void setRightButton(int index, bool visible, const QString& words) = 0;
    // Left-hand button in slot k (0 to 23): hidden, or shown with the caption.
    virtual void setLeftButton(int slot, bool visible, const QString& caption) = 0;
};

// Reads the menu's title, colour, right-hand captions and button table and applies them as it goes.
// The first run-time error stops the load and shows "E002" with the error's description; what was
// applied up to that point stays. Returns false when it stopped.
bool LoadMenuSettings(IniAccess& ini, MenuState& state, MenuView& view);

// Re-labels the 24 left-hand buttons from one group of the table. A group outside 0 to 10 is a range
// error.
void ShowButtonGroup(const MenuState& state, const Int16& group, MenuView& view);

// Splits one "caption//target" entry; an entry without "//" is a run-time error (number 5).
MenuButtonEntry ParseButtonEntry(const QString& text, const QString& section, const QString& key);

// The start-up decisions before the main menu is made.
class Startup
{
public:
    enum class Result {
        Run,              // go on: load the menu and show it
        NoSettingsFile,   // the settings file is missing ("E003" was shown)
        DamagedSettings,  // the settings file cannot be read as a settings file (a box said so)
        WorkFolderFailed, // the work folder could not be made (an error box said so)
        SecondInstance,   // another copy of the program is running ("E001" was shown)
    };

    // lockFilePath: the per-user single-instance lock; empty takes the user's runtime folder.
    explicit Startup(AppContext& ctx, QString lockFilePath = QString());
    ~Startup();

    // The steps in their deliberate order: paths; the settings file must exist; the work folder is
    // made; a second instance is refused. So a second start still creates a missing work folder.
    Result prepare(const QString& programFolder);

    // The lock held for the life of the program (after Result::Run).
    QLockFile* lock() const { return m_lock.get(); }

    static QString defaultLockFilePath();

private:
    AppContext& m_ctx;
    QString m_lockFilePath;
    std::unique_ptr<QLockFile> m_lock;
};
