#pragma once

#include "EditorScreen.h"

#include <QList>
#include <QStringList>

class PartsTableEditor;

// The editor's four aid hooks: "品名履歴検索", "材質履歴検索", "ｶｯｺ" and "全コピー".
EditorAids MakeEditorAids();

// What the editor gets beyond its hooks, installed once after the screen is made: a list button
// beside each list field (customer, name, material, both units, maker) that opens the list
// picker on that field's tab, remembering the typed name, material, units and maker when a line
// is taken into the grid, and the field "ｶｯｺ" acts on.
void InstallEditorAids(EditorScreen& screen);

// "全コピー": the lines of a stored table put below the editor's lines as new lines (an editor
// holding only its one blank line has them in its place), renumbered, the first copy made current.
// Nothing is written to the database until the table is saved. Returns the number of lines copied.
int CopyLinesIntoEditor(PartsTableEditor& editor, const QList<QStringList>& lines);
