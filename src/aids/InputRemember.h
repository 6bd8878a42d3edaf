#pragma once

#include <QList>
#include <QString>

class IniAccess;
class QComboBox;

// The drop-downs of the editor's input area that remember what users type.
struct InputListFields {
    QComboBox* name = nullptr;     // shows the lists whose "INDEX" is 0 to 3
    QComboBox* material = nullptr; // shows the lists whose "INDEX" is 4 to 7
    QComboBox* unit = nullptr;     // "STANI"
    QComboBox* unit2 = nullptr;    // "STANI"
    QComboBox* maker = nullptr;    // "MAKER"
};

// After a line was taken into the grid: each field's typed text that is not yet in its list is
// appended to it (never twice; "MAX" first, then the item), and the drop-down offers it from then
// on, its text unchanged. A name or material already in any of the lists that feed its field is not
// appended again; a new one goes to the list of the field's lowest slot. Blank fields are not
// remembered.
void RememberInputFields(IniAccess& ini, const InputListFields& fields);
