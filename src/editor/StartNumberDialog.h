#pragma once

#include <QDialog>

struct AppContext;
class QLineEdit;

// "開始図番No.指定": asks for the start number of the item numbering, 0 to 99.
class StartNumberDialog : public QDialog
{
    Q_OBJECT
public:
    StartNumberDialog(AppContext& ctx, int current, QWidget* parent = nullptr);

    // The accepted start number (the one given when the dialog was not accepted).
    int value() const { return m_value; }
    // True once OK took a valid number.
    bool chosen() const { return m_chosen; }

private:
    void ok();

    AppContext& m_ctx;
    QLineEdit* m_field;
    int m_value;
    bool m_chosen = false;
};
