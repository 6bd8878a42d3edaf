#include "OutputSettingsScreen.h"

#include "AppContext.h"
#include "ColumnLetters.h"
#include "CommandGuard.h"
#include "Common.h"
#include "CommonWidgets.h"
#include "Connect.h"
#include "Database.h"
#include "NewCustomerDialog.h"
#include "OutputSettingsEntry.h"
#include "RuntimeError.h"
#include "SettingsSave.h"
#include "SettingsWorkbooks.h"
#include "SheetSelectDialog.h"
#include "TeamMode.h"
#include "WidgetServices.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFileInfo>
#include <QFocusEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QShortcut>
#include <QTimer>
#include <QVBoxLayout>

namespace
{
const QString kHint = QStringLiteral("※必要な項目にチェックを入れて下さい。");
constexpr int kColumnWidth = 64;
constexpr int kRowWidth = 64;
} // namespace

OutputSettingsScreen::OutputSettingsScreen(AppContext& ctx, QWidget* owner,
                                           std::unique_ptr<SettingsWorkbooks> workbooks)
    : QWidget(owner, Qt::Window), m_ctx(ctx), m_workbooks(std::move(workbooks))
{
    setObjectName(QStringLiteral("KVRCAD0003"));
    setWindowTitle(QStringLiteral("印刷用エクセル設定"));
    applyScreenFont(this);
    if (!m_workbooks)
        m_workbooks = MakeEngineWorkbooks(ctx);

    // Opening: kind "1", the customer list, the drop-downs, then the database connection.
    m_ctx.CurrentKind = QStringLiteral("1");
    buildControls();
    m_opened = guardCommand(*m_ctx.messages,
                            [this] { FillComboFromList(*m_ctx.ini, m_user, QStringLiteral("USER")); });
    m_user->setCurrentIndex(-1);
    m_opened = m_opened && guardCommand(*m_ctx.messages, [this] {
                   const ConnectResult connected = ConnectDatabase(m_ctx);
                   m_connection = m_ctx.DbConnection;
                   // The connect routine has explained why the program cannot go on.
                   if (connected.endProgram)
                       QCoreApplication::exit(1);
               });
}

OutputSettingsScreen::~OutputSettingsScreen() = default;

// ---------------------------------------------------------------------------------------------
// Building the screen

QComboBox* OutputSettingsScreen::makeCombo(const QString& name, const QStringList& items, FieldKind kind,
                                           int width)
{
    auto* box = new QComboBox(this);
    box->setObjectName(name);
    box->setEditable(true);
    box->setInsertPolicy(QComboBox::NoInsert);
    // No completion: what the user types is what is checked and stored.
    box->setCompleter(nullptr);
    box->addItems(items);
    box->setCurrentIndex(-1);
    box->setMaxVisibleItems(15);
    box->setFixedWidth(width);
    box->setProperty("fieldKind", kind == FieldKind::Column ? 0 : 1);
    box->installEventFilter(this);
    connect(box, &QComboBox::editTextChanged, this, [this, box] { checkField(box, false); });
    m_checkedFields << box;
    return box;
}

QPushButton* OutputSettingsScreen::makeButton(const QString& name, const QString& caption)
{
    auto* b = new QPushButton(caption, this);
    b->setObjectName(name);
    b->setMinimumHeight(34);
    return b;
}

void OutputSettingsScreen::addFunctionKey(int key, QPushButton* button)
{
    auto* shortcut = new QShortcut(QKeySequence(key), this);
    shortcut->setContext(Qt::WindowShortcut);
    connect(shortcut, &QShortcut::activated, button, [button] {
        // A function key presses its button only while the button is enabled.
        if (button->isEnabled())
            button->click();
    });
}

