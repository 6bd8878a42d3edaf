#pragma once

#include <QList>
#include <QString>
#include <QStringList>

class IniAccess;

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

// The section of the editor's numbered input list n ("KVRCAD0002COMBO" + n).
QString InputListSection(int n);
// Name lists are 1 to 4, material lists 5 to 8.
constexpr int kFirstNameList = 1;
constexpr int kFirstMaterialList = 5;
constexpr int kListsPerField = 4;

// One numbered input list: its items, and its default entry named by "INDEX".
struct InputList {
    QString section;
    QStringList items;
    // "INDEX" is the 1-based number of the list's default entry: the list picker selects it first
    // when the field it fills is still empty. 0 (or a number past the end of the list) names none,
    // and the first entry is selected. It is read strictly: a missing or non-numeric "INDEX" ends
    // the operation like a bad "MAX".
    int index = 0;
    // The default entry, empty when "INDEX" names none.
    QString preselected() const;
};
InputList ReadInputList(IniAccess& ini, int n);
// The number of numbered input lists the editor fills ([KVRCAD0002COMBOMAX] "MAX"), at most 8.
int InputListCount(IniAccess& ini);

// "ｶｯｺ": a text in brackets loses them, any other text gets them. Half-width and full-width
// brackets are both taken off; brackets are put on half-width, as the item numbers show them.
// Blanks around the text are dropped (" (A) " counts as bracketed and gives "A").
QString ToggleBrackets(const QString& text);
