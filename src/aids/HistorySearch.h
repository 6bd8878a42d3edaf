#pragma once

#include <QList>
#include <QString>

class Database;

// What the name and material history search looks for: the stored values of one column of the
// detail table, of one kind, narrowed by customer, maker and the text typed so far.
struct HistoryFilter {
    QString column;   // "CH_HINMEI" or "CH_ZAISHITU"
    QString kind;     // "1" or "2"
    QString customer; // empty: every customer
    QString maker;    // empty: every maker
    QString typed;    // empty: every value; otherwise the values that begin with it
};

struct HistoryEntry {
    QString value;
    QString quantity; // the summed quantity as text, empty when no line had one
};

// Runs the history query and returns the distinct non-blank values in the order of the query
// (sorted by the value), each with its summed quantity.
QList<HistoryEntry> RunHistorySearch(Database& db, const HistoryFilter& filter);

// The column searched by a history button: "品名履歴検索" looks at names, "材質履歴検索" at materials.
QString NameColumn();
QString MaterialColumn();