QWidget* OutputSettingsScreen::buildTopArea()
{
    auto* area = new QWidget(this);
    auto* grid = new QGridLayout(area);
    grid->setContentsMargins(0, 0, 0, 0);

    auto* userLabel = new QLabel(QStringLiteral("客先"), area);
    m_user = new QComboBox(area);
    m_user->setObjectName(QStringLiteral("cboUser"));
    m_user->setEditable(true);
    m_user->setInsertPolicy(QComboBox::NoInsert);
    m_user->setCompleter(nullptr);
    m_user->setMinimumWidth(260);
    userLabel->setBuddy(m_user);
    m_newUser = makeButton(QStringLiteral("cmdNewUser"), QStringLiteral("客先登録"));

    m_kindFrame = new QGroupBox(area);
    m_kindFrame->setObjectName(QStringLiteral("fraKind"));
    m_manufactured = new QRadioButton(QStringLiteral("製作ﾘｽﾄ"), m_kindFrame);
    m_manufactured->setObjectName(QStringLiteral("optSeisaku"));
    m_purchased = new QRadioButton(QStringLiteral("購入ﾘｽﾄ"), m_kindFrame);
    m_purchased->setObjectName(QStringLiteral("optKounyu"));
    m_manufactured->setChecked(true);
    auto* kindLayout = new QHBoxLayout(m_kindFrame);
    kindLayout->setContentsMargins(8, 2, 8, 2);
    kindLayout->addWidget(m_manufactured);
    kindLayout->addWidget(m_purchased);

    auto* pageLabel = new QLabel(QStringLiteral("１頁行数"), area);
    m_pageMax = makeCombo(QStringLiteral("cboPageMax"), RowDropDownItems(), FieldKind::Row, kRowWidth);
    pageLabel->setBuddy(m_pageMax);

    grid->addWidget(userLabel, 0, 0);
    grid->addWidget(m_user, 0, 1);
    grid->addWidget(m_newUser, 0, 2);
    grid->addWidget(m_kindFrame, 0, 3);
    grid->addWidget(pageLabel, 0, 4, Qt::AlignRight);
    grid->addWidget(m_pageMax, 0, 5);
    grid->setColumnStretch(6, 1);

    // The workbook fields: read-only, filled by the two file buttons.
    m_fileFrame = new QGroupBox(area);
    m_fileFrame->setObjectName(QStringLiteral("fraFile"));
    auto* files = new QGridLayout(m_fileFrame);
    files->setContentsMargins(8, 4, 8, 4);
    auto makePath = [this](const QString& name) {
        auto* e = new QLineEdit(m_fileFrame);
        e->setObjectName(name);
        e->setReadOnly(true);
        return e;
    };
    m_orgPath = makePath(QStringLiteral("txtOrgPath"));
    m_orgSheet = makePath(QStringLiteral("txtOrgSheet"));
    m_cpyPath = makePath(QStringLiteral("txtCpyPath"));
    m_cpySheet = makePath(QStringLiteral("txtCpySheet"));
    m_orgSheet->setFixedWidth(200);
    m_cpySheet->setFixedWidth(200);
    files->addWidget(new QLabel(QStringLiteral("雛形ｴｸｾﾙﾌｧｲﾙ名"), m_fileFrame), 0, 0);
    files->addWidget(m_orgPath, 0, 1);
    files->addWidget(new QLabel(QStringLiteral("ｼｰﾄ"), m_fileFrame), 0, 2);
    files->addWidget(m_orgSheet, 0, 3);
    files->addWidget(new QLabel(QStringLiteral("取込ｴｸｾﾙﾌｧｲﾙ名"), m_fileFrame), 1, 0);
    files->addWidget(m_cpyPath, 1, 1);
    files->addWidget(new QLabel(QStringLiteral("ｼｰﾄ"), m_fileFrame), 1, 2);
    files->addWidget(m_cpySheet, 1, 3);
    files->setColumnStretch(1, 1);
    grid->addWidget(m_fileFrame, 1, 0, 1, 7);
    return area;
}

