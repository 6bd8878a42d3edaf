#pragma once

#include "EditorScreen.h"

// The editor's four aid hooks: "品名履歴検索", "材質履歴検索", "ｶｯｺ" and "全コピー".
EditorAids MakeEditorAids();

// What the editor gets beyond its hooks, installed once after the screen is made: a list button
// beside each list field (customer, name, material, both units, maker) that opens the list
// picker on that field's tab, and the field "ｶｯｺ" acts on.
void InstallEditorAids(EditorScreen& screen);
