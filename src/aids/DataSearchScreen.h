#pragma once

#include "AidDialog.h"
#include "DataSearch.h"

#include <functional>

struct AppContext;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QTableWidget;

// The data search screen KVRCAD0101: the stored parts tables of one kind in a grid, narrowed by the
// beginnings of drawing number, assembly, name and designer and by customer, sorted by drawing
// number. Opened by the drawing list search with the flag 0 ("データ検索": choosing a table hands its
// key to the search screen), and by the editor's "全コピー" with the flag 1 ("コピー元データ検索":
// choosing a table makes it the source of a copy; the kind is the editor's and cannot be changed).
class DataSearchScreen : public AidDialog
{
    Q_OBJECT
public:
    // The flag values the opening screens set in the context before they open this screen.
    static constexpr int kFromSearch = 0;
    static constexpr int kCopySource = 1;

    DataSearchScreen(AppContext& ctx, const QString& kind, QWidget* parent = nullptr);

    bool isCopySource() const { return m_copySource; }
    // Called with the chosen table; returns true when the screen may close (a copy source answered
    // No keeps it open). Without it, choosing always closes.
    void setChooseHandler(std::function<bool(const StoredTable&)> handler)
    {
        m_onChoose = std::move(handler);
    }

    // Presets the conditions (from the fields of the opening screen) and searches.
    void setConditions(const DataSearchFilter& filter);
    void search();
    const QList<StoredTable>& tables() const { return m_tables; }
    // The chosen table, valid after the screen was accepted.
    const StoredTable& chosen() const { return m_chosen; }

private:
    DataSearchFilter currentFilter() const;
    void choose();
    void updateButtons();

    AppContext& m_ctx;
    bool m_copySource;
    bool m_loading = false;
    std::function<bool(const StoredTable&)> m_onChoose;
    QList<StoredTable> m_tables;
    StoredTable m_chosen;
    QLineEdit* m_dwgNo;
    QLineEdit* m_assy;
    QLineEdit* m_name;
    QLineEdit* m_designer;
    QComboBox* m_customer;
    QRadioButton* m_kind1;
    QRadioButton* m_kind2;
    QTableWidget* m_grid;
    QLabel* m_count;
    QPushButton* m_search;
    QPushButton* m_select;
    QPushButton* m_close;
};
