#include "EditorScreen.h"

#include "AppContext.h"
#include "CommandGuard.h"
#include "Common.h"
#include "CommonWidgets.h"
#include "EditorLists.h"
#include "EditorModel.h"
#include "ScreenKeys.h"
#include "StartNumberDialog.h"
#include "TeamMode.h"
#include "WidgetServices.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QTableView>
#include <QVBoxLayout>
#include <array>

using namespace EditorCol;

namespace
{
void setComboText(QComboBox* combo, const QString& text)
{
    const int i = combo->findText(text, Qt::MatchExactly);
    combo->setCurrentIndex(i);
    combo->setEditText(text);
}
} // namespace

EditorScreen::EditorScreen(AppContext& ctx, std::shared_ptr<Database> db, EditorAids aids, QWidget* parent)
    : QWidget(parent, Qt::Window), m_ctx(ctx), m_editor(std::make_unique<PartsTableEditor>(ctx, db)),
      m_aids(std::move(aids)), m_db(std::move(db))
{
    setObjectName(QStringLiteral("KVRCAD0002"));
    setWindowTitle(QStringLiteral("部品表作成"));
    setAttribute(Qt::WA_DeleteOnClose);
    applyScreenFont(this);
    buildUi();
    connectCommands();
    m_editor->onRefreshInput = [this] { refreshInputArea(); };
    m_editor->onRefreshDisplay = [this] { refreshStatus(); };
    resize(1400, 860);
    fitGridWidth();
    FitOnScreen(this);
    if (m_aids.install)
        m_aids.install(*this);
}

EditorScreen::~EditorScreen()
{
    // The grid (held by the editor) goes before the widgets are torn down: the view lets go of the
    // model, and the model of the grid, first.
    m_view->setModel(nullptr);
    delete m_model;
    m_model = nullptr;
    m_editor->onRefreshInput = nullptr;
    m_editor->onRefreshDisplay = nullptr;
}

void EditorScreen::fitGridWidth()
{
    // Wide enough to show every column of the grid, as far as the screen allows.
    layout()->activate();
    const int grid = m_view->verticalHeader()->width() + m_view->horizontalHeader()->length() +
                     m_view->verticalScrollBar()->sizeHint().width() + 2 * m_view->frameWidth();
    const int missing = grid - m_view->width();
    if (missing <= 0 || !screen())
        return;
    const int room = screen()->availableGeometry().width() - 16;
    resize(std::max(width(), std::min(width() + missing, room)), height());
}

void EditorScreen::command(const std::function<void()>& body)
{
    // The grid follows the editor while a command runs; the view is set to the editor's current cell after.
    m_syncing = true;
    guardCommand(*m_ctx.messages, body);
    m_syncing = false;
    onViewCurrentChanged(-1, -1);
}

