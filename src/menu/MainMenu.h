#pragma once

#include "Initial.h"

#include <QPointer>
#include <QWidget>
#include <array>
#include <functional>
#include <map>
#include <memory>

struct AppContext;
class QButtonGroup;
class QLabel;
class QPrinter;
class QPushButton;
class LogoStrip;

// The main menu KVRCAD0000: 24 configurable left-hand buttons in ten groups, ten right-hand group
// buttons, printer set-up (F9) and end (ESC). It is dressed by the start-up (LoadMenuSettings,
// ShowButtonGroup) through MenuView.
class MainMenu : public QWidget, public MenuView
{
    Q_OBJECT
public:
    // Makes the screen for a left-hand slot, owned by the menu. Returning nullptr means there is none.
    using ScreenFactory = std::function<QWidget*(QWidget* owner)>;

    explicit MainMenu(AppContext& ctx, QWidget* parent = nullptr);
    ~MainMenu() override;

    MenuState& state() { return m_state; }
    const MenuState& state() const { return m_state; }

    // The work screen that a slot opens, whatever the group: slot 0 the output settings screen,
    // slot 1 the drawing list search. The program registers them at start.
    void registerScreen(int slot, ScreenFactory factory);
    // The screen a slot has opened, while it exists.
    QWidget* openedScreen(int slot) const;

    // Enables or disables all 36 buttons (24 left, 10 groups, printer set-up, end).
    void EnableMenuButtons(bool enabled);

    // The printer set-up and the end of the program; tests replace them.
    std::function<void()> printerSetup;
    std::function<void()> endProgram;

    // MenuView
    void setMenuTitle(const QString& title) override;
    void setMenuColor(quint32 bgr) override;
    void setRightButton(int index, bool visible, const QString& words) override;
    void setLeftButton(int slot, bool visible, const QString& caption) override;

    // Switches the left-hand block to a group (what a right-hand group button does).
    void selectGroup(int group);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void leftClicked(int slot);
    void rightClicked(int index);
    void openScreen(int slot);
    void sayNoScreen(int slot);
    void showPrinterSetup();
    void endNow();

    AppContext& m_ctx;
    MenuState m_state;
    QLabel* m_title = nullptr;
    LogoStrip* m_logo = nullptr;
    std::array<QPushButton*, kMenuSlots> m_left{};
    std::array<QPushButton*, 12> m_right{};
    std::array<QString, 12> m_designedCaptions;
    QButtonGroup* m_groupButtons = nullptr;
    std::map<int, ScreenFactory> m_factories;
    std::map<int, QPointer<QWidget>> m_screens;
    std::unique_ptr<QPrinter> m_printer;
    bool m_ending = false;
};