QGroupBox* OutputSettingsScreen::buildHeaderFrame()
{
    auto* frame = new QGroupBox(QStringLiteral("帳票ﾍｯﾀﾞｰ情報設定"), this);
    frame->setObjectName(QStringLiteral("fraHeader"));
    auto* grid = new QGridLayout(frame);
    grid->setVerticalSpacing(4);
    grid->addWidget(new QLabel(QStringLiteral("印刷するセル"), frame), 0, 2, 1, 2, Qt::AlignCenter);
    grid->addWidget(new QLabel(QStringLiteral("列"), frame), 1, 2, Qt::AlignCenter);
    grid->addWidget(new QLabel(QStringLiteral("行"), frame), 1, 3, Qt::AlignCenter);

    grid->addWidget(new QLabel(QStringLiteral("見出し"), frame), 2, 0);
    m_midashi = new QLineEdit(frame);
    m_midashi->setObjectName(QStringLiteral("txtMidashi"));
    m_midashi->setMinimumWidth(220);
    m_midashiCol =
        makeCombo(QStringLiteral("cboMidashi_C"), ColumnDropDownItems(), FieldKind::Column, kColumnWidth);
    m_midashiRow = makeCombo(QStringLiteral("cboMidashi_R"), RowDropDownItems(), FieldKind::Row, kRowWidth);
    grid->addWidget(m_midashi, 2, 1);
    grid->addWidget(m_midashiCol, 2, 2);
    grid->addWidget(m_midashiRow, 2, 3);

    for (int i = 0; i < kHeaderItemCount; ++i) {
        const QString item = kHeaderItems[size_t(i)].toString();
        HeaderControls& c = m_header[size_t(i)];
        c.check = new QCheckBox(kHeaderCaptions[size_t(i)].toString(), frame);
        c.check->setObjectName(QStringLiteral("chkH_") + item);
        c.col = makeCombo(QStringLiteral("cboH_") + item + QStringLiteral("_C"), ColumnDropDownItems(),
                          FieldKind::Column, kColumnWidth);
        c.row = makeCombo(QStringLiteral("cboH_") + item + QStringLiteral("_R"), RowDropDownItems(),
                          FieldKind::Row, kRowWidth);
        grid->addWidget(c.check, 3 + i, 0, 1, 2);
        grid->addWidget(c.col, 3 + i, 2);
        grid->addWidget(c.row, 3 + i, 3);
        connect(c.check, &QCheckBox::clicked, this, [this, i] { applyHeaderEnabling(i); });
        applyHeaderEnabling(i);
    }
    auto* hint = new QLabel(kHint, frame);
    grid->addWidget(hint, 3 + kHeaderItemCount, 0, 1, 4);
    grid->setRowStretch(4 + kHeaderItemCount, 1);
    grid->setColumnStretch(1, 1);
    return frame;
}

QGroupBox* OutputSettingsScreen::buildDetailFrame()
{
    auto* frame = new QGroupBox(QStringLiteral("明細行設定"), this);
    frame->setObjectName(QStringLiteral("fraDetail"));
    auto* grid = new QGridLayout(frame);
    grid->setVerticalSpacing(4);
    grid->addWidget(new QLabel(QStringLiteral("印刷列"), frame), 0, 1, Qt::AlignCenter);
    grid->addWidget(new QLabel(QStringLiteral("列見出し"), frame), 0, 2, Qt::AlignCenter);
    for (int i = 0; i < kDetailItemCount; ++i) {
        const QString item = kDetailItems[size_t(i)].toString();
        DetailControls& c = m_detail[size_t(i)];
        c.check = new QCheckBox(kDetailCaptions[size_t(i)].toString(), frame);
        c.check->setObjectName(QStringLiteral("chkM_") + item);
        c.col = makeCombo(QStringLiteral("cboM_") + item + QStringLiteral("_C"), ColumnDropDownItems(),
                          FieldKind::Column, kColumnWidth);
        c.heading = new QLineEdit(frame);
        c.heading->setObjectName(QStringLiteral("txtM_") + item);
        c.heading->setMinimumWidth(200);
        grid->addWidget(c.check, 1 + i, 0);
        grid->addWidget(c.col, 1 + i, 1);
        grid->addWidget(c.heading, 1 + i, 2);
        connect(c.check, &QCheckBox::clicked, this, [this, i] { applyDetailEnabling(i); });
        applyDetailEnabling(i);
    }
    auto* rows = new QHBoxLayout;
    rows->addWidget(new QLabel(QStringLiteral("明細印刷行"), frame));
    m_detailFirstRow =
        makeCombo(QStringLiteral("cboMeisai_SR"), RowDropDownItems(), FieldKind::Row, kRowWidth);
    m_detailLastRow =
        makeCombo(QStringLiteral("cboMeisai_ER"), RowDropDownItems(), FieldKind::Row, kRowWidth);
    rows->addWidget(m_detailFirstRow);
    rows->addWidget(new QLabel(QStringLiteral("～"), frame));
    rows->addWidget(m_detailLastRow);
    rows->addStretch();
    grid->addLayout(rows, 1 + kDetailItemCount, 0, 1, 3);
    grid->addWidget(new QLabel(kHint, frame), 2 + kDetailItemCount, 0, 1, 3);
    grid->setColumnStretch(2, 1);
    applyDetailRowsEnabling();
    return frame;
}

