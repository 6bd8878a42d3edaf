#include "DrawingSearch.h"

#include "AppContext.h"
#include "CommandGuard.h"
#include "Common.h"
#include "CommonWidgets.h"
#include "Connect.h"
#include "Database.h"
#include "ScreenKeys.h"
#include "SearchQueries.h"
#include "TeamMode.h"
#include "WidgetServices.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QCoreApplication>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

DrawingSearchScreen::DrawingSearchScreen(AppContext& ctx, SearchHooks hooks, QWidget* parent)
    : QWidget(parent, Qt::Window), m_ctx(ctx), m_hooks(std::move(hooks))
{
    setObjectName(QStringLiteral("KVRCAD0001"));
    setWindowTitle(QStringLiteral("検索条件"));
    setAttribute(Qt::WA_DeleteOnClose);
    applyScreenFont(this);
    buildUi();
}

void DrawingSearchScreen::buildUi()
{
    m_dwgNo = new QLineEdit(this);
    m_dwgNo->setObjectName(QStringLiteral("txtDwgNo"));
    m_assy = new QLineEdit(this);
    m_assy->setObjectName(QStringLiteral("txtAssy"));
    m_name = new QComboBox(this);
    m_name->setObjectName(QStringLiteral("cboName"));
    m_designer = new QComboBox(this);
    m_designer->setObjectName(QStringLiteral("cboDesined"));
    for (QComboBox* c : {m_name, m_designer}) {
        c->setEditable(true);
        c->setInsertPolicy(QComboBox::NoInsert);
        c->setMinimumWidth(300);
    }

    auto* kindFrame = new QGroupBox(QStringLiteral("部品種"), this);
    kindFrame->setObjectName(QStringLiteral("fraKind"));
    m_kind1 = new QRadioButton(QStringLiteral("製作部品"), kindFrame);
    m_kind1->setObjectName(QStringLiteral("optKind1"));
    m_kind2 = new QRadioButton(QStringLiteral("購入部品"), kindFrame);
    m_kind2->setObjectName(QStringLiteral("optKind2"));
    m_kind1->setChecked(true);
    auto* kindLayout = new QHBoxLayout(kindFrame);
    kindLayout->addWidget(m_kind1);
    kindLayout->addWidget(m_kind2);
    kindLayout->addStretch();

    auto* filterFrame = new QGroupBox(QStringLiteral("絞込み"), this);
    filterFrame->setObjectName(QStringLiteral("fraFilter"));
    m_makerCheck = new QCheckBox(QStringLiteral("メーカーで絞る"), filterFrame);
    m_makerCheck->setObjectName(QStringLiteral("chkMaker"));
    m_maker = new QComboBox(filterFrame);
    m_maker->setObjectName(QStringLiteral("cboMaker"));
    m_maker->setEditable(true);
    m_maker->setInsertPolicy(QComboBox::NoInsert);
    m_maker->setMinimumWidth(260);
    for (QComboBox* c : {m_name, m_designer, m_maker})
        OpenListAtTop(c);
    auto* filterLayout = new QHBoxLayout(filterFrame);
    filterLayout->addWidget(m_makerCheck);
    filterLayout->addWidget(m_maker, 1);

    const QString captions[4] = {QStringLiteral("入力(F5)"), QStringLiteral("終了(F12)"),
                                 QStringLiteral("検索(F1)"), QStringLiteral("削除(F4)")};
    for (int i = 0; i < 4; ++i) {
        m_cmd[i] = new QPushButton(captions[i], this);
        m_cmd[i]->setObjectName(QStringLiteral("cmd") + QString::number(i));
        m_cmd[i]->setMinimumHeight(36);
    }

    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("DWG.NO."), m_dwgNo);
    form->addRow(QStringLiteral("ASSY"), m_assy);
    form->addRow(QStringLiteral("NAME"), m_name);
    form->addRow(QStringLiteral("DESINED"), m_designer);

    // The buttons in the order of their keys: F1, F4, F5, F12.
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_cmd[2]);
    buttons->addWidget(m_cmd[3]);
    buttons->addStretch();
    buttons->addWidget(m_cmd[0]);
    buttons->addWidget(m_cmd[1]);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(kindFrame);
    layout->addWidget(filterFrame);
    layout->addStretch();
    layout->addLayout(buttons);

    connect(m_dwgNo, &QLineEdit::textChanged, this, [this] { command([this] { fillNames(); }); });
    connect(m_makerCheck, &QCheckBox::clicked, this, [this] { command([this] { makerCheckClicked(); }); });
    connect(m_maker, &QComboBox::currentTextChanged, this, [this] { updateMakerFilter(); });
    connect(m_cmd[0], &QPushButton::clicked, this, [this] { command([this] { openEditor(); }); });
    connect(m_cmd[1], &QPushButton::clicked, this, [this] { close(); });
    connect(m_cmd[2], &QPushButton::clicked, this, [this] { command([this] { dataSearch(); }); });
    connect(m_cmd[3], &QPushButton::clicked, this, [this] { command([this] { deleteTable(); }); });
    BindFunctionKey(this, Qt::Key_F5, m_cmd[0]);
    BindFunctionKey(this, Qt::Key_F12, m_cmd[1]);
    BindFunctionKey(this, Qt::Key_F1, m_cmd[2]);
    BindFunctionKey(this, Qt::Key_F4, m_cmd[3]);
    FitButtonsToCaptions(this);
    resize(520, 340);
}