void EditorScreen::connectCommands()
{
    connect(m_insertUp, &QPushButton::clicked, this,
            [this] { command([this] { m_editor->insertAbove(); }); });
    connect(m_insertDown, &QPushButton::clicked, this,
            [this] { command([this] { m_editor->insertBelow(); }); });
    connect(m_copyLine, &QPushButton::clicked, this, [this] {
        command([this] {
            if (m_editor->copyToBottom())
                m_view->scrollToBottom();
        });
    });
    connect(m_deleteLine, &QPushButton::clicked, this,
            [this] { command([this] { m_editor->deleteLine(); }); });
    connect(m_abolish, &QCheckBox::clicked, this,
            [this](bool on) { command([this, on] { m_editor->setAbolished(on); }); });
    connect(m_bracket, &QCheckBox::clicked, this,
            [this](bool on) { command([this, on] { m_bracket->setChecked(m_editor->setBracketed(on)); }); });
    connect(m_startNo, &QPushButton::clicked, this, [this] { command([this] { chooseStartNumber(); }); });
    connect(m_update, &QPushButton::clicked, this, [this] { command([this] { save(); }); });
    connect(m_preview, &QPushButton::clicked, this, [this] { command([this] { preview(); }); });
    connect(m_end, &QPushButton::clicked, this, [this] { endCommand(); });
    connect(m_transfer, &QPushButton::clicked, this, [this] { command([this] { transfer(); }); });
    connect(m_clear, &QPushButton::clicked, this, [this] { clearInput(); });
    connect(m_clearChar, &QPushButton::clicked, this, [this] { clearLastCharacter(); });
    connect(m_nameHistory, &QPushButton::clicked, this, [this] { runAid(m_aids.nameHistory); });
    connect(m_materialHistory, &QPushButton::clicked, this, [this] { runAid(m_aids.materialHistory); });
    connect(m_bracketAid, &QPushButton::clicked, this, [this] { runAid(m_aids.bracket); });
    connect(m_copyAll, &QPushButton::clicked, this, [this] { runAid(m_aids.copyAll); });

    BindFunctionKey(this, Qt::Key_F5, m_update);
    BindFunctionKey(this, Qt::Key_F12, m_end);

    connect(m_view->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current, const QModelIndex&) {
                if (!m_syncing && current.isValid())
                    onViewCurrentChanged(current.row() + 1, current.column());
            });
    connect(m_model, &EditorModel::currentCellChanged, this, [this](int, int) {
        if (!m_syncing)
            onViewCurrentChanged(-1, -1);
    });
    connect(m_model, &EditorModel::cellEdited, this, [this](int row, int) {
        if (row == m_editor->grid().currentRow())
            refreshInputArea();
    });
    connect(m_model, &QAbstractItemModel::modelReset, this, [this] { refreshStatus(); });
    connect(m_model, &QAbstractItemModel::rowsInserted, this, [this] { refreshStatus(); });
    connect(m_model, &QAbstractItemModel::rowsRemoved, this, [this] { refreshStatus(); });

    // The one-character clear acts on the input field that last had the focus.
    const QList<QWidget*> fields{m_hinmei, m_zaishitu, m_suryo, m_tani, m_suryo2,
                                 m_tani2,  m_tanka,    m_biko,  m_maker};
    connect(qApp, &QApplication::focusChanged, this, [this, fields](QWidget*, QWidget* now) {
        for (QWidget* f : fields)
            if (now && (now == f || f->isAncestorOf(now)))
                m_lastInputField = f;
    });
}

// Row and column -1: show the editor's current cell in the view. Otherwise the user moved the view:
// the editor follows, and the input area shows the line when it is another one.
void EditorScreen::onViewCurrentChanged(int row, int col)
{
    PartsGrid& grid = m_editor->grid();
    if (row > 0) {
        m_syncing = true;
        grid.setCurrent(row, col);
        m_syncing = false;
        if (row != m_shownRow)
            refreshInputArea();
        refreshStatus();
        return;
    }
    if (grid.lineCount() == 0)
        return;
    int viewCol = grid.currentCol();
    if (m_view->isColumnHidden(viewCol))
        viewCol = m_view->currentIndex().isValid() && !m_view->isColumnHidden(m_view->currentIndex().column())
                      ? m_view->currentIndex().column()
                      : Zno;
    const QModelIndex target = m_model->index(grid.currentRow() - 1, viewCol);
    if (m_view->currentIndex() != target) {
        m_syncing = true;
        m_view->setCurrentIndex(target);
        m_syncing = false;
    }
    m_view->scrollTo(target);
    refreshStatus();
}

bool EditorScreen::openTable(const EditorOpenValues& values)
{
    bool ok = false;
    command([&] {
        if (!takeTableLock(values))
            return;
        fillLists();
        m_editor->open(values);
        showHeader();
        ok = true;
    });
    return ok;
}

