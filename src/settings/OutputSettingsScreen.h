#pragma once

#include "SettingsRecord.h"
#include "SettingsWorkbooks.h"

#include <QWidget>
#include <array>
#include <functional>
#include <memory>

struct AppContext;
class Database;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class TeamLock;

// KVRCAD0003 "印刷用エクセル設定": edits the SETTEI row of one customer and kind.
class OutputSettingsScreen : public QWidget
{
    Q_OBJECT
public:
    OutputSettingsScreen(AppContext& ctx, QWidget* owner, std::unique_ptr<SettingsWorkbooks> workbooks = {});
    ~OutputSettingsScreen() override;
    // False when its opening failed (the box has been shown): the screen is not to be used.
    bool opened() const { return m_opened; }

    // The commands behind the buttons (each runs with the button row and frames disabled).
    void search();
    bool save();
    void chooseTemplate();
    void chooseImport();
    void preview();
    void importData();
    void newCustomer();

    // What the controls hold, as the record a save would write.
    SettingsRecord recordFromScreen() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    enum class FieldKind { Column, Row };
    struct HeaderControls {
        QCheckBox* check = nullptr;
        QComboBox* col = nullptr;
        QComboBox* row = nullptr;
    };
    struct DetailControls {
        QCheckBox* check = nullptr;
        QComboBox* col = nullptr;
        QLineEdit* heading = nullptr;
    };

    void buildControls();
    QWidget* buildTopArea();
    QGroupBox* buildHeaderFrame();
    QGroupBox* buildDetailFrame();
    QWidget* buildButtonRow();
    QComboBox* makeCombo(const QString& name, const QStringList& items, FieldKind kind, int width);
    QPushButton* makeButton(const QString& name, const QString& caption);
    void addFunctionKey(int key, QPushButton* button);

    void loadSettings();
    // Team use: holds the layout of the customer and kind open for this desk; false (after a box
    // naming who edits it) when another desk does. saving: the box refuses the save.
    bool holdLayout(const QString& user, const QString& kind, bool saving);
    void fillFromRecord(const SettingsRecord& r);
    void applyHeaderEnabling(int item);
    void applyDetailEnabling(int item);
    void applyDetailRowsEnabling();

    // Runs a command with the customer list, the button row and the four frames disabled.
    void runAction(const std::function<void()>& action);
    void setBusy(bool busy);
    void focusAfterAction(QWidget* w);

    bool fieldValid(QComboBox* box) const;
    void checkField(QComboBox* box, bool leaving);

    QString chooseWorkbook(QPushButton* button);
    Database& database();
    QString currentKind() const;

    AppContext& m_ctx;
    std::unique_ptr<SettingsWorkbooks> m_workbooks;
    std::shared_ptr<Database> m_connection;
    bool m_opened = false;
    std::unique_ptr<TeamLock> m_layoutLock;

    QComboBox* m_user = nullptr;
    QPushButton* m_newUser = nullptr;
    QGroupBox* m_kindFrame = nullptr;
    QRadioButton* m_manufactured = nullptr;
    QRadioButton* m_purchased = nullptr;
    QGroupBox* m_fileFrame = nullptr;
    QLineEdit* m_orgPath = nullptr;
    QLineEdit* m_orgSheet = nullptr;
    QLineEdit* m_cpyPath = nullptr;
    QLineEdit* m_cpySheet = nullptr;
    QComboBox* m_pageMax = nullptr;
    QGroupBox* m_headerFrame = nullptr;
    QLineEdit* m_midashi = nullptr;
    QComboBox* m_midashiCol = nullptr;
    QComboBox* m_midashiRow = nullptr;
    std::array<HeaderControls, kHeaderItemCount> m_header;
    QGroupBox* m_detailFrame = nullptr;
    std::array<DetailControls, kDetailItemCount> m_detail;
    QComboBox* m_detailFirstRow = nullptr;
    QComboBox* m_detailLastRow = nullptr;

    QPushButton* m_search = nullptr;
    QPushButton* m_save = nullptr;
    QPushButton* m_orgButton = nullptr;
    QPushButton* m_cpyButton = nullptr;
    QPushButton* m_preview = nullptr;
    QPushButton* m_import = nullptr;
    QPushButton* m_end = nullptr;

    QList<QComboBox*> m_checkedFields;
    bool m_filling = false;   // values put in by the program are not checked
    bool m_busy = false;      // a command runs: controls are disabled, focus moves are not checks
    bool m_reporting = false; // a field message is up or its focus return is pending
    bool m_closed = false;
    QWidget* m_focusAfter = nullptr;
};