void DrawingSearchScreen::command(const std::function<void()>& body)
{
    guardCommand(*m_ctx.messages, body);
}

QString DrawingSearchScreen::kind() const
{
    return m_kind1->isChecked() ? QStringLiteral("1") : QStringLiteral("2");
}

bool DrawingSearchScreen::load()
{
    bool ok = false;
    command([this, &ok] {
        FillComboFromList(*m_ctx.ini, m_designer, QStringLiteral("DESINED"));
        m_designer->setCurrentIndex(m_designer->count() > 0 ? 0 : -1);
        FillComboFromList(*m_ctx.ini, m_maker, QStringLiteral("MAKER"));
        // No maker is chosen until the user picks one.
        m_maker->setCurrentIndex(-1);
        ApplyCheckColor(m_makerCheck, m_maker, QStringLiteral("COLOR ON"));
        updateMakerFilter();
        if (ConnectDatabase(m_ctx).endProgram) {
            // The connection failed in a way the program cannot go on from; the box has been shown.
            QCoreApplication::exit(1);
            return;
        }
        fillNames();
        ok = true;
    });
    return ok;
}

void DrawingSearchScreen::fillNames()
{
    m_name->clear();
    m_name->clearEditText();
    if (!m_ctx.DbConnection)
        return;
    m_name->addItems(ReadNameList(*m_ctx.DbConnection, m_dwgNo->text()));
    m_name->setCurrentIndex(-1);
}

void DrawingSearchScreen::makerCheckClicked()
{
    ApplyCheckColor(m_makerCheck, m_maker, QStringLiteral("COLOR ON"));
    if (IsChecked(m_makerCheck)) {
        m_maker->clear();
        FillComboFromList(*m_ctx.ini, m_maker, QStringLiteral("MAKER"));
        m_maker->setCurrentIndex(-1);
    }
    updateMakerFilter();
}

void DrawingSearchScreen::updateMakerFilter()
{
    // The list output narrows its lines to this maker while the box is ticked.
    m_ctx.makerFilterOn = IsChecked(m_makerCheck);
    m_ctx.makerFilterText = m_maker->currentText();
}

bool DrawingSearchScreen::inputCheck()
{
    QWidget* failed = nullptr;
    if (m_dwgNo->text().trimmed().isEmpty())
        failed = m_dwgNo;
    else if (m_assy->text().trimmed().isEmpty())
        failed = m_assy;
    else if (IsChecked(m_makerCheck) && m_maker->currentText().isEmpty())
        failed = m_maker;
    if (!failed)
        return true;
    m_ctx.ini->ShowMessage(QStringLiteral("E103"), QString());
    failed->setFocus();
    return false;
}

