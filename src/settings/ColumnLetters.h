#pragma once

#include <QString>
#include <QStringList>

// Sheet columns as the settings screen accepts them: the names generated first letter by first
// letter ("" then "A" to "Z"), each with a second letter "A" to "Z", stopping after "IV".
// The list output itself converts only "A" to "Z"; the wider range here is what users may type.
QStringList GeneratedColumnNames();
// Empty text, or exactly one of the generated names (upper case only).
bool IsValidColumnLetter(const QString& text);
// The column number of a valid name ("A" 1 ... "IV" 256); 0 for empty or invalid text.
int ColumnNumberOfName(const QString& text);

// The items of the column drop-downs ("A" to "Z") and of the row drop-downs ("2" to "100").
QStringList ColumnDropDownItems();
QStringList RowDropDownItems();
