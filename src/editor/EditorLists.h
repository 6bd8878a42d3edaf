#pragma once

#include <QList>
#include <QStringList>

class IniAccess;

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

// The number of numbered input lists ([KVRCAD0002COMBOMAX] "MAX"), at most 8.
int InputListCount(IniAccess& ini);
InputList ReadInputList(IniAccess& ini, int n);
// Every numbered input list, in the order of their numbers.
QList<InputList> ReadInputLists(IniAccess& ini);
// The lists that feed the name field and the material field, in the order of their slots.
QList<InputList> NameInputLists(const QList<InputList>& all);
QList<InputList> MaterialInputLists(const QList<InputList>& all);

// Everything the editor's drop-down lists show, read from the settings file.
struct EditorLists {
    QStringList customers; // "USER"
    QStringList makers;    // "MAKER"
    QStringList units;     // "STANI"
    QList<InputList> inputs;

    // The items of the lists that feed the name and the material field, slot by slot.
    QStringList nameItems() const;
    QStringList materialItems() const;
};

// Reads the lists in the order the editor fills them. A missing or non-numeric "MAX" or "INDEX"
// ends the opening with a run-time error.
EditorLists ReadEditorLists(IniAccess& ini);
