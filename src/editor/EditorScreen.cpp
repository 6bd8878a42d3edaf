#include "EditorScreen.h"

#include "AppContext.h"
#include "CommandGuard.h"
#include "Common.h"
#include "CommonWidgets.h"
#include "EditorLists.h"
#include "EditorModel.h"
#include "ScreenKeys.h"
#include "StartNumberDialog.h"
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
#include <QTableView>
#include <QVBoxLayout>

using namespace EditorCol;

namespace
{
QPushButton* makeButton(QWidget* parent, const char* name, const QString& caption)
{
    auto* b = new QPushButton(caption, parent);
    b->setObjectName(QString::fromLatin1(name));
    return b;
}

QCheckBox* makeCheck(QWidget* parent, const char* name, const QString& caption)
{
    auto* c = new QCheckBox(caption, parent);
    c->setObjectName(QString::fromLatin1(name));
    return c;
}

QComboBox* makeCombo(QWidget* parent, const char* name)
{
    auto* c = new QComboBox(parent);
    c->setObjectName(QString::fromLatin1(name));
    c->setEditable(true);
    c->setInsertPolicy(QComboBox::NoInsert);
    c->setMaxVisibleItems(20);
    return c;
}

QLineEdit* makeField(QWidget* parent, const char* name)
{
    auto* f = new QLineEdit(parent);
    f->setObjectName(QString::fromLatin1(name));
    return f;
}

// A header value: read-only text in a sunken box beside its caption.
QLabel* makeValue(QWidget* parent, const char* name)
{
    auto* l = new QLabel(parent);
    l->setObjectName(QString::fromLatin1(name));
    l->setFrameStyle(QFrame::Panel | QFrame::Sunken);
    l->setMinimumWidth(120);
    l->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return l;
}

QLabel* makeCaption(QWidget* parent, const char* name, const QString& caption)
{
    auto* l = new QLabel(caption, parent);
    l->setObjectName(QString::fromLatin1(name));
    return l;
}

void setComboText(QComboBox* combo, const QString& text)
{
    const int i = combo->findText(text, Qt::MatchExactly);
    combo->setCurrentIndex(i);
    combo->setEditText(text);
}
} // namespace

EditorScreen::EditorScreen(AppContext& ctx, std::shared_ptr<Database> db, EditorAids aids, QWidget* parent)
    : QWidget(parent, Qt::Window), m_ctx(ctx),
      m_editor(std::make_unique<PartsTableEditor>(ctx, std::move(db))), m_aids(std::move(aids))
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