void DrawingSearchScreen::openEditor()
{
    if (!inputCheck())
        return;
    EditorOpenValues values;
    values.dwgNo = m_dwgNo->text();
    values.assy = m_assy->text();
    values.name = m_name->currentText();
    values.kind = kind();
    values.date = m_ctx.clock->now().date().toString(QStringLiteral("yyyy/MM/dd"));
    values.designer = m_designer->currentText();
    // The kind chosen here is the kind of the table the editor and its print run work on.
    m_ctx.CurrentKind = values.kind;

    // A table that is open already has its editor brought forward; a second copy could save over
    // the first one's work.
    EditorScreen* newest = nullptr;
    for (EditorScreen* open : openEditors()) {
        const EditorHeaderArea& h = open->editor().header();
        if (h.dwgNo == values.dwgNo && h.assy == values.assy && h.kind == values.kind) {
            ShowScreen(open, editorOwner());
            rememberChoices();
            return;
        }
        newest = open;
    }
    auto* editor = new EditorScreen(m_ctx, m_ctx.DbConnection, m_hooks.editorAids, nullptr);
    if (!editor->openTable(values)) {
        delete editor;
        return;
    }
    if (newest)
        CascadeFrom(editor, newest);
    m_editors.removeAll(nullptr);
    m_editors.append(editor);
    ShowScreen(editor, editorOwner());
    rememberChoices();
}

QWidget* DrawingSearchScreen::editorOwner()
{
    // The editors belong to the window this screen belongs to (the main menu): they stay above it
    // as this screen does, and this screen can still be brought over them to open the next table.
    return parentWidget() ? parentWidget() : this;
}

QList<EditorScreen*> DrawingSearchScreen::openEditors() const
{
    QList<EditorScreen*> open;
    for (const QPointer<EditorScreen>& editor : m_editors)
        if (editor && editor->isVisible())
            open.append(editor);
    return open;
}

void DrawingSearchScreen::rememberChoices()
{
    // A maker or designer typed here joins its list and is selected; an empty text joins it too.
    RememberComboValue(*m_ctx.ini, m_maker, QStringLiteral("MAKER"), m_maker->currentText());
    RememberComboValue(*m_ctx.ini, m_designer, QStringLiteral("DESINED"), m_designer->currentText());
    updateMakerFilter();
}

void DrawingSearchScreen::dataSearch()
{
    m_ctx.DataSearchFlag = Int16::from(0);
    if (m_hooks.openDataSearch)
        m_hooks.openDataSearch(m_ctx, this);
}

void DrawingSearchScreen::deleteTable()
{
    if (!inputCheck())
        return;
    Database* db = m_ctx.DbConnection.get();
    if (!db)
        throw RuntimeError(91,
                           QStringLiteral("オブジェクト変数または With ブロック変数が設定されていません。"));
    const QString assy = m_assy->text();
    const QString dwgNo = m_dwgNo->text();
    const QString k = kind();
    if (!TableExists(*db, assy, dwgNo, k)) {
        m_ctx.messages->show(MsgIcon::Information, MsgButtons::Ok, QStringLiteral("削除"),
                             QStringLiteral("該当するデータが存在しません"));
        return;
    }
    // Team use: a table another desk has open in its editor is not deleted under it.
    LockHolder holder;
    const std::unique_ptr<TeamLock> held =
        TeamLock::take(m_ctx.DbConnection, PartsTableLockName(dwgNo, assy, k), &holder);
    if (!held) {
        m_ctx.messages->show(MsgIcon::Exclamation, MsgButtons::Ok, QStringLiteral("注意"),
                             holder.what + QStringLiteral(" は ") + holder.describe() +
                                 QStringLiteral("編集中です。削除できません。"));
        return;
    }
    if (m_ctx.messages->show(MsgIcon::Question, MsgButtons::YesNo, QStringLiteral("確認"),
                             QStringLiteral("削除してよろしいですか？")) != MsgAnswer::Yes)
        return;
    DeleteTable(*db, assy, dwgNo, k);
}

void DrawingSearchScreen::closeEvent(QCloseEvent* event)
{
    // Editors opened from here close first, each with its own question.
    for (EditorScreen* editor : openEditors()) {
        if (!editor->close()) {
            event->ignore();
            return;
        }
    }
    EnableMenuButtons(m_ctx, true);
    m_ctx.DbConnection.reset();
    event->accept();
}

QWidget* createDrawingSearch(AppContext& ctx, QWidget* owner, SearchHooks hooks)
{
    auto* screen = new DrawingSearchScreen(ctx, std::move(hooks), nullptr);
    EnableMenuButtons(ctx, false);
    // A screen that could not open (its box has been shown) goes again instead of staying half built.
    if (!screen->load()) {
        delete screen;
        ctx.DbConnection.reset();
        throw CommandEnded();
    }
    ShowScreen(screen, owner);
    return screen;
}
