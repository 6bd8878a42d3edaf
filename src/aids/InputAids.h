#pragma once

#include "EditorLists.h"

#include <QList>
#include <QString>
#include <QStringList>

// The remembered lists that feed the editor's input fields and the list picker's tabs.
struct ListTab {
    QString caption; // tab caption, e.g. "品名"
    QString section; // settings section of the list, e.g. "KVRCAD0002COMBO1"
};

// The eleven tabs of the list picker, in their order: customer, four name lists, maker, four
// material lists, units.
const QList<ListTab>& ListPickerTabs();
// The index of the tab that shows a section, -1 when no tab does.
int ListTabIndex(const QString& section);

// "ｶｯｺ": a text in brackets loses them, any other text gets them. Half-width and full-width
// brackets are both taken off; brackets are put on half-width, as the item numbers show them.
// Blanks around the text are dropped (" (A) " counts as bracketed and gives "A").
QString ToggleBrackets(const QString& text);
