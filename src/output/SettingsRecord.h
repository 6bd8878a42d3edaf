#pragma once

#include <QString>
#include <QStringList>
#include <array>

class Database;
class Recordset;

// One row of SETTEI: where a customer's list of one kind lands on the sheet. The settings screen
// writes it; the print run, the page layout and the import read it. Every value is kept as text
// exactly as stored or shown; INT_PAGEMAX is the page-rows text; a null reads as empty text.

// Header items in the order of the screen and of the save.
constexpr int kHeaderItemCount = 6;
extern const std::array<QStringView, kHeaderItemCount> kHeaderItems;    // DWGNO NAME ASSY DATE DESINED SHEET
extern const std::array<QStringView, kHeaderItemCount> kHeaderCaptions; // "DWG.№" ...
// Detail items in the order of the screen and of the save.
constexpr int kDetailItemCount = 8;
extern const std::array<QStringView, kDetailItemCount> kDetailItems;    // ZUBAN HINMEI ... MAKER
extern const std::array<QStringView, kDetailItemCount> kDetailCaptions; // "図番№" ...

enum HeaderIndex { HDwgNo, HName, HAssy, HDate, HDesigner, HSheet };
enum DetailIndex { MZuban, MHinmei, MZaishitu, MBiko, MSuryo, MTanka, MKing, MMaker };

struct HeaderCell {
    QString row;
    QString col;
    bool on = false;
    friend bool operator==(const HeaderCell&, const HeaderCell&) = default;
};

struct DetailColumn {
    QString startRow;
    QString startCol;
    QString endRow;
    QString endCol;
    bool on = false;
    QString heading;
    friend bool operator==(const DetailColumn&, const DetailColumn&) = default;
};

struct SettingsRecord {
    QString user;
    QString kind;
    QString orgPath;
    QString orgSheet;
    QString cpyPath;
    QString cpySheet;
    QString pageMax;
    QString midashiRow;
    QString midashiCol;
    QString midashi;
    std::array<HeaderCell, kHeaderItemCount> header;
    std::array<DetailColumn, kDetailItemCount> detail;

    friend bool operator==(const SettingsRecord&, const SettingsRecord&) = default;

    // The settings screen's lookup, "SELECT * FROM SETTEI WHERE CH_USER  = '...' AND CH_BUHIN = '...'",
    // values pasted as they are.
    static QString LookupSql(const QString& user, const QString& kind);
    // The print run's lookup: one blank before the equals sign and a lower-case "and".
    static QString PrintLookupSql(const QString& user, const QString& kind);
    // The 76 columns in the order the screen writes them (keys first).
    static QStringList ColumnNames();

    // Reads the current row; a null reads as empty text, any true yes/no as ticked.
    static SettingsRecord FromRecordset(const Recordset& rs);
    // Assigns every column but the two keys, in the save order, untrimmed.
    // INT_PAGEMAX takes the page-rows text as a number: a text that is not one is a type mismatch.
    void AssignTo(Recordset& rs) const;
};

// Column names of the items: HeaderColumn(HName, u"_R") is "CH_HNAME_R", DetailColumnName(MBiko, u"_SC")
// is "CH_MBIKO_SC".
QString HeaderColumn(int item, QStringView suffix);
QString HeaderFlag(int item);
QString DetailColumnName(int item, QStringView suffix);
QString DetailFlag(int item);
QString DetailHeading(int item);

// The template and import workbooks that any settings row names (CH_ORGPATH, CH_CPYPATH): files no
// output may overwrite.
QStringList WorkbookPathsOfAllSettings(Database& db);

// The page-rows text as the number stored in INT_PAGEMAX (blanks around it allowed).
int PageMaxValue(const QString& text);
