#include "StartNumberDialog.h"

#include "AppContext.h"
#include "CommandGuard.h"
#include "CommonWidgets.h"
#include "Numbering.h"
#include "WidgetServices.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

StartNumberDialog::StartNumberDialog(AppContext& ctx, int current, QWidget* parent)
    : QDialog(parent), m_ctx(ctx), m_value(current)
{
    setObjectName(QStringLiteral("KVRCAD0103"));
    setWindowTitle(QStringLiteral("開始図番No.指定"));
    setModal(true);

    auto* label = new QLabel(QStringLiteral("開始図番No.(0～99)"), this);
    m_field = new QLineEdit(QString::number(current), this);
    m_field->setObjectName(QStringLiteral("txtZno"));
    m_field->setMaxLength(10);
    m_field->selectAll();
    label->setBuddy(m_field);

    auto* okButton = new QPushButton(QStringLiteral("OK"), this);
    okButton->setObjectName(QStringLiteral("cmdOK"));
    okButton->setDefault(true);
    auto* cancelButton = new QPushButton(QStringLiteral("キャンセル"), this);
    cancelButton->setObjectName(QStringLiteral("cmdCancel"));

    auto* fieldRow = new QHBoxLayout;
    fieldRow->addWidget(label);
    fieldRow->addWidget(m_field);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(okButton);
    buttons->addWidget(cancelButton);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fieldRow);
    layout->addLayout(buttons);

    connect(okButton, &QPushButton::clicked, this,
            [this] { guardCommand(*m_ctx.messages, [this] { ok(); }); });
    connect(cancelButton, &QPushButton::clicked, this, &QDialog::reject);
    applyScreenFont(this);
    m_field->setFocus();
}

void StartNumberDialog::ok()
{
    QString text = m_field->text();
    int value = 0;
    switch (CheckStartNumber(text, value)) {
    case StartNumberResult::NotNumber:
        CheckNumberBox(m_field);
        m_ctx.ini->ShowMessage(QStringLiteral("E102"), QString());
        m_field->setFocus();
        return;
    case StartNumberResult::OutOfRange:
        m_ctx.messages->show(MsgIcon::Stop, MsgButtons::Ok, QStringLiteral("エラー"),
                             QStringLiteral("0～99の数値で指定してください"));
        m_field->setFocus();
        m_field->selectAll();
        return;
    case StartNumberResult::Ok:
        break;
    }
    m_value = value;
    m_chosen = true;
    accept();
}