bool EditorScreen::takeTableLock(const EditorOpenValues& values)
{
    if (!m_db)
        return true;
    LockHolder holder;
    m_lock = TeamLock::take(m_db, PartsTableLockName(values.dwgNo, values.assy, values.kind), &holder);
    if (m_lock)
        return true;
    // Another desk edits the table: this one may read and print it, or not open it.
    if (m_ctx.messages->show(MsgIcon::Question, MsgButtons::YesNo, QStringLiteral("確認"),
                             holder.what + QStringLiteral(" は ") + holder.describe() +
                                 QStringLiteral("編集中です。\n読み取り専用で開きますか？"
                                                "（表示と印刷だけができます。更新と行削除はできません）")) !=
        MsgAnswer::Yes)
        return false;
    m_readOnlyReason = holder.describe() + QStringLiteral("編集中のため、更新と行削除はできません。");
    setWindowTitle(windowTitle() + QStringLiteral("（読み取り専用：") + m_readOnlyReason +
                   QStringLiteral("）"));
    for (QPushButton* b : {m_update, m_deleteLine}) {
        b->setEnabled(false);
        b->setToolTip(m_readOnlyReason);
    }
    return true;
}

void EditorScreen::fillLists()
{
    for (QComboBox* c : {m_customer, m_hinmei, m_zaishitu, m_tani, m_tani2, m_maker})
        c->clear();
    const EditorLists lists = ReadEditorLists(*m_ctx.ini);
    m_customer->addItems(lists.customers);
    m_maker->addItems(lists.makers);
    m_tani->addItems(lists.units);
    m_tani2->addItems(lists.units);
    m_hinmei->addItems(lists.nameItems());
    m_zaishitu->addItems(lists.materialItems());
    for (QComboBox* c : {m_customer, m_hinmei, m_zaishitu, m_tani, m_tani2, m_maker}) {
        c->setCurrentIndex(-1);
        c->clearEditText();
    }
}

void EditorScreen::refreshLists()
{
    const std::array<QComboBox*, 6> fields{m_customer, m_hinmei, m_zaishitu, m_tani, m_tani2, m_maker};
    std::array<QString, 6> shown;
    for (size_t i = 0; i < fields.size(); ++i)
        shown[i] = fields[i]->currentText();
    const QSignalBlocker blockers[] = {QSignalBlocker(m_customer), QSignalBlocker(m_hinmei),
                                       QSignalBlocker(m_zaishitu), QSignalBlocker(m_tani),
                                       QSignalBlocker(m_tani2),    QSignalBlocker(m_maker)};
    fillLists();
    for (size_t i = 0; i < fields.size(); ++i) {
        fields[i]->setCurrentIndex(fields[i]->findText(shown[i], Qt::MatchExactly));
        fields[i]->setEditText(shown[i]);
    }
}

void EditorScreen::showHeader()
{
    const EditorHeaderArea& h = m_editor->header();
    m_title->setText(h.title);
    m_dwgNo->setText(h.dwgNo);
    m_name->setText(h.name);
    m_assy->setText(h.assy);
    m_date->setText(h.date);
    m_designer->setText(h.designer);
    setComboText(m_customer, h.customer);
}

void EditorScreen::refreshStatus()
{
    const PartsGrid& grid = m_editor->grid();
    m_status->setText(QStringLiteral("Row=") + QString::number(grid.currentRow()) + u'/' +
                      QString::number(grid.lineCount()) + QStringLiteral("行目"));
}

void EditorScreen::refreshInputArea()
{
    const PartsGrid& grid = m_editor->grid();
    const int row = grid.currentRow();
    m_shownRow = row;
    setInputValues(m_editor->inputFromLine(row));
    const bool dataRow = grid.isDataRow(row);
    m_abolish->setChecked(dataRow && TextIsTrue(grid.cell(row, Haishi)));
    m_bracket->setChecked(dataRow && TextIsTrue(grid.cell(row, Kakko)));
    refreshStatus();
}

InputValues EditorScreen::inputValues() const
{
    InputValues v;
    v.hinmei = m_hinmei->currentText();
    v.zaishitu = m_zaishitu->currentText();
    v.suryo = m_suryo->text();
    v.tani = m_tani->currentText();
    v.suryo2 = m_suryo2->text();
    v.tani2 = m_tani2->currentText();
    v.tanka = m_tanka->text();
    v.biko = m_biko->text();
    v.maker = m_maker->currentText();
    return v;
}