QWidget* OutputSettingsScreen::buildButtonRow()
{
    auto* row = new QWidget(this);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    m_search = makeButton(QStringLiteral("cmdSearch"), QStringLiteral("検索(F1)"));
    m_save = makeButton(QStringLiteral("cmdSave"), QStringLiteral("登録(F5)"));
    // After a load the caption says "新規登録" or "更新"; the key still presses it.
    m_save->setToolTip(QStringLiteral("F5キーでも押せます"));
    m_orgButton = makeButton(QStringLiteral("cmdOrgFile"), QStringLiteral("雛形ﾌｧｲﾙ設定"));
    m_cpyButton = makeButton(QStringLiteral("cmdCpyFile"), QStringLiteral("取込ﾌｧｲﾙ設定"));
    m_preview = makeButton(QStringLiteral("cmdPreview"), QStringLiteral("印刷ﾌﾟﾚﾋﾞｭｰ"));
    m_import = makeButton(QStringLiteral("cmdImport"), QStringLiteral("ﾃﾞｰﾀ取込実行"));
    m_end = makeButton(QStringLiteral("cmdEnd"), QStringLiteral("終了(F12)"));
    for (QPushButton* b : {m_search, m_save, m_orgButton, m_cpyButton, m_preview, m_import})
        layout->addWidget(b);
    layout->addStretch();
    layout->addWidget(m_end);
    return row;
}

void OutputSettingsScreen::buildControls()
{
    auto* top = buildTopArea();
    m_headerFrame = buildHeaderFrame();
    m_detailFrame = buildDetailFrame();

    auto* importNote = new QLabel(
        QStringLiteral(
            "ﾃﾞｰﾀ取込実行：取込ｴｸｾﾙのｼｰﾄを画面の設定（未登録でも可）のセルと列で１頁行数ごとに読みます。"
            "DWG.№の無い頁は読み飛ばし、取消線の明細は廃止として取り込みます。"
            "書き込む前に件数を確認し、既にある部品表は置き換え・追加・取り込まないを選べます。"),
        this);
    importNote->setObjectName(QStringLiteral("lblImportNote"));
    importNote->setWordWrap(true);

    auto* frames = new QHBoxLayout;
    frames->addWidget(m_headerFrame, 1);
    frames->addWidget(m_detailFrame, 1);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(top);
    layout->addLayout(frames, 1);
    layout->addWidget(importNote);
    layout->addWidget(buildButtonRow());

    connect(m_search, &QPushButton::clicked, this, [this] { runAction([this] { search(); }); });
    connect(m_save, &QPushButton::clicked, this, [this] { runAction([this] { save(); }); });
    connect(m_orgButton, &QPushButton::clicked, this, [this] { runAction([this] { chooseTemplate(); }); });
    connect(m_cpyButton, &QPushButton::clicked, this, [this] { runAction([this] { chooseImport(); }); });
    connect(m_preview, &QPushButton::clicked, this, [this] { runAction([this] { preview(); }); });
    connect(m_import, &QPushButton::clicked, this, [this] { runAction([this] { importData(); }); });
    connect(m_newUser, &QPushButton::clicked, this, [this] { runAction([this] { newCustomer(); }); });
    connect(m_end, &QPushButton::clicked, this, &QWidget::close);
    addFunctionKey(Qt::Key_F1, m_search);
    addFunctionKey(Qt::Key_F5, m_save);
    addFunctionKey(Qt::Key_F12, m_end);

    // A click on a customer of the list, or a change of the kind, loads at once.
    OnListPicked(m_user, this, [this] { runAction([this] { search(); }); });
    for (QRadioButton* option : {m_manufactured, m_purchased})
        connect(option, &QRadioButton::toggled, this, [this](bool on) {
            if (on && !m_filling && !m_busy)
                runAction([this] { search(); });
        });
}

// ---------------------------------------------------------------------------------------------
// Enabling

void OutputSettingsScreen::applyHeaderEnabling(int item)
{
    const HeaderControls& c = m_header[size_t(item)];
    ApplyCheckColor(c.check, c.col, QStringLiteral("COLOR ON"));
    ApplyCheckColor(c.check, c.row, QStringLiteral("COLOR ON"));
}

