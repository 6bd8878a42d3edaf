#include "NewCustomerDialog.h"

#include "AppContext.h"
#include "CommandGuard.h"
#include "CommonWidgets.h"
#include "WidgetServices.h"

#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

NewCustomerDialog::NewCustomerDialog(AppContext& ctx, QComboBox* customerList, QWidget* parent)
    : QDialog(parent), m_ctx(ctx), m_customerList(customerList)
{
    setObjectName(QStringLiteral("KVRCAD0102"));
    setWindowTitle(QStringLiteral("新規客先登録"));
    applyScreenFont(this);

    auto* label = new QLabel(QStringLiteral("客先名"), this);
    m_name = new QLineEdit(this);
    m_name->setObjectName(QStringLiteral("txtUserName"));
    m_name->setMinimumWidth(280);
    label->setBuddy(m_name);

    m_register = new QPushButton(QStringLiteral("登録"), this);
    m_register->setObjectName(QStringLiteral("cmdButton0"));
    m_register->setDefault(true);
    m_cancel = new QPushButton(QStringLiteral("キャンセル"), this);
    m_cancel->setObjectName(QStringLiteral("cmdButton1"));

    auto* grid = new QGridLayout(this);
    grid->addWidget(label, 0, 0);
    grid->addWidget(m_name, 0, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_register);
    buttons->addWidget(m_cancel);
    grid->addLayout(buttons, 1, 0, 1, 2);

    connect(m_register, &QPushButton::clicked, this,
            [this] { guardCommand(*m_ctx.messages, [this] { registerName(); }); });
    connect(m_cancel, &QPushButton::clicked, this, &QDialog::reject);

    // The name field starts empty every time the dialog opens.
    m_name->clear();
}

void NewCustomerDialog::registerName()
{
    const QString name = m_name->text();
    if (name.trimmed().isEmpty()) {
        m_ctx.messages->show(MsgIcon::Exclamation, MsgButtons::Ok, QStringLiteral("注意"),
                             QStringLiteral("客先名が空欄です。登録できません。"));
        m_name->setFocus();
        return;
    }
    // Stored as typed: leading blanks make a different customer.
    RememberComboValue(*m_ctx.ini, m_customerList, QStringLiteral("USER"), name);
    accept();
}
