#pragma once

#include <QList>
#include <QString>

class IniAccess;
class QComboBox;

// The drop-downs of the editor's input area that remember what users type.
struct InputListFields {
    QComboBox* name = nullptr;     // shows the name lists 1 to 4
    QComboBox* material = nullptr; // shows the material lists 5 to 8
    QComboBox* unit = nullptr;     // "STANI"
    QComboBox* unit2 = nullptr;    // "STANI"
    QComboBox* maker = nullptr;    // "MAKER"
};

// The numbered lists that feed a field: names 1 to 4, materials 5 to 8, as far as
// [KVRCAD0002COMBOMAX] "MAX" reaches.
QList<int> NameLists(IniAccess& ini);
QList<int> MaterialLists(IniAccess& ini);

// After a line was taken into the grid: each field's typed text that is not yet in its list is
// appended to it (never twice; "MAX" first, then the item), and the drop-down offers it from then
// on, its text unchanged. A name or material already in any of the field's numbered lists is not
// appended again; a new one goes to the first of them. Blank fields are not remembered.
void RememberInputFields(IniAccess& ini, const InputListFields& fields);
