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
// material lists, units). It opens on the tab of the field it was called for; only the tabs whose
// entries belong in that field can be chosen from. Double-click, Enter or "選択(F5)" moves the
// chosen entry into the field and closes. Lists are only read here, and a new entry can be
// appended ("追加"); nothing is edited or deleted.
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
    // True when an entry was appended to any list, so the lists shown elsewhere are out of date.
    bool listsChanged() const { return m_listsChanged; }

    // Puts a text into a line edit or a drop-down (as its text, selecting the item when listed).
    static void PutText(QWidget* field, const QString& text);

private:
    void loadTab(int tab);
    void choose();
    void append();
    void updateButtons();
    bool fits(int tab) const;

    IniAccess& m_ini;
    QWidget* m_target;
    QString m_section;
    QString m_chosen;
    bool m_listsChanged = false;
    QTabWidget* m_tabs;
    QList<QListWidget*> m_lists;
    QList<bool> m_loaded;
    QLabel* m_sectionLabel;
    QLineEdit* m_newEntry;
    QPushButton* m_add;
    QPushButton* m_select;
    QPushButton* m_close;
};
