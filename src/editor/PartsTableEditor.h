#pragma once

#include "PartsGrid.h"
#include "PrintRequest.h"

#include <QString>
#include <functional>
#include <memory>

struct AppContext;
class Database;
struct PartsLine;

// What the opening screen hands to the editor before it loads.
struct EditorOpenValues {
    QString dwgNo;
    QString assy;
    QString name;
    QString kind; // "1" manufactured, "2" purchased
    QString date; // "YYYY/MM/DD"
    QString designer;
};

// The header area as the editor shows it.
struct EditorHeaderArea {
    QString title = QStringLiteral("部品表(MFG.PARTS.TABLE)");
    QString dwgNo;
    QString name;
    QString assy;
    QString date;
    QString designer;
    QString kind;
    QString customer; // the customer list's text
};

// The fields of the input area "追加・編集", which the transfer button writes into the current line.
struct InputValues {
    QString hinmei;
    QString zaishitu;
    QString suryo;
    QString tani;
    QString suryo2;
    QString tani2;
    QString tanka;
    QString biko;
    QString maker;
};

// The parts table editor without its widgets: one open table, its grid, the start number, the row
// operations with their questions, loading and saving. The screen shows what this holds.
class PartsTableEditor
{
public:
    enum class SaveResult { Saved, NoCustomer, NoData, BlankCustomer };

    PartsTableEditor(AppContext& ctx, std::shared_ptr<Database> db);

    PartsGrid& grid() { return m_grid; }
    const PartsGrid& grid() const { return m_grid; }
    EditorHeaderArea& header() { return m_header; }
    const EditorHeaderArea& header() const { return m_header; }
    int startNumber() const { return m_start; }
    Database* database() const { return m_db.get(); }

    // Called after an operation changed what the input area shows (the current line), and after any
    // change the status text shows.
    std::function<void()> onRefreshInput;
    std::function<void()> onRefreshDisplay;

    // Opening: takes the opening screen's values, sets the start number to 1 and loads the table.
    void open(const EditorOpenValues& values);
    // Loads the table: header (asking "Q001" when the stored name differs), lines, renumbering.
    void load();

    // Row operations; each asks first (except the marks) and renumbers after. False when answered No.
    bool insertAbove();
    bool insertBelow();
    bool copyToBottom();
    bool deleteLine();
    // The grid grown by a line marked "追加", made current.
    void addLineAtBottom();
    // The abolish mark of the current line.
    void setAbolished(bool on);
    // The bracket mark of the current line; false when the line has no item number and so cannot
    // be bracketed (the check box goes back to clear).
    bool setBracketed(bool on);
    void setStartNumber(int start);
    void renumber();

    // Lines copied in from another table (the data search's whole-table copy): appended as new
    // lines without a stored number, so the next save inserts them; an editor holding only its one
    // empty line has them in its place. The first copy becomes current; renumbers after.
    void appendCopiedLines(std::vector<PartsGrid::Line> lines);

    // The stored lines of a table as grid lines, read with the editor's load query (abolished
    // lines included, in item number order).
    static std::vector<PartsGrid::Line> ReadStoredLines(Database& db, const QString& dwgNo,
                                                        const QString& assy, const QString& kind);

    // The input area and the current line.
    InputValues inputFromLine(int row) const;
    void writeInputToLine(const InputValues& values);

    // "更新(F5)": the checks, the header and every line, "I100", the reload.
    SaveResult save();
    // The print run's request for the current header and options.
    PrintRequest printRequest(bool keepExcel, bool summary, bool pagePerMaker) const;

    // The stored row's number of a line read through a 16-bit conversion (the immediate deletion):
    // above 32767 is the overflow error.
    static QString StoredNumber16(const QString& cell);
    // The same number read as a 32-bit integer (saving); "" stays "".
    static QString StoredNumber32(const QString& cell);
    // A grid line as the detail record it is saved as.
    static PartsLine LineFromCells(const PartsGrid::Cells& cells);
    // True when some line holds text in one of the columns 2 to 11.
    static bool HasEnteredData(const PartsGrid& grid);
    // The header date as stored: "YYYY/MM/DD".
    static QString HeaderDate(const QString& shown);
    static QString TitleOfKind(const QString& kind);

private:
    bool ask(const QString& text, const QString& title);
    void refreshInput();
    void refreshDisplay();

    AppContext& m_ctx;
    std::shared_ptr<Database> m_db;
    PartsGrid m_grid;
    EditorHeaderArea m_header;
    int m_start = 1;
};
