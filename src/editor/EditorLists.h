#pragma once

#include <QList>
#include <QStringList>

class IniAccess;

// One of the editor's numbered input lists "KVRCAD0002COMBO" + n, read with its "INDEX".
struct EditorInputList {
    int number = 0;
    QString section;
    int index = 0;
    QStringList items;
};

// Everything the editor's drop-down lists show, read from the settings file.
struct EditorLists {
    QStringList customers; // "USER"
    QStringList makers;    // "MAKER"
    QStringList units;     // "STANI"
    QList<EditorInputList> inputs;

    // Lists 1 to 4 feed the name field, 5 and up the material field.
    QStringList nameItems() const;
    QStringList materialItems() const;
};

// Reads the lists in the order the editor fills them. A missing or non-numeric "MAX" or "INDEX"
// ends the opening with a run-time error.
EditorLists ReadEditorLists(IniAccess& ini);
