// The editor screen's controls and their layout: header area, input area, row operations, grid,
// status and output commands.
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
#include <QStyle>
#include <QStyleOptionHeader>
#include <QStylePainter>
#include <QTableView>
#include <QVBoxLayout>

using namespace EditorCol;

namespace
{

// Paints the grid's top-left header cell with its text: column 0's heading "№" stands there, above
// the line numbers of the vertical header (Qt's corner button draws an empty section).
class CornerCaption : public QObject
{
public:
    using QObject::QObject;
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        auto* corner = qobject_cast<QAbstractButton*>(watched);
        if (!corner || event->type() != QEvent::Paint)
            return false;
        QStyleOptionHeader opt;
        opt.initFrom(corner);
        opt.state = QStyle::State_Enabled | QStyle::State_Raised;
        opt.palette.setCurrentColorGroup(QPalette::Active); // the corner is disabled, its text is not
        opt.rect = corner->rect();
        opt.text = corner->text();
        opt.textAlignment = Qt::AlignCenter;
        opt.position = QStyleOptionHeader::OnlyOneSection;
        QStylePainter painter(corner);
        painter.drawControl(QStyle::CE_Header, opt);
        return true;
    }
};

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
    // What is typed stays as typed: an inline completion would turn "S" into "SS400" before the
    // history search or the transfer sees it.
    c->setCompleter(nullptr);
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
} // namespace

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
    // Widths follow the digits of the font the grid shows; a cell's margins, its grid line and a
    // little air make the padding.
    const int digitPixels = m_view->fontMetrics().horizontalAdvance(u'0');
    const int cellPadding =
        2 * (m_view->style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, m_view) + 1) + 4;
    for (int c = 0; c < Count; ++c) {
        const int twips = specs()[size_t(c)].twips;
        // Column 0 is shown by the vertical header; a width of 0 hides a column for good.
        if (c == No || twips == 0)
            m_view->setColumnHidden(c, true);
        else
            m_view->setColumnWidth(c, columnPixels(c, dpiX, digitPixels, cellPadding));
    }
    m_view->setSelectionMode(QAbstractItemView::SingleSelection);
    m_view->setSelectionBehavior(QAbstractItemView::SelectItems);
    m_view->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                            QAbstractItemView::AnyKeyPressed);
    m_view->setWordWrap(false);
    m_view->setCornerButtonEnabled(false);
    if (auto* corner = m_view->findChild<QAbstractButton*>(QString(), Qt::FindDirectChildrenOnly)) {
        corner->setObjectName(QStringLiteral("grdBuhinCorner"));
        corner->setText(headerText(No));
        corner->installEventFilter(new CornerCaption(corner));
    }
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

    FitButtonsToCaptions(this);
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
