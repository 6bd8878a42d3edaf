#pragma once

#include <QDialog>

struct AppContext;
class QComboBox;
class QLineEdit;
class QPushButton;

// KVRCAD0102 "新規客先登録": adds a name to the customer list "USER" and selects it in the customer
// drop-down of the screen that opened it.
class NewCustomerDialog : public QDialog
{
    Q_OBJECT
public:
    NewCustomerDialog(AppContext& ctx, QComboBox* customerList, QWidget* parent);

private:
    void registerName();

    AppContext& m_ctx;
    QComboBox* m_customerList;
    QLineEdit* m_name;
    QPushButton* m_register;
    QPushButton* m_cancel;
};
