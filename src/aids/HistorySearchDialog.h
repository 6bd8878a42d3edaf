#pragma once

#include "AidDialog.h"
#include "HistorySearch.h"

struct AppContext;
class QLabel;
class QLineEdit;
class QPushButton;
class QTableWidget;

// "品名履歴検索" / "材質履歴検索": the names (or materials) stored in lines of the kind, with their
// summed quantity, narrowed by customer, maker and the beginning typed in the field. Choosing one
// (double-click, Enter or "選択(F5)") closes the screen with that value.
class HistorySearchDialog : public AidDialog
{
    Q_OBJECT
public:
    HistorySearchDialog(AppContext& ctx, const HistoryFilter& filter, QWidget* parent = nullptr);

    // Runs the search with the typed text of the screen's field; shows the hits.
    void search();
    const QList<HistoryEntry>& entries() const { return m_entries; }
    // The chosen value, empty until one was chosen.
    const QString& chosenValue() const { return m_chosen; }

private:
    void choose();
    void updateButtons();

    AppContext& m_ctx;
    HistoryFilter m_filter;
    QList<HistoryEntry> m_entries;
    QString m_chosen;
    QLineEdit* m_typed;
    QTableWidget* m_table;
    QLabel* m_count;
    QPushButton* m_search;
    QPushButton* m_select;
    QPushButton* m_close;
};
