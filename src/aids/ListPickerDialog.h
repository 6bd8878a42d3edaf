#pragma once

#include "AidDialog.h"

#include <QList>

class IniAccess;
class MessageService;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QTabWidget;

// The list picker: eleven tabs, one per remembered list (customers, four name lists, makers, four
// material lists, units). It opens on the tab of the field it was called for; double-click, Enter
// or "選択(F5)" moves the chosen entry into that field and closes. Lists are only read here, and
// a new entry can be appended ("追加"); nothing is edited or deleted.
class ListPickerDialog : public AidDialog
{
    Q_OBJECT
public:
    // target: a QLineEdit or QComboBox (editable or not) that receives the chosen entry; may be null.
    ListPickerDialog(IniAccess& ini, const QString& section, QWidget* target, QWidget* parent = nullptr);

    QTabWidget* tabs() const { return m_tabs; }
    // The list widget of a tab.
    QListWidget* list(int tab) const { return m_lists.value(tab); }
    const QString& chosenValue() const { return m_chosen; }

    // Puts a text into a line edit or a drop-down (as its text, selecting the item when listed).
    static void PutText(QWidget* field, const QString& text);

private:
    void loadTab(int tab);
    void choose();
    void append();
    void updateButtons();

    IniAccess& m_ini;
    QWidget* m_target;
    QString m_chosen;
    QTabWidget* m_tabs;
    QList<QListWidget*> m_lists;
    QList<bool> m_loaded;
    QLabel* m_section;
    QLineEdit* m_newEntry;
    QPushButton* m_add;
    QPushButton* m_select;
    QPushButton* m_close;
};
