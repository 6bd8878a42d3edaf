#include "DataSearchScreen.h"

#include "AidsDatabase.h"
#include "AppContext.h"
#include "CommandGuard.h"
#include "CommonWidgets.h"
#include "ListKeys.h"
#include "WidgetServices.h"

#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace
{

enum GridColumn { ColDwgNo, ColAssy, ColName, ColDate, ColDesigner, ColCustomer, ColLines, ColumnCount };

QLineEdit* conditionField(QWidget* parent, const QString& name)
{
    auto* field = new QLineEdit(parent);
    field->setObjectName(name);
    return field;
}

} // namespace

DataSearchScreen::DataSearchScreen(AppContext& ctx, const QString& kind, QWidget* parent)
    : AidDialog(parent), m_ctx(ctx), m_copySource(ctx.DataSearchFlag.value() == kCopySource)
{
    setObjectName(QStringLiteral("KVRCAD0101"));
    setWindowTitle(m_copySource ? QStringLiteral("コピー元データ検索") : QStringLiteral("データ検索"));

    auto* conditions = new QGroupBox(QStringLiteral("検索条件"), this);
    auto* grid = new QGridLayout(conditions);
    m_dwgNo = conditionField(conditions, QStringLiteral("txtDwgNo"));
    m_assy = conditionField(conditions, QStringLiteral("txtAssy"));
    m_name = conditionField(conditions, QStringLiteral("txtName"));
    m_designer = conditionField(conditions, QStringLiteral("txtDesigner"));
    m_customer = new QComboBox(conditions);
    m_customer->setObjectName(QStringLiteral("cboCustomer"));
    m_customer->setEditable(true);
    grid->addWidget(new QLabel(QStringLiteral("DWG.NO."), conditions), 0, 0);
    grid->addWidget(m_dwgNo, 0, 1);
    grid->addWidget(new QLabel(QStringLiteral("ASSY"), conditions), 0, 2);
    grid->addWidget(m_assy, 0, 3);
    grid->addWidget(new QLabel(QStringLiteral("NAME"), conditions), 1, 0);
    grid->addWidget(m_name, 1, 1, 1, 3);
    grid->addWidget(new QLabel(QStringLiteral("DESINED"), conditions), 2, 0);
    grid->addWidget(m_designer, 2, 1);
    grid->addWidget(new QLabel(QStringLiteral("客先"), conditions), 2, 2);
    grid->addWidget(m_customer, 2, 3);

    auto* kindBox = new QGroupBox(QStringLiteral("部品種"), this);
    auto* kindLayout = new QVBoxLayout(kindBox);
    m_kind1 = new QRadioButton(QStringLiteral("製作部品表"), kindBox);
    m_kind1->setObjectName(QStringLiteral("optKind1"));
    m_kind2 = new QRadioButton(QStringLiteral("購入部品表"), kindBox);
    m_kind2->setObjectName(QStringLiteral("optKind2"));
    kindLayout->addWidget(m_kind1);
    kindLayout->addWidget(m_kind2);
    (kind == u"2" ? m_kind2 : m_kind1)->setChecked(true);
    // A copy goes into the open table, so its source is of the same kind.
    kindBox->setEnabled(!m_copySource);

    auto* top = new QHBoxLayout;
    top->addWidget(conditions, 1);
    top->addWidget(kindBox);

    m_grid = new QTableWidget(0, ColumnCount, this);
    m_grid->setObjectName(QStringLiteral("grdTables"));
    m_grid->setHorizontalHeaderLabels(
        {QStringLiteral("DWG.NO."), QStringLiteral("ASSY"), QStringLiteral("NAME"), QStringLiteral("DATE"),
         QStringLiteral("DESINED"), QStringLiteral("客先"), QStringLiteral("行数")});
    m_grid->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_grid->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_grid->setSelectionMode(QAbstractItemView::SingleSelection);
    m_grid->setAlternatingRowColors(true);
    m_grid->verticalHeader()->setDefaultSectionSize(22);
    const int widths[ColumnCount] = {140, 90, 260, 95, 110, 140, 50};
    for (int c = 0; c < ColumnCount; ++c)
        m_grid->setColumnWidth(c, widths[c]);
    m_grid->horizontalHeader()->setSectionResizeMode(ColName, QHeaderView::Stretch);

    m_count = new QLabel(this);
    m_count->setObjectName(QStringLiteral("lblCount"));
    m_search = commandButton(QStringLiteral("検索(F1)"), QStringLiteral("cmdSearch"), Qt::Key_F1);
    m_select = commandButton(m_copySource ? QStringLiteral("コピー(F5)") : QStringLiteral("選択(F5)"),
                             QStringLiteral("cmdSelect"), Qt::Key_F5);
    m_close = commandButton(QStringLiteral("終了(F12)"), QStringLiteral("cmdClose"), Qt::Key_F12);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_count);
    buttons->addStretch();
    buttons->addWidget(m_search);
    buttons->addWidget(m_select);
    buttons->addWidget(m_close);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(m_grid, 1);
    layout->addLayout(buttons);

    MessageService& messages = *ctx.messages;
    auto research = [this, &messages] {
        if (!m_loading)
            guardCommand(messages, [this] { search(); });
    };
    for (QLineEdit* field : {m_dwgNo, m_assy, m_name, m_designer})
        connect(field, &QLineEdit::textChanged, this, research);
    connect(m_customer, &QComboBox::currentTextChanged, this, research);
    connect(m_kind1, &QRadioButton::toggled, this, research);
    connect(m_search, &QPushButton::clicked, this, research);
    connect(m_select, &QPushButton::clicked, this,
            [this, &messages] { guardCommand(messages, [this] { choose(); }); });
    connect(m_close, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_grid, &QTableWidget::cellDoubleClicked, this, [this, &messages](int row, int col) {
        m_grid->setCurrentCell(row, col);
        guardCommand(messages, [this] { choose(); });
    });
    connect(m_grid, &QTableWidget::itemSelectionChanged, this, [this] { updateButtons(); });
    OnListEnter(m_grid, [this, &messages] { guardCommand(messages, [this] { choose(); }); });

    m_loading = true;
    guardCommand(messages, [this, &ctx] {
        m_customer->addItem(QString()); // the empty entry: every customer
        FillComboFromList(*ctx.ini, m_customer, QStringLiteral("USER"));
        m_customer->setCurrentIndex(0);
    });
    m_loading = false;

    applyScreenFont(this);
    resize(980, 560);
    updateButtons();
}

