#include "SheetSelectDialog.h"

#include "AppContext.h"
#include "CommandGuard.h"
#include "JapaneseEra.h"
#include "WidgetServices.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

SheetSelectDialog::SheetSelectDialog(AppContext& ctx, QLineEdit* templateSheet, QLineEdit* importSheet,
                                     QWidget* parent)
    : QDialog(parent), m_ctx(ctx), m_templateSheet(templateSheet), m_importSheet(importSheet)
{
    setObjectName(QStringLiteral("KVRCAD0004"));
    setWindowTitle(QStringLiteral("シートの選択"));
    applyScreenFont(this);

    m_date = new QLabel(this);
    m_date->setObjectName(QStringLiteral("lblDate"));
    m_date->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    const QDateTime now = ctx.clock ? ctx.clock->now() : QDateTime::currentDateTime();
    m_date->setText(JapaneseEraDateTime(now));

    auto* several = new QLabel(QStringLiteral("シートが複数存在します。"), this);
    auto* choose = new QLabel(QStringLiteral("下記より選択してください"), this);
    m_list = new QListWidget(this);
    m_list->setObjectName(QStringLiteral("lstTAN1050"));
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setMinimumSize(300, 180);
    m_select = new QPushButton(QStringLiteral("選択(F5)"), this);
    m_select->setObjectName(QStringLiteral("cmdTAN1050"));

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_date);
    layout->addWidget(several);
    layout->addWidget(choose);
    layout->addWidget(m_list, 1);
    auto* row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(m_select);
    layout->addLayout(row);

    connect(m_select, &QPushButton::clicked, this,
            [this] { guardCommand(*m_ctx.messages, [this] { this->choose(); }); });
    connect(m_list, &QListWidget::itemDoubleClicked, this, [this](QListWidgetItem* item) {
        if (item)
            take(item->text());
    });
}

void SheetSelectDialog::keyPressEvent(QKeyEvent* event)
{
    // F5 presses the select button while it is enabled; the list passes the key up to here.
    if (event->key() == Qt::Key_F5 && event->modifiers() == Qt::NoModifier) {
        if (m_select->isEnabled())
            m_select->click();
        return;
    }
    QDialog::keyPressEvent(event);
}

void SheetSelectDialog::setSheets(const QStringList& names)
{
    m_list->clear();
    m_list->addItems(names);
    // Nothing looks chosen until the user chooses: without this the list, taking the focus, would
    // mark its first sheet as current although it is not selected.
    m_list->setCurrentIndex(QModelIndex());
}

void SheetSelectDialog::choose()
{
    const QList<QListWidgetItem*> selected = m_list->selectedItems();
    if (selected.isEmpty()) {
        m_ctx.ini->ShowMessage(QStringLiteral("E108"), QString());
        return;
    }
    take(selected.first()->text());
}

void SheetSelectDialog::take(const QString& name)
{
    // The title is the caption of the button pressed on the settings screen.
    if (windowTitle() == u"雛形ﾌｧｲﾙ設定")
        m_templateSheet->setText(name);
    else if (windowTitle() == u"取込ﾌｧｲﾙ設定")
        m_importSheet->setText(name);
    accept();
}
