#pragma once

#include "EditorScreen.h"

#include <QPointer>
#include <QWidget>
#include <functional>

struct AppContext;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;
class QRadioButton;

// What the program plugs into the drawing list search: the data search screen opened by "検索(F1)"
// (empty: the user is told it is not available yet) and the input aids of the editors it opens.
struct SearchHooks {
    std::function<void(AppContext&, QWidget* owner)> openDataSearch;
    EditorAids editorAids;
};

// "検索条件": names a parts table by drawing number, assembly, kind, name and designer, opens it in
// the editor, or deletes it.
class DrawingSearchScreen : public QWidget
{
    Q_OBJECT
public:
    DrawingSearchScreen(AppContext& ctx, SearchHooks hooks = {}, QWidget* parent = nullptr);

    // Fills the lists, connects to the database and fills the name list. False when it failed (the
    // error has been shown).
    bool load();
    // The kind chosen with the option buttons: "1" or "2".
    QString kind() const;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildUi();
    void command(const std::function<void()>& body);
    void fillNames();
    void makerCheckClicked();
    void updateMakerFilter();
    bool inputCheck();
    void openEditor();
    void rememberChoices();
    QWidget* editorOwner();
    QList<EditorScreen*> openEditors() const;
    void dataSearch();
    void deleteTable();

    AppContext& m_ctx;
    SearchHooks m_hooks;
    QLineEdit* m_dwgNo = nullptr;
    QLineEdit* m_assy = nullptr;
    QComboBox* m_name = nullptr;
    QComboBox* m_designer = nullptr;
    QRadioButton* m_kind1 = nullptr;
    QRadioButton* m_kind2 = nullptr;
    QCheckBox* m_makerCheck = nullptr;
    QComboBox* m_maker = nullptr;
    QPushButton* m_cmd[4] = {};
    QList<QPointer<EditorScreen>> m_editors;
};

// Opens the drawing list search from the menu: the menu's buttons are disabled until it closes.
QWidget* createDrawingSearch(AppContext& ctx, QWidget* owner, SearchHooks hooks = {});
