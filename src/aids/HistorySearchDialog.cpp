#include "HistorySearchDialog.h"

#include "AidsDatabase.h"
#include "AppContext.h"
#include "CommandGuard.h"
#include "ListKeys.h"
#include "WidgetServices.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace
{

QString kindText(const QString& kind)
{
    return kind == u"2" ? QStringLiteral("購入部品") : QStringLiteral("製作部品");
}

QString orAll(const QString& text)
{
    return text.trimmed().isEmpty() ? QStringLiteral("（すべて）") : text.trimmed();
}

} // namespace

HistorySearchDialog::HistorySearchDialog(AppContext& ctx, const HistoryFilter& filter, QWidget* parent)
    : AidDialog(parent), m_ctx(ctx), m_filter(filter)
{
    const bool names = filter.column == NameColumn();
    setObjectName(names ? QStringLiteral("NameHistorySearch") : QStringLiteral("MaterialHistorySearch"));
    setWindowTitle(names ? QStringLiteral("品名履歴検索") : QStringLiteral("材質履歴検索"));
    const QString fieldCaption = names ? QStringLiteral("品　名") : QStringLiteral("材　質");

    auto* conditions = new QGridLayout;
    // Conditions taken from the editor, shown as captions and values; only the typed text can be
    // changed here.
    const QString values[] = {kindText(filter.kind), orAll(filter.customer), orAll(filter.maker)};
    const QString captions[] = {QStringLiteral("部品種"), QStringLiteral("客　先"), QStringLiteral("ﾒｰｶｰ")};
    const char* const names3[] = {"lblKind", "lblCustomer", "lblMaker"};
    for (int i = 0; i < 3; ++i) {
        conditions->addWidget(new QLabel(captions[i], this), i, 0);
        auto* value = new QLabel(values[i], this);
        value->setObjectName(QString::fromLatin1(names3[i]));
        value->setFrameStyle(QFrame::Panel | QFrame::Sunken);
        // The maker's row keeps its last column for the box that lets the maker go.
        conditions->addWidget(value, i, 1, 1, i == 2 && !filter.maker.trimmed().isEmpty() ? 1 : 2);
    }
    // The maker of the input area narrows the search; it can be let go here.
    if (!filter.maker.trimmed().isEmpty()) {
        auto* byMaker = new QCheckBox(QStringLiteral("ﾒｰｶｰで絞る"), this);
        byMaker->setObjectName(QStringLiteral("chkMaker"));
        byMaker->setChecked(true);
        auto* makerValue = findChild<QLabel*>(QStringLiteral("lblMaker"));
        conditions->addWidget(byMaker, 2, 2);
        connect(byMaker, &QCheckBox::toggled, this, [this, makerValue, filter](bool on) {
            m_filter.maker = on ? filter.maker : QString();
            makerValue->setText(orAll(m_filter.maker));
            guardCommand(*m_ctx.messages, [this] { search(); });
        });
    }
    conditions->addWidget(new QLabel(fieldCaption, this), 3, 0);
    m_typed = new QLineEdit(filter.typed.trimmed(), this);
    m_typed->setObjectName(QStringLiteral("txtTyped"));
    m_typed->setToolTip(QStringLiteral("この文字で始まるものを探します（空欄はすべて）"));
    conditions->addWidget(m_typed, 3, 1);
    m_search = commandButton(QStringLiteral("検索(F1)"), QStringLiteral("cmdSearch"), Qt::Key_F1);
    conditions->addWidget(m_search, 3, 2);
    conditions->setColumnStretch(1, 1);

    m_table = new QTableWidget(0, 2, this);
    m_table->setObjectName(QStringLiteral("grdHistory"));
    m_table->setHorizontalHeaderLabels(
        {names ? QStringLiteral("品　　名") : QStringLiteral("材　質"), QStringLiteral("数量計")});
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->verticalHeader()->setVisible(false);
    m_table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Fixed);
    m_table->setColumnWidth(1, 90);
    m_table->setAlternatingRowColors(true);

    m_count = new QLabel(this);
    m_count->setObjectName(QStringLiteral("lblCount"));
    m_select = commandButton(QStringLiteral("選択(F5)"), QStringLiteral("cmdSelect"), Qt::Key_F5);
    m_close = commandButton(QStringLiteral("終了(ESC)"), QStringLiteral("cmdClose"), 0);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_count);
    buttons->addStretch();
    buttons->addWidget(m_select);
    buttons->addWidget(m_close);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(conditions);
    layout->addWidget(m_table, 1);
    layout->addLayout(buttons);

    MessageService& messages = *ctx.messages;
    connect(m_search, &QPushButton::clicked, this,
            [this, &messages] { guardCommand(messages, [this] { search(); }); });
    connect(m_typed, &QLineEdit::returnPressed, m_search, &QPushButton::click);
    connect(m_select, &QPushButton::clicked, this, [this] { choose(); });
    connect(m_close, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_table, &QTableWidget::cellDoubleClicked, this, [this](int row, int col) {
        m_table->setCurrentCell(row, col);
        choose();
    });
    connect(m_table, &QTableWidget::itemSelectionChanged, this, [this] { updateButtons(); });
    OnListEnter(m_table, [this] { choose(); });

    applyScreenFont(this);
    resize(520, 460);
    updateButtons();
}

void HistorySearchDialog::search()
{
    m_filter.typed = m_typed->text();
    m_entries = RunHistorySearch(RequireConnection(m_ctx), m_filter);
    m_table->clearContents();
    m_table->setRowCount(int(m_entries.size()));
    for (int r = 0; r < m_entries.size(); ++r) {
        m_table->setItem(r, 0, new QTableWidgetItem(m_entries[r].value));
        auto* quantity = new QTableWidgetItem(m_entries[r].quantity);
        quantity->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        m_table->setItem(r, 1, quantity);
    }
    m_count->setText(QString::number(m_entries.size()) + QStringLiteral("件"));
    if (!m_entries.isEmpty()) {
        m_table->setCurrentCell(0, 0);
        m_table->setFocus();
    }
    updateButtons();
}

void HistorySearchDialog::choose()
{
    const int row = m_table->currentRow();
    if (row < 0 || row >= m_entries.size() || m_table->selectedItems().isEmpty())
        return;
    m_chosen = m_entries[row].value;
    accept();
}

void HistorySearchDialog::updateButtons()
{
    m_select->setEnabled(!m_table->selectedItems().isEmpty());
}