void EditorScreen::buildUi()
{
    const int dpiX = logicalDpiX();
    m_lineHeight = std::max(twipsToPixels(285, logicalDpiY()), fontMetrics().height() + 4);

    // Header area.
    m_title = new QLabel(QStringLiteral("部品表(MFG.PARTS.TABLE)"), this);
    m_title->setObjectName(QStringLiteral("lblTitle"));
    QFont titleFont = screenFont(16);
    titleFont.setBold(true);
    m_title->setFont(titleFont);
    m_dwgNo = makeValue(this, "lblDwgNo");
    m_name = makeValue(this, "lblName");
    m_name->setMinimumWidth(260);
    m_assy = makeValue(this, "lblAssy");
    m_date = makeValue(this, "lblDate");
    m_designer = makeValue(this, "lblDesined");
    m_customer = makeCombo(this, "cboUser");
    m_customer->setMinimumWidth(220);

    auto* headerGrid = new QGridLayout;
    headerGrid->addWidget(makeCaption(this, "lblDwgNoCaption", QStringLiteral("DWG.NO.")), 0, 0);
    headerGrid->addWidget(m_dwgNo, 0, 1);
    headerGrid->addWidget(makeCaption(this, "lblNameCaption", QStringLiteral("NAME")), 0, 2);
    headerGrid->addWidget(m_name, 0, 3);
    headerGrid->addWidget(makeCaption(this, "lblUserCaption", QStringLiteral("客先")), 0, 4);
    headerGrid->addWidget(m_customer, 0, 5);
    headerGrid->addWidget(makeCaption(this, "lblAssyCaption", QStringLiteral("ASSY")), 1, 0);
    headerGrid->addWidget(m_assy, 1, 1);
    headerGrid->addWidget(makeCaption(this, "lblDateCaption", QStringLiteral("DATE")), 1, 2);
    headerGrid->addWidget(m_date, 1, 3);
    headerGrid->addWidget(makeCaption(this, "lblDesinedCaption", QStringLiteral("DESINED")), 1, 4);
    headerGrid->addWidget(m_designer, 1, 5);
    headerGrid->setColumnStretch(6, 1);

    // Input area.
    auto* input = new QGroupBox(QStringLiteral("追加・編集"), this);
    input->setObjectName(QStringLiteral("fraInput"));
    m_hinmei = makeCombo(input, "cboHinmei");
    m_zaishitu = makeCombo(input, "cboZaishitu");
    m_suryo = makeField(input, "txtSuryo");
    m_tani = makeCombo(input, "cboTani");
    m_suryo2 = makeField(input, "txtSuryo2");
    m_tani2 = makeCombo(input, "cboTani2");
    m_tanka = makeField(input, "txtTanka");
    m_biko = makeField(input, "txtBiko");
    m_maker = makeCombo(input, "cboMaker");
    for (QWidget* w : {static_cast<QWidget*>(m_hinmei), static_cast<QWidget*>(m_zaishitu),
                       static_cast<QWidget*>(m_biko), static_cast<QWidget*>(m_maker)})
        w->setMinimumWidth(300);
    for (QLineEdit* f : {m_suryo, m_suryo2, m_tanka}) {
        f->setAlignment(Qt::AlignRight);
        f->setFixedWidth(90);
    }
    for (QComboBox* c : {m_tani, m_tani2})
        c->setFixedWidth(90);
    m_nameHistory = makeButton(input, "cmdHinmeiHistory", QStringLiteral("品名履歴検索"));
    m_materialHistory = makeButton(input, "cmdZaishituHistory", QStringLiteral("材質履歴検索"));
    m_bracketAid = makeButton(input, "cmdKakkoInput", QStringLiteral("ｶｯｺ"));
    m_clearChar = makeButton(input, "cmdClearChar", QStringLiteral("１文字ｸﾘｱ"));
    m_clear = makeButton(input, "cmdClear", QStringLiteral("クリア"));
    m_transfer = makeButton(input, "cmdTransfer", QStringLiteral("表へ=>"));
    // The one-character clear works on the field that had the focus, so it must not take it.
    m_clearChar->setFocusPolicy(Qt::NoFocus);

    auto* inputGrid = new QGridLayout(input);
    inputGrid->addWidget(makeCaption(input, "lblHinmei", QStringLiteral("品　名")), 0, 0);
    inputGrid->addWidget(m_hinmei, 0, 1, 1, 4);
    inputGrid->addWidget(m_nameHistory, 0, 5);
    inputGrid->addWidget(makeCaption(input, "lblZaishitu", QStringLiteral("材　質")), 0, 6);
    inputGrid->addWidget(m_zaishitu, 0, 7);
    inputGrid->addWidget(m_materialHistory, 0, 8);
    inputGrid->addWidget(makeCaption(input, "lblSuryo", QStringLiteral("数　量")), 1, 0);
    inputGrid->addWidget(m_suryo, 1, 1);
    inputGrid->addWidget(m_tani, 1, 2);
    inputGrid->addWidget(m_suryo2, 1, 3);
    inputGrid->addWidget(m_tani2, 1, 4);
    inputGrid->addWidget(makeCaption(input, "lblTanka", QStringLiteral("単　価")), 1, 6);
    auto* priceRow = new QHBoxLayout;
    priceRow->addWidget(m_tanka);
    priceRow->addStretch();
    inputGrid->addLayout(priceRow, 1, 7);
    inputGrid->addWidget(makeCaption(input, "lblBiko", QStringLiteral("備　考")), 2, 0);
    inputGrid->addWidget(m_biko, 2, 1, 1, 4);
    inputGrid->addWidget(makeCaption(input, "lblMaker", QStringLiteral("ﾒｰｶｰ")), 2, 6);
    inputGrid->addWidget(m_maker, 2, 7);
    auto* inputButtons = new QHBoxLayout;
    inputButtons->addWidget(m_bracketAid);
    inputButtons->addWidget(m_clearChar);
    inputButtons->addWidget(m_clear);
    inputButtons->addStretch();
    inputButtons->addWidget(m_transfer);
    inputGrid->addLayout(inputButtons, 3, 0, 1, 9);
    inputGrid->setColumnStretch(7, 1);

    // Row operations and marks.
    m_insertUp = makeButton(this, "cmdInsertUp", QStringLiteral("行追加(上へ)"));
    m_insertDown = makeButton(this, "cmdInsertDown", QStringLiteral("行追加(下へ)"));
    m_deleteLine = makeButton(this, "cmdDeleteLine", QStringLiteral("行削除"));
    m_copyLine = makeButton(this, "cmdCopyLine", QStringLiteral("行コピー"));
    m_copyAll = makeButton(this, "cmdCopyAll", QStringLiteral("全コピー"));
    m_startNo = makeButton(this, "cmdStartNo", QStringLiteral("開始図番設定"));
    m_abolish = makeCheck(this, "chkHaishi", QStringLiteral("選択行を廃止"));
    m_bracket = makeCheck(this, "chkKakko", QStringLiteral("図番No.に括弧"));
    auto* rowOps = new QHBoxLayout;
    for (QWidget* w : std::initializer_list<QWidget*>{m_insertUp, m_insertDown, m_deleteLine, m_copyLine,
                                                      m_copyAll, m_startNo})
        rowOps->addWidget(w);
    rowOps->addSpacing(20);
    rowOps->addWidget(m_abolish);
    rowOps->addWidget(m_bracket);
    rowOps->addStretch();

    // The grid.
    m_view = new QTableView(this);
    m_view->setObjectName(QStringLiteral("grdBuhin"));
    m_model = new EditorModel(m_editor->grid(), this);
    m_model->setObjectName(QStringLiteral("grdBuhinModel"));
    m_model->acceptEdit = [this](int col, QString& text) { return acceptTypedCell(col, text); };
    auto* lineHeader = new LineNumberHeader(m_view);
    m_view->setVerticalHeader(lineHeader);
    m_view->setModel(m_model);
    lineHeader->setSectionResizeMode(QHeaderView::Fixed);
    lineHeader->setMinimumSectionSize(4);
    lineHeader->setDefaultSectionSize(m_lineHeight);
    lineHeader->setFixedWidth(twipsToPixels(specs()[No].twips, dpiX));
    QHeaderView* top = m_view->horizontalHeader();
    top->setMinimumSectionSize(4);
    top->setDefaultAlignment(Qt::AlignCenter);
    top->setHighlightSections(true);
    top->setStretchLastSection(false);
    top->setFixedHeight(m_lineHeight + 4);
    for (int c = 0; c < Count; ++c) {
        const int twips = specs()[size_t(c)].twips;
        // Column 0 is shown by the vertical header; a width of 0 hides a column for good.
        if (c == No || twips == 0)
            m_view->setColumnHidden(c, true);
        else
            m_view->setColumnWidth(c, twipsToPixels(twips, dpiX));
    }
    m_view->setSelectionMode(QAbstractItemView::SingleSelection);
    m_view->setSelectionBehavior(QAbstractItemView::SelectItems);
    m_view->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                            QAbstractItemView::AnyKeyPressed);
    m_view->setWordWrap(false);
    m_view->setCornerButtonEnabled(false);
    m_view->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);

    // Status and output.
    m_status = new QLabel(this);
    m_status->setObjectName(QStringLiteral("lblRow"));
    m_status->setMinimumWidth(200);
    m_pagePerMaker = makeCheck(this, "chkMakerPage", QStringLiteral("印刷時にﾒｰｶｰ別に改頁"));
    m_keepExcel = makeCheck(this, "chkExcel", QStringLiteral("印刷ﾌﾟﾚﾋﾞｭｰ後にｴｸｾﾙ表示"));
    m_summary = makeCheck(this, "chkSummary", QStringLiteral("品名､材質､備考、単位、ﾒｰｶｰでｻﾏﾘｰ"));
    m_update = makeButton(this, "cmdUpdate", QStringLiteral("更新(F5)"));
    m_preview = makeButton(this, "cmdPreview", QStringLiteral("印刷ﾌﾟﾚﾋﾞｭｰ"));
    m_end = makeButton(this, "cmdEnd", QStringLiteral("終了(F12)"));
    auto* options = new QVBoxLayout;
    options->addWidget(m_pagePerMaker);
    options->addWidget(m_keepExcel);
    options->addWidget(m_summary);
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(m_status, 0, Qt::AlignTop);
    bottom->addStretch();
    bottom->addLayout(options);
    bottom->addSpacing(20);
    for (QPushButton* b : {m_update, m_preview, m_end}) {
        b->setMinimumHeight(36);
        bottom->addWidget(b, 0, Qt::AlignVCenter);
    }

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_title);
    layout->addLayout(headerGrid);
    layout->addWidget(input);
    layout->addLayout(rowOps);
    layout->addWidget(m_view, 1);
    layout->addLayout(bottom);

    setTabOrder(m_hinmei, m_zaishitu);
    setTabOrder(m_zaishitu, m_suryo);
    setTabOrder(m_suryo, m_tani);
    setTabOrder(m_tani, m_suryo2);
    setTabOrder(m_suryo2, m_tani2);
    setTabOrder(m_tani2, m_tanka);
    setTabOrder(m_tanka, m_biko);
    setTabOrder(m_biko, m_maker);
    setTabOrder(m_maker, m_transfer);
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
    connect(m_nameHistory, &QPushButton::clicked, this,
            [this] { runAid(m_aids.nameHistory, m_nameHistory->text()); });
    connect(m_materialHistory, &QPushButton::clicked, this,
            [this] { runAid(m_aids.materialHistory, m_materialHistory->text()); });
    connect(m_bracketAid, &QPushButton::clicked, this,
            [this] { runAid(m_aids.bracket, m_bracketAid->text()); });
    connect(m_copyAll, &QPushButton::clicked, this, [this] { runAid(m_aids.copyAll, m_copyAll->text()); });

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
        fillLists();
        m_editor->open(values);
        showHeader();
        ok = true;
    });
    return ok;
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
    if (!m_ctx.printRun) {
        m_ctx.messages->show(MsgIcon::Information, MsgButtons::Ok, QStringLiteral("印刷ﾌﾟﾚﾋﾞｭｰ"),
                             QStringLiteral("帳票出力はまだ組み込まれていません。"));
        return;
    }
    m_ctx.printRun(request);
}

void EditorScreen::runAid(const std::function<void(EditorScreen&)>& aid, const QString& caption)
{
    command([&] {
        if (aid) {
            aid(*this);
            return;
        }
        m_ctx.messages->show(MsgIcon::Information, MsgButtons::Ok, caption,
                             u'「' + caption +
                                 QStringLiteral("」はまだ組み込まれていません。後日追加されます。"));
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
