#pragma once

#include "EditorLists.h"

#include <QList>
#include <QString>
#include <QStringList>

// The remembered lists that feed the editor's input fields and the list picker's tabs.
struct ListTab {
    QString caption; // tab caption, e.g. "品名1"
    QString section; // settings section of the list, e.g. "KVRCAD0002COMBO1"
};

// The eleven tabs of the list picker, in their order: customer, four name lists, maker, four
// material lists, units.
const QList<ListTab>& ListPickerTabs();
// The index of the tab that shows a section, -1 when no tab does.
int ListTabIndex(const QString& section);
// True when an entry of list a may go into the field that list b fills: the four name lists all
// fill the name field, the four material lists the material field, every other list its own.
bool FillSameField(const QString& a, const QString& b);

// "ｶｯｺ": a text in brackets loses them, any other text gets them. Half-width and full-width
// brackets are both taken off; brackets are put on half-width, as the item numbers show them.
// Blanks around the text are dropped (" (A) " counts as bracketed and gives "A").
QString ToggleBrackets(const QString& text);
