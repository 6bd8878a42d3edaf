#pragma once

#include <QDialog>

struct AppContext;
class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QPushButton;

// KVRCAD0004 "シートの選択": lists the sheets of a workbook; the chosen name goes into the template
// sheet field or the import sheet field of the settings screen, as the title (the caption of the
// button that was pressed there) says.
class SheetSelectDialog : public QDialog
{
    Q_OBJECT
public:
    SheetSelectDialog(AppContext& ctx, QLineEdit* templateSheet, QLineEdit* importSheet, QWidget* parent);

    void setSheets(const QStringList& names);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void choose();
    void take(const QString& name);

    AppContext& m_ctx;
    QLineEdit* m_templateSheet;
    QLineEdit* m_importSheet;
    QLabel* m_date;
    QListWidget* m_list;
    QPushButton* m_select;
};
