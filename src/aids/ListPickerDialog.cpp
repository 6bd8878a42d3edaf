#include "ListPickerDialog.h"

#include "CommandGuard.h"
#include "Common.h"
#include "IniAccess.h"
#include "InputAids.h"
#include "ListKeys.h"
#include "WidgetServices.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

ListPickerDialog::ListPickerDialog(IniAccess& ini, const QString& section, QWidget* target, QWidget* parent)
    : AidDialog(parent), m_ini(ini), m_target(target), m_section(section)
{
    setObjectName(QStringLiteral("ListPicker"));
    setWindowTitle(QStringLiteral("リスト選択"));

    m_tabs = new QTabWidget(this);
    m_tabs->setObjectName(QStringLiteral("tabLists"));
    const auto& tabs = ListPickerTabs();
    for (int i = 0; i < tabs.size(); ++i) {
        auto* list = new QListWidget(m_tabs);
        list->setObjectName(QStringLiteral("lst") + tabs[i].section);
        list->setSelectionMode(QAbstractItemView::SingleSelection);
        m_tabs->addTab(list, tabs[i].caption);
        m_tabs->setTabToolTip(i, tabs[i].section);
        m_tabs->setTabEnabled(i, !target || FillSameField(tabs[i].section, section));
        m_lists.append(list);
        m_loaded.append(false);
        connect(list, &QListWidget::itemDoubleClicked, this, [this, list](QListWidgetItem* item) {
            list->setCurrentItem(item);
            choose();
        });
        connect(list, &QListWidget::itemSelectionChanged, this, [this] { updateButtons(); });
        OnListEnter(list, [this] { choose(); });
    }

    m_sectionLabel = new QLabel(this);
    m_sectionLabel->setObjectName(QStringLiteral("lblSection"));
    m_newEntry = new QLineEdit(this);
    m_newEntry->setObjectName(QStringLiteral("txtNewEntry"));
    m_newEntry->setToolTip(QStringLiteral("この一覧の最後に追加します"));
    m_add = commandButton(QStringLiteral("追加"), QStringLiteral("cmdAdd"), 0);
    auto* addRow = new QHBoxLayout;
    addRow->addWidget(new QLabel(QStringLiteral("新規項目："), this));
    addRow->addWidget(m_newEntry, 1);
    addRow->addWidget(m_add);

    m_select = commandButton(QStringLiteral("選択(F5)"), QStringLiteral("cmdSelect"), Qt::Key_F5);
    m_close = commandButton(QStringLiteral("終了(ESC)"), QStringLiteral("cmdClose"), 0);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_sectionLabel);
    buttons->addStretch();
    buttons->addWidget(m_select);
    buttons->addWidget(m_close);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs, 1);
    layout->addLayout(addRow);
    layout->addLayout(buttons);

    MessageService& messages = ini.messages();
    connect(m_tabs, &QTabWidget::currentChanged, this, [this, &messages](int tab) {
        guardCommand(messages, [this, tab] { loadTab(tab); });
        updateButtons();
    });
    connect(m_select, &QPushButton::clicked, this, [this] { choose(); });
    connect(m_close, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_add, &QPushButton::clicked, this,
            [this, &messages] { guardCommand(messages, [this] { append(); }); });
    connect(m_newEntry, &QLineEdit::returnPressed, m_add, &QPushButton::click);
    connect(m_newEntry, &QLineEdit::textChanged, this, [this] { updateButtons(); });

    applyScreenFont(this);
    // Wide enough for all eleven tabs side by side.
    resize(std::max(640, m_tabs->tabBar()->sizeHint().width() + 40), 480);

    const int start = qMax(0, ListTabIndex(section));
    if (m_tabs->currentIndex() == start)
        guardCommand(messages, [this, start] { loadTab(start); });
    else
        m_tabs->setCurrentIndex(start); // loads through currentChanged
    m_lists[start]->setFocus();
    updateButtons();
}

void ListPickerDialog::loadTab(int tab)
{
    if (tab < 0 || tab >= m_lists.size())
        return;
    const ListTab& info = ListPickerTabs()[tab];
    m_sectionLabel->setText(info.caption + QStringLiteral("（") + info.section + QStringLiteral("）"));
    if (m_loaded[tab])
        return;
    QListWidget* list = m_lists[tab];
    list->clear();
    list->addItems(ReadList(m_ini, info.section));
    m_loaded[tab] = true;
    // The entry already in the field is selected, so Enter keeps it; otherwise the first.
    QString current;
    if (auto* edit = qobject_cast<QLineEdit*>(m_target))
        current = edit->text();
    else if (auto* combo = qobject_cast<QComboBox*>(m_target))
        current = combo->currentText();
    const auto hits =
        current.isEmpty() ? QList<QListWidgetItem*>() : list->findItems(current, Qt::MatchExactly);
    if (!hits.isEmpty())
        list->setCurrentRow(list->row(hits.front()));
    else if (list->count() > 0)
        list->setCurrentRow(0);
}

void ListPickerDialog::choose()
{
    QListWidget* list = m_lists.value(m_tabs->currentIndex());
    if (!list || !list->currentItem() || list->selectedItems().isEmpty() || !fits(m_tabs->currentIndex()))
        return;
    m_chosen = list->currentItem()->text();
    if (m_target)
        PutText(m_target, m_chosen);
    accept();
}

void ListPickerDialog::append()
{
    const int tab = m_tabs->currentIndex();
    const QString value = m_newEntry->text();
    if (tab < 0 || value.trimmed().isEmpty())
        return;
    AddToList(m_ini, ListPickerTabs()[tab].section, value);
    m_listsChanged = true;
    m_loaded[tab] = false;
    loadTab(tab);
    QListWidget* list = m_lists[tab];
    const auto hits = list->findItems(value, Qt::MatchExactly);
    if (!hits.isEmpty())
        list->setCurrentItem(hits.back());
    m_newEntry->clear();
    list->setFocus();
}

bool ListPickerDialog::fits(int tab) const
{
    return !m_target || (tab >= 0 && tab < ListPickerTabs().size() &&
                         FillSameField(ListPickerTabs()[tab].section, m_section));
}

void ListPickerDialog::updateButtons()
{
    QListWidget* list = m_lists.value(m_tabs->currentIndex());
    m_select->setEnabled(list && !list->selectedItems().isEmpty() && fits(m_tabs->currentIndex()));
    m_add->setEnabled(!m_newEntry->text().trimmed().isEmpty());
}

void ListPickerDialog::PutText(QWidget* field, const QString& text)
{
    if (auto* edit = qobject_cast<QLineEdit*>(field)) {
        edit->setText(text);
    } else if (auto* combo = qobject_cast<QComboBox*>(field)) {
        const int index = combo->findText(text, Qt::MatchExactly);
        if (index >= 0)
            combo->setCurrentIndex(index);
        if (combo->isEditable())
            combo->setEditText(text);
    }
}