void OutputSettingsScreen::applyDetailEnabling(int item)
{
    const DetailControls& c = m_detail[size_t(item)];
    ApplyCheckColor(c.check, c.col, QStringLiteral("COLOR ON"));
    ApplyCheckColor(c.check, c.heading, QStringLiteral("COLOR ON"));
    applyDetailRowsEnabling();
}

void OutputSettingsScreen::applyDetailRowsEnabling()
{
    if (!m_detailFirstRow)
        return;
    bool any = false;
    for (const DetailControls& c : m_detail)
        any = any || (c.check && IsChecked(c.check));
    SetFieldEnabled(any, m_detailFirstRow);
    SetFieldEnabled(any, m_detailLastRow);
}

// ---------------------------------------------------------------------------------------------
// Commands

void OutputSettingsScreen::runAction(const std::function<void()>& action)
{
    if (m_busy)
        return;
    // Disabling the controls moves the focus on; it goes back to where the user was unless the
    // command named a field to go to.
    // A pick in the customer list has the focus in the list's popup: the box itself is where the
    // user was.
    QWidget* focused = QApplication::focusWidget();
    while (focused && focused->window() != this)
        focused = focused->window()->parentWidget();
    const QPointer<QWidget> was = focused;
    setBusy(true);
    m_focusAfter = nullptr;
    guardCommand(*m_ctx.messages, action);
    setBusy(false);
    QWidget* next = m_focusAfter ? m_focusAfter : was.data();
    if (next && !m_closed && next->isEnabled())
        next->setFocus(Qt::OtherFocusReason);
    m_focusAfter = nullptr;
}

void OutputSettingsScreen::setBusy(bool busy)
{
    m_busy = busy;
    m_user->setEnabled(!busy);
    for (QPushButton* b : {m_search, m_save, m_end, m_orgButton, m_cpyButton, m_preview, m_import})
        b->setEnabled(!busy);
    for (QGroupBox* f : {m_kindFrame, m_fileFrame, m_headerFrame, m_detailFrame})
        f->setEnabled(!busy);
}

void OutputSettingsScreen::focusAfterAction(QWidget* w)
{
    m_focusAfter = w;
}

Database& OutputSettingsScreen::database()
{
    if (!m_connection)
        throw RuntimeError(3704, QStringLiteral("データベースに接続されていません。"));
    return *m_connection;
}

QString OutputSettingsScreen::currentKind() const
{
    return KindFromOption(m_manufactured->isChecked());
}

void OutputSettingsScreen::search()
{
    loadSettings();
}

void OutputSettingsScreen::loadSettings()
{
    m_ctx.CurrentKind = currentKind();
    holdLayout(m_user->currentText(), m_ctx.CurrentKind, false);
    const std::optional<SettingsRecord> row =
        ReadSettings(database(), m_user->currentText(), m_ctx.CurrentKind);
    if (!row) {
        // Nothing changes but the caption: a save stores whatever the screen shows.
        m_save->setText(QStringLiteral("新規登録"));
        return;
    }
    m_save->setText(QStringLiteral("更新"));
    fillFromRecord(*row);
}

void OutputSettingsScreen::fillFromRecord(const SettingsRecord& r)
{
    m_filling = true;
    m_orgPath->setText(r.orgPath);
    m_orgSheet->setText(r.orgSheet);
    m_cpyPath->setText(r.cpyPath);
    m_cpySheet->setText(r.cpySheet);
    m_pageMax->setEditText(r.pageMax);
    m_midashiRow->setEditText(r.midashiRow);
    m_midashiCol->setEditText(r.midashiCol);
    m_midashi->setText(r.midashi);
    for (int i = 0; i < kHeaderItemCount; ++i) {
        const HeaderCell& h = r.header[size_t(i)];
        HeaderControls& c = m_header[size_t(i)];
        // An unticked item keeps what its drop-downs showed before: they are not cleared.
        if (h.on) {
            c.col->setEditText(h.col.trimmed());
            c.row->setEditText(h.row.trimmed());
        }
        c.check->setChecked(h.on);
        applyHeaderEnabling(i);
    }
    for (int i = 0; i < kDetailItemCount; ++i) {
        const DetailColumn& d = r.detail[size_t(i)];
        DetailControls& c = m_detail[size_t(i)];
        c.check->setChecked(d.on);
        c.col->setEditText(d.on ? d.startCol : QString());
        c.heading->setText(d.on ? d.heading : QString());
        applyDetailEnabling(i);
    }
    // The drawing-number item's rows stand for all items.
    m_detailFirstRow->setEditText(r.detail[MZuban].startRow);
    m_detailLastRow->setEditText(r.detail[MZuban].endRow);
    applyDetailRowsEnabling();
    m_filling = false;
}

