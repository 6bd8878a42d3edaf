#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

class Recordset;

// One SETTEI row: where a customer's template takes the header items and detail columns of one
// kind of list. Missing values read as empty text and unset flags as no.
struct OutputSettings {
    QHash<QString, QString> texts;
    QHash<QString, bool> flags;

    QString text(const QString& column) const { return texts.value(column); }
    bool flag(const QString& column) const { return flags.value(column, false); }
    void set(const QString& column, const QString& value) { texts.insert(column, value); }
    void setFlag(const QString& column, bool value) { flags.insert(column, value); }

    // Every column of the table in the order the settings screen writes them.
    static const QStringList& columns();
    // The yes/no columns among them.
    static bool isFlagColumn(const QString& column) { return column.startsWith(u"YN_"); }
};

// The detail items in the order they are shown, saved and written.
struct DetailItem {
    QString item; // "ZUBAN", "HINMEI", ...
    QString flag() const { return QStringLiteral("YN_M") + item; }
    QString heading() const { return QStringLiteral("CH_MM") + item; }
    QString startColumn() const { return QStringLiteral("CH_M") + item + QStringLiteral("_SC"); }
};
const QStringList& DetailItemNames(); // ZUBAN HINMEI ZAISHITU BIKO SURYO TANKA KING MAKER

// The lookup of a print run (note the lower-case "and").
QString PrintSettingsQuery(const QString& customer, const QString& kind);
// Reads the current row of an open record set.
OutputSettings ReadOutputSettings(const Recordset& rs);
