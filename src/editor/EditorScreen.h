#pragma once

#include "PartsTableEditor.h"

#include <QWidget>
#include <functional>
#include <memory>

struct AppContext;
class Database;
class EditorModel;
class EditorScreen;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTableView;
class TeamLock;

// The editor's input aids that other screens provide: the history searches, the bracket picker
// and the copy of a whole stored table. Each gets the open editor; an empty one tells the user
// that the aid is not available yet.
struct EditorAids {
    std::function<void(EditorScreen&)> nameHistory;     // "品名履歴検索"
    std::function<void(EditorScreen&)> materialHistory; // "材質履歴検索"
    std::function<void(EditorScreen&)> bracket;         // "ｶｯｺ"
    std::function<void(EditorScreen&)> copyAll;         // "全コピー"
    std::function<void(EditorScreen&)> install;         // once, when the screen has been built
    std::function<void(EditorScreen&)> rememberInput;   // after a transfer wrote the input area
                                                        // into the current line
};

// "部品表作成": one parts table in a header area, an input area and the grid of its lines.
class EditorScreen : public QWidget
{
    Q_OBJECT
public:
    EditorScreen(AppContext& ctx, std::shared_ptr<Database> db, EditorAids aids = {},
                 QWidget* parent = nullptr);
    ~EditorScreen() override;

    // Fills the lists and loads the table named by the opening screen. False when loading failed
    // (the error has been shown).
    bool openTable(const EditorOpenValues& values);

    PartsTableEditor& editor() { return *m_editor; }
    AppContext& context() { return m_ctx; }
    QTableView* gridView() const { return m_view; }

    // Reads the drop-down lists again (after a list was added to elsewhere); what the fields show
    // stays.
    void refreshLists();

    // The input area and the current line.
    void refreshInputArea();
    InputValues inputValues() const;
    void setInputValues(const InputValues& values);
    // Moves the current line (1 = the first data line) and shows it in the input area.
    void setCurrentLine(int row);

    // The input field of the input area that last had the focus, null before any had it.
    QWidget* lastInputField() const { return m_lastInputField; }

    // The standard height of a data line in pixels.
    int lineHeight() const { return m_lineHeight; }

    // Why the table cannot be saved here (another desk edits it), empty when it can.
    const QString& readOnlyReason() const { return m_readOnlyReason; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildUi();
    void fitGridWidth();
    void fillLists();
    void showHeader();
    void refreshStatus();
    void connectCommands();
    void command(const std::function<void()>& body);
    void runAid(const std::function<void(EditorScreen&)>& aid);

    void save();
    void transfer();
    void clearInput();
    void clearLastCharacter();
    void chooseStartNumber();
    void preview();
    void endCommand();
    void onViewCurrentChanged(int row, int col);
    bool acceptTypedCell(int col, QString& text);
    bool takeTableLock(const EditorOpenValues& values);

    AppContext& m_ctx;
    std::unique_ptr<PartsTableEditor> m_editor;
    EditorAids m_aids;
    EditorModel* m_model = nullptr;
    QTableView* m_view = nullptr;
    int m_lineHeight = 18;
    bool m_syncing = false;
    bool m_closeConfirmed = false;
    int m_shownRow = -1;
    QWidget* m_lastInputField = nullptr;

    QLabel* m_title = nullptr;
    QLabel* m_dwgNo = nullptr;
    QLabel* m_name = nullptr;
    QLabel* m_assy = nullptr;
    QLabel* m_date = nullptr;
    QLabel* m_designer = nullptr;
    QLabel* m_status = nullptr;
    QComboBox* m_customer = nullptr;

    QComboBox* m_hinmei = nullptr;
    QComboBox* m_zaishitu = nullptr;
    QLineEdit* m_suryo = nullptr;
    QComboBox* m_tani = nullptr;
    QLineEdit* m_suryo2 = nullptr;
    QComboBox* m_tani2 = nullptr;
    QLineEdit* m_tanka = nullptr;
    QLineEdit* m_biko = nullptr;
    QComboBox* m_maker = nullptr;

    QCheckBox* m_abolish = nullptr;
    QCheckBox* m_bracket = nullptr;
    QCheckBox* m_pagePerMaker = nullptr;
    QCheckBox* m_keepExcel = nullptr;
    QCheckBox* m_summary = nullptr;

    QPushButton* m_insertUp = nullptr;
    QPushButton* m_insertDown = nullptr;
    QPushButton* m_deleteLine = nullptr;
    QPushButton* m_copyLine = nullptr;
    QPushButton* m_copyAll = nullptr;
    QPushButton* m_update = nullptr;
    QPushButton* m_preview = nullptr;
    QPushButton* m_end = nullptr;
    QPushButton* m_startNo = nullptr;
    QPushButton* m_clearChar = nullptr;
    QPushButton* m_clear = nullptr;
    QPushButton* m_bracketAid = nullptr;
    QPushButton* m_nameHistory = nullptr;
    QPushButton* m_materialHistory = nullptr;
    QPushButton* m_transfer = nullptr;

    // Team use: the table held open for editing on the server, or why it is read-only here.
    std::shared_ptr<Database> m_db;
    std::unique_ptr<TeamLock> m_lock;
    QString m_readOnlyReason;
};