SettingsRecord OutputSettingsScreen::recordFromScreen() const
{
    SettingsRecord r;
    r.user = m_user->currentText();
    r.kind = currentKind();
    r.orgPath = m_orgPath->text();
    r.orgSheet = m_orgSheet->text();
    r.cpyPath = m_cpyPath->text();
    r.cpySheet = m_cpySheet->text();
    r.pageMax = m_pageMax->currentText();
    r.midashiRow = m_midashiRow->currentText();
    r.midashiCol = m_midashiCol->currentText();
    r.midashi = m_midashi->text();
    for (int i = 0; i < kHeaderItemCount; ++i) {
        const HeaderControls& c = m_header[size_t(i)];
        r.header[size_t(i)] = {c.row->currentText(), c.col->currentText(), IsChecked(c.check)};
    }
    // One pair of detail rows for every item; the end column is always the start column.
    for (int i = 0; i < kDetailItemCount; ++i) {
        const DetailControls& c = m_detail[size_t(i)];
        DetailColumn& d = r.detail[size_t(i)];
        d.startRow = m_detailFirstRow->currentText();
        d.endRow = m_detailLastRow->currentText();
        d.startCol = c.col->currentText();
        d.endCol = c.col->currentText();
        d.on = IsChecked(c.check);
        d.heading = c.heading->text();
    }
    return r;
}

bool OutputSettingsScreen::save()
{
    const SettingsRecord r = recordFromScreen();
    const auto problem = CheckSettingsForm(r.user, r.pageMax, r.orgPath,
                                           [](const QString& p) { return QFileInfo(p).isFile(); });
    if (problem) {
        m_ctx.ini->ShowMessage(problem->code, problem->extra);
        switch (problem->focus) {
        case FormFocus::Customer:
            focusAfterAction(m_user);
            break;
        case FormFocus::PageRows:
            focusAfterAction(m_pageMax);
            break;
        case FormFocus::TemplateButton:
            focusAfterAction(m_orgButton);
            break;
        }
        return false;
    }
    if (!holdLayout(r.user, r.kind, true))
        return false;
    return WriteSettings(database(), *m_ctx.ini, r);
}

bool OutputSettingsScreen::holdLayout(const QString& user, const QString& kind, bool saving)
{
    const QString what = LayoutLockName(user, kind);
    if (m_layoutLock && m_layoutLock->what() == what)
        return true;
    m_layoutLock.reset();
    database();
    LockHolder holder;
    m_layoutLock = TeamLock::take(m_connection, what, &holder);
    if (m_layoutLock)
        return true;
    const QString who =
        holder.what + QStringLiteral(" は ") + holder.describe() + QStringLiteral("編集中です。");
    if (saving)
        m_ctx.messages->show(MsgIcon::Exclamation, MsgButtons::Ok, QStringLiteral("注意"),
                             who + QStringLiteral("\n編集が終わるまで登録できません。"));
    else
        m_ctx.messages->show(MsgIcon::Information, MsgButtons::Ok, QStringLiteral("インフォメーション"),
                             who + QStringLiteral("\n表示はできますが、登録はできません。"));
    return false;
}

// ---------------------------------------------------------------------------------------------
// Field checks

bool OutputSettingsScreen::fieldValid(QComboBox* box) const
{
    QString text = box->currentText();
    if (box->property("fieldKind").toInt() == 0)
        return IsValidColumnLetter(text);
    return !CheckNumberText(text);
}

void OutputSettingsScreen::checkField(QComboBox* box, bool leaving)
{
    // Values put in by a load, a field message already up, or a command running: no check.
    if (m_filling || m_reporting || m_busy || m_closed)
        return;
    if (fieldValid(box))
        return;
    m_reporting = true;
    const bool column = box->property("fieldKind").toInt() == 0;
    m_ctx.ini->ShowMessage(column ? QStringLiteral("E120") : QStringLiteral("E102"), QString());
    if (!leaving) {
        // A change while typing: the field has the focus and gets it back when the box closes;
        // the text stays as typed.
        m_reporting = false;
        return;
    }
    // Leaving the field: the focus goes back to it once the box is gone. Until then further focus
    // moves (the box itself taking the focus, the control the user went to losing it again) are
    // not checks of their own, so two invalid fields never bounce messages between them.
    QTimer::singleShot(0, this, [this, box] {
        if (!m_closed && box->isEnabled()) {
            box->setFocus(Qt::OtherFocusReason);
            if (box->lineEdit())
                box->lineEdit()->selectAll();
        }
        m_reporting = false;
    });
}

