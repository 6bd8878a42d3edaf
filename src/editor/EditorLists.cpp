#include "EditorLists.h"

#include "Common.h"
#include "IniAccess.h"

QStringList EditorLists::nameItems() const
{
    QStringList out;
    for (const auto& l : inputs)
        if (l.number <= 4)
            out += l.items;
    return out;
}

QStringList EditorLists::materialItems() const
{
    QStringList out;
    for (const auto& l : inputs)
        if (l.number > 4)
            out += l.items;
    return out;
}

EditorLists ReadEditorLists(IniAccess& ini)
{
    EditorLists lists;
    lists.customers = ReadList(ini, QStringLiteral("USER"));
    lists.makers = ReadList(ini, QStringLiteral("MAKER"));
    lists.units = ReadList(ini, QStringLiteral("STANI"));
    const int count = StrictInt(ini.get(QStringLiteral("KVRCAD0002COMBOMAX"), QStringLiteral("MAX")));
    for (int n = 1; n <= count; ++n) {
        EditorInputList l;
        l.number = n;
        l.section = QStringLiteral("KVRCAD0002COMBO") + QString::number(n);
        l.items = ReadList(ini, l.section);
        l.index = StrictInt(ini.get(l.section, QStringLiteral("INDEX")));
        lists.inputs.append(l);
    }
    return lists;
}
