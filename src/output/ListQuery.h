#pragma once

#include <QString>

// The query over the detail table for one parts table, in three list modes.
// The mode string is read as two fields of ten characters: the list mode ("FORM LOAD",
// "LIST ALL", "LIST SUM") and the paging word ("PAGE": a new page for each maker).
struct ListMode {
    QString list;   // characters 1-10, trimmed
    QString paging; // characters 11-20, trimmed

    static ListMode parse(const QString& modeString);
    // The mode string of a print run: "LIST SUM" or "LIST ALL", followed by "  PAGE" when the
    // pages break per maker.
    static QString forPrint(bool summary, bool pagePerMaker);
};

// Builds the SQL text. Values are pasted between quotes as they are: a quote inside a value
// breaks the statement, and the database reports it.
QString BuildListQuery(const QString& modeString, const QString& filterWord, const QString& dwgNo,
                       const QString& assy, const QString& kind, const QString& maker);