bool OutputSettingsScreen::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::FocusOut) {
        auto* box = qobject_cast<QComboBox*>(watched);
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        // Opening the drop-down or switching to another window is not leaving the field.
        if (box && m_checkedFields.contains(box) && reason != Qt::PopupFocusReason &&
            reason != Qt::ActiveWindowFocusReason && reason != Qt::MenuBarFocusReason) {
            if (!box->isAncestorOf(QApplication::focusWidget()) && QApplication::focusWidget() != box)
                checkField(box, true);
        }
    }
    return QWidget::eventFilter(watched, event);
}

// ---------------------------------------------------------------------------------------------
// Workbooks, preview, import, new customer

QString OutputSettingsScreen::chooseWorkbook(QPushButton* button)
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const QString result = m_workbooks->OpenTemplate(QStringLiteral("SHINKI"));
    if (result == u"NO" || result == u"ERROR") {
        QApplication::restoreOverrideCursor();
        return {};
    }
    SheetSelectDialog dialog(m_ctx, m_orgSheet, m_cpySheet, this);
    const QStringList names = m_workbooks->SheetNames();
    dialog.setSheets(names);
    QApplication::restoreOverrideCursor();
    const QString caption = button->text();
    if (names.size() != 1) {
        dialog.setWindowTitle(caption);
        dialog.exec();
    } else {
        // Kept as the users know it: the captions never read like this, so a one-sheet workbook
        // leaves the sheet field as it was.
        if (caption == u"雛形ファイル")
            m_orgSheet->setText(names.first());
        else if (caption == u"取り込みﾌｧｲﾙ")
            m_cpySheet->setText(names.first());
    }
    m_workbooks->Close();
    return result;
}

void OutputSettingsScreen::chooseTemplate()
{
    const QString path = chooseWorkbook(m_orgButton);
    if (!path.isEmpty())
        m_orgPath->setText(path);
}

void OutputSettingsScreen::chooseImport()
{
    const QString path = chooseWorkbook(m_cpyButton);
    if (!path.isEmpty())
        m_cpyPath->setText(path);
}

void OutputSettingsScreen::preview()
{
    if (!m_ctx.printRun)
        return;
    PrintRequest request;
    request.caller = this;
    request.runMode = QStringLiteral("TEST");
    request.dwgNo = QStringLiteral("TEST");
    request.assy = QStringLiteral("TEST");
    request.customer = m_user->currentText();
    request.kind = m_ctx.CurrentKind;
    m_ctx.printRun(request);
    // After a preview the drawing list search is closed.
    for (QWidget* w : QApplication::topLevelWidgets())
        if (w->objectName() == u"KVRCAD0001" && w->isVisible())
            w->close();
}

void OutputSettingsScreen::newCustomer()
{
    NewCustomerDialog dialog(m_ctx, m_user, this);
    dialog.exec();
}

void OutputSettingsScreen::closeEvent(QCloseEvent* event)
{
    if (!m_closed) {
        m_closed = true;
        m_layoutLock.reset();
        if (m_connection && m_ctx.DbConnection == m_connection)
            m_ctx.DbConnection.reset();
        m_connection.reset();
        if (m_ctx.enableMenuButtons)
            m_ctx.enableMenuButtons(true);
    }
    event->accept();
}

QWidget* createOutputSettings(AppContext& ctx, QWidget* owner)
{
    auto* screen = new OutputSettingsScreen(ctx, owner);
    // A screen that could not open (its box has been shown) goes again instead of staying half built.
    if (!screen->opened()) {
        delete screen;
        throw CommandEnded();
    }
    screen->setAttribute(Qt::WA_DeleteOnClose);
    if (ctx.enableMenuButtons)
        ctx.enableMenuButtons(false);
    ShowScreen(screen, owner);
    return screen;
}