void EditorScreen::setInputValues(const InputValues& v)
{
    setComboText(m_hinmei, v.hinmei);
    setComboText(m_zaishitu, v.zaishitu);
    m_suryo->setText(v.suryo);
    setComboText(m_tani, v.tani);
    m_suryo2->setText(v.suryo2);
    setComboText(m_tani2, v.tani2);
    m_tanka->setText(v.tanka);
    m_biko->setText(v.biko);
    setComboText(m_maker, v.maker);
}

void EditorScreen::setCurrentLine(int row)
{
    m_editor->grid().setCurrent(row);
    refreshInputArea();
}

void EditorScreen::transfer()
{
    for (QLineEdit* f : {m_suryo, m_suryo2, m_tanka}) {
        if (CheckNumberBox(f)) {
            m_ctx.ini->ShowMessage(QStringLiteral("E102"), QString());
            f->setFocus();
            return;
        }
    }
    m_editor->writeInputToLine(inputValues());
    if (m_aids.rememberInput)
        m_aids.rememberInput(*this);
}

void EditorScreen::clearInput()
{
    setInputValues(InputValues{});
    m_hinmei->setFocus();
}

void EditorScreen::clearLastCharacter()
{
    QWidget* target = m_lastInputField ? m_lastInputField : m_hinmei;
    if (auto* combo = qobject_cast<QComboBox*>(target)) {
        QString t = combo->currentText();
        t.chop(1);
        combo->setEditText(t);
    } else if (auto* field = qobject_cast<QLineEdit*>(target)) {
        QString t = field->text();
        t.chop(1);
        field->setText(t);
    }
    target->setFocus();
}

void EditorScreen::chooseStartNumber()
{
    StartNumberDialog dialog(m_ctx, m_editor->startNumber(), this);
    dialog.exec();
    if (dialog.chosen())
        m_editor->setStartNumber(dialog.value());
}

void EditorScreen::save()
{
    m_editor->header().customer = m_customer->currentText();
    switch (m_editor->save()) {
    case PartsTableEditor::SaveResult::NoCustomer:
    case PartsTableEditor::SaveResult::BlankCustomer:
        m_customer->setFocus();
        break;
    case PartsTableEditor::SaveResult::NoData:
        m_hinmei->setFocus();
        break;
    case PartsTableEditor::SaveResult::Saved:
        showHeader();
        break;
    }
}

void EditorScreen::preview()
{
    m_editor->header().customer = m_customer->currentText();
    PrintRequest request =
        m_editor->printRequest(IsChecked(m_keepExcel), IsChecked(m_summary), IsChecked(m_pagePerMaker));
    request.caller = this;
    if (m_ctx.printRun)
        m_ctx.printRun(request);
}

void EditorScreen::runAid(const std::function<void(EditorScreen&)>& aid)
{
    command([&] {
        if (aid)
            aid(*this);
    });
}

bool EditorScreen::acceptTypedCell(int col, QString& text)
{
    if (!isNumberColumn(col))
        return true;
    QString checked = text;
    if (CheckNumberText(checked)) {
        m_ctx.ini->ShowMessage(QStringLiteral("E102"), QString());
        return false;
    }
    return true;
}

void EditorScreen::endCommand()
{
    guardCommand(*m_ctx.messages, [this] {
        if (m_ctx.messages->show(MsgIcon::Question, MsgButtons::YesNo, QStringLiteral("確認"),
                                 QStringLiteral("変更内容を登録しましたか？終了しますよろしいですか？")) !=
            MsgAnswer::Yes)
            return;
        m_closeConfirmed = true;
        close();
    });
}

void EditorScreen::closeEvent(QCloseEvent* event)
{
    if (!m_closeConfirmed &&
        m_ctx.messages->show(MsgIcon::Question, MsgButtons::YesNo, QStringLiteral("確認"),
                             QStringLiteral("変更内容を登録しましたか？終了しますよろしいですか？")) !=
            MsgAnswer::Yes) {
        event->ignore();
        return;
    }
    m_closeConfirmed = true;
    event->accept();
}
