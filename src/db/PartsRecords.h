#pragma once

#include <QList>
#include <QString>
#include <optional>

class Database;
class Recordset;

// The header row of one parts table (BUHINHYO).
struct PartsHeader {
    QString user, assy, dwgNo, kind, name, date /*"YYYY/MM/DD"*/, designer;
};

// One line of a parts table (BUHINHYO_M) as the editor holds it: every cell as text.
struct PartsLine {
    QString number; // INT_NUMBER as text, "" = never stored
    QString zno, hinmei, zaishitu, suryo, tani, suryo2, tani2, biko, tanka, kingk, maker;
    bool haishi = false, kakko = false;
};

// The SQL texts of the parts table records. Values are pasted between quotes as they are: a quote
// inside a value breaks the statement and the database reports it (nothing is written then).
QString HeaderQuery(const QString& assy, const QString& dwgNo, const QString& kind);
QString DetailRowQuery(const QString& assy, const QString& numberText);
QString DeleteDetailStatement(const QString& numberText);
// The name / material history of the editor's input aid; column is CH_HINMEI or CH_ZAISHITU.
// Customer, maker and typed text are trimmed, and each condition is added only when it is not empty.
QString BuildHistoryQuery(const QString& column, const QString& kind, const QString& customer,
                          const QString& maker, const QString& typed);

// Puts the lines of a list query in item-number order (ItemNumberOrder over CH_ZNO; per maker, in the
// order the database gave the makers, when makerFirst).
void OrderByItemNumber(Database& db, Recordset& lines, bool makerFirst = false);

// The stored header of a table, if there is one.
std::optional<PartsHeader> ReadHeader(Database& db, const QString& assy, const QString& dwgNo,
                                      const QString& kind);
// Creates the header with customer, assembly, drawing number and kind when it is missing; then
// writes name, date and designer (the customer of an existing header is never changed).
void SaveHeader(Database& db, const PartsHeader& header);
// Inserts the line when its number finds no row (an empty number always inserts), else updates it.
// Quantity (with its unit), second quantity (with its unit), unit price and amount are written only
// when given: an empty cell keeps what is stored.
void SaveDetailLine(Database& db, const PartsHeader& owner, const PartsLine& line, const QString& updDate);
void DeleteDetailLine(Database& db, const QString& numberText);
// The header first, then every line in order, each on its own: a failure part-way leaves the rows
// before it saved.
void SaveTable(Database& db, const PartsHeader& header, const QList<PartsLine>& lines,
               const QString& updDate);
