#include "EditorLists.h"

#include "Common.h"
#include "IniAccess.h"

#include <algorithm>

QString InputListSection(int n)
{
    return QStringLiteral("KVRCAD0002COMBO") + QString::number(n);
}

int InputListCount(IniAccess& ini)
{
    const int count = StrictIntSetting(ini, QStringLiteral("KVRCAD0002COMBOMAX"), QStringLiteral("MAX"));
    return qBound(0, count, kFirstMaterialList + kListsPerField - 1);
}

InputList ReadInputList(IniAccess& ini, int n)
{
    InputList list;
    list.number = n;
    list.section = InputListSection(n);
    list.items = ReadList(ini, list.section);
    list.index = StrictIntSetting(ini, list.section, QStringLiteral("INDEX"));
    return list;
}

QList<InputList> ReadInputLists(IniAccess& ini)
{
    QList<InputList> lists;
    const int count = InputListCount(ini);
    for (int n = 1; n <= count; ++n)
        lists << ReadInputList(ini, n);
    return lists;
}

namespace
{

QList<InputList> feeding(const QList<InputList>& all, bool names)
{
    QList<InputList> lists;
    for (const InputList& list : all)
        if (names ? list.feedsName() : list.feedsMaterial())
            lists << list;
    std::stable_sort(lists.begin(), lists.end(),
                     [](const InputList& a, const InputList& b) { return a.index < b.index; });
    return lists;
}

QStringList items(const QList<InputList>& lists)
{
    QStringList out;
    for (const InputList& l : lists)
        out += l.items;
    return out;
}

} // namespace

QList<InputList> NameInputLists(const QList<InputList>& all)
{
    return feeding(all, true);
}

QList<InputList> MaterialInputLists(const QList<InputList>& all)
{
    return feeding(all, false);
}

QStringList EditorLists::nameItems() const
{
    return items(NameInputLists(inputs));
}

QStringList EditorLists::materialItems() const
{
    return items(MaterialInputLists(inputs));
}

EditorLists ReadEditorLists(IniAccess& ini)
{
    EditorLists lists;
    lists.customers = ReadList(ini, QStringLiteral("USER"));
    lists.makers = ReadList(ini, QStringLiteral("MAKER"));
    lists.units = ReadList(ini, QStringLiteral("STANI"));
    lists.inputs = ReadInputLists(ini);
    return lists;
}
