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

// One numbered input list: its items, and the input drop-down its "INDEX" puts it in.
struct InputList {
    int number = 0;
    QString section;
    QStringList items;
    // "INDEX" is the slot of the editor's eight input drop-downs that the list fills, counted from
    // 0: slots 0 to 3 are the name field, 4 to 7 the material field (the shipped settings give list
    // n the slot n - 1). A list whose slot lies outside 0 to 7 feeds no field. It is read strictly:
    // a missing or non-numeric "INDEX" ends the operation like a bad "MAX".
    int index = 0;
    bool feedsName() const { return index >= 0 && index < kListsPerField; }
    bool feedsMaterial() const { return index >= kListsPerField && index < 2 * kListsPerField; }
};
InputList ReadInputList(IniAccess& ini, int n);
// The number of numbered input lists ([KVRCAD0002COMBOMAX] "MAX"), at most 8.
int InputListCount(IniAccess& ini);
// The lists that feed the name field and the material field, in the order of their slots.
QList<InputList> NameInputLists(IniAccess& ini);
QList<InputList> MaterialInputLists(IniAccess& ini);

// "ｶｯｺ": a text in brackets loses them, any other text gets them. Half-width and full-width
// brackets are both taken off; brackets are put on half-width, as the item numbers show them.
// Blanks around the text are dropped (" (A) " counts as bracketed and gives "A").
QString ToggleBrackets(const QString& text);