void DataSearchScreen::setConditions(const DataSearchFilter& filter)
{
    m_loading = true;
    m_dwgNo->setText(filter.dwgNo.trimmed());
    m_assy->setText(filter.assy.trimmed());
    m_name->setText(filter.name.trimmed());
    m_designer->setText(filter.designer.trimmed());
    m_customer->setEditText(filter.customer.trimmed());
    if (!m_copySource && !filter.kind.isEmpty())
        (filter.kind == u"2" ? m_kind2 : m_kind1)->setChecked(true);
    m_loading = false;
}

DataSearchFilter DataSearchScreen::currentFilter() const
{
    DataSearchFilter f;
    f.kind = m_kind2->isChecked() ? QStringLiteral("2") : QStringLiteral("1");
    f.dwgNo = m_dwgNo->text();
    f.assy = m_assy->text();
    f.name = m_name->text();
    f.designer = m_designer->text();
    f.customer = m_customer->currentText();
    return f;
}

void DataSearchScreen::search()
{
    m_tables = FindStoredTables(RequireConnection(m_ctx), currentFilter());
    m_grid->clearContents();
    m_grid->setRowCount(int(m_tables.size()));
    for (int r = 0; r < m_tables.size(); ++r) {
        const StoredTable& t = m_tables[r];
        const QString cells[ColumnCount] = {
            t.dwgNo, t.assy, t.name, t.date, t.designer, t.customer, QString::number(t.lines)};
        for (int c = 0; c < ColumnCount; ++c) {
            auto* item = new QTableWidgetItem(cells[c]);
            if (c == ColLines)
                item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            m_grid->setItem(r, c, item);
        }
    }
    m_count->setText(QString::number(m_tables.size()) + QStringLiteral("件"));
    if (!m_tables.isEmpty())
        m_grid->setCurrentCell(0, 0);
    updateButtons();
}

void DataSearchScreen::choose()
{
    const int row = m_grid->currentRow();
    if (row < 0 || row >= m_tables.size() || m_grid->selectedItems().isEmpty())
        return;
    m_chosen = m_tables[row];
    if (m_onChoose && !m_onChoose(m_chosen))
        return;
    accept();
}

void DataSearchScreen::updateButtons()
{
    m_select->setEnabled(!m_grid->selectedItems().isEmpty());
}
