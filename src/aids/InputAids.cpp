#include "InputAids.h"

#include "Common.h"
#include "IniAccess.h"

#include <algorithm>

const QList<ListTab>& ListPickerTabs()
{
    static const QList<ListTab> tabs = {
        {QStringLiteral("客先"), QStringLiteral("USER")},
        {QStringLiteral("品名"), QStringLiteral("KVRCAD0002COMBO1")},
        {QStringLiteral("品名"), QStringLiteral("KVRCAD0002COMBO2")},
        {QStringLiteral("品名"), QStringLiteral("KVRCAD0002COMBO3")},
        {QStringLiteral("品名"), QStringLiteral("KVRCAD0002COMBO4")},
        {QStringLiteral("メーカー"), QStringLiteral("MAKER")},
        {QStringLiteral("材質"), QStringLiteral("KVRCAD0002COMBO5")},
        {QStringLiteral("材質"), QStringLiteral("KVRCAD0002COMBO6")},
        {QStringLiteral("材質"), QStringLiteral("KVRCAD0002COMBO7")},
        {QStringLiteral("材質"), QStringLiteral("KVRCAD0002COMBO8")},
        {QStringLiteral("単位"), QStringLiteral("STANI")},
    };
    return tabs;
}

int ListTabIndex(const QString& section)
{
    const auto& tabs = ListPickerTabs();
    for (int i = 0; i < tabs.size(); ++i)
        if (tabs[i].section == section)
            return i;
    return -1;
}

QString InputListSection(int n)
{
    return QStringLiteral("KVRCAD0002COMBO") + QString::number(n);
}

InputList ReadInputList(IniAccess& ini, int n)
{
    InputList list;
    list.number = n;
    list.section = InputListSection(n);
    list.items = ReadList(ini, list.section);
    list.index = StrictInt(ini.get(list.section, QStringLiteral("INDEX")));
    return list;
}

int InputListCount(IniAccess& ini)
{
    const int count = StrictInt(ini.get(QStringLiteral("KVRCAD0002COMBOMAX"), QStringLiteral("MAX")));
    return qBound(0, count, kFirstMaterialList + kListsPerField - 1);
}

namespace
{

QList<InputList> feeding(IniAccess& ini, bool names)
{
    QList<InputList> lists;
    const int count = InputListCount(ini);
    for (int n = 1; n <= count; ++n) {
        InputList list = ReadInputList(ini, n);
        if (names ? list.feedsName() : list.feedsMaterial())
            lists << list;
    }
    std::stable_sort(lists.begin(), lists.end(),
                     [](const InputList& a, const InputList& b) { return a.index < b.index; });
    return lists;
}

} // namespace

QList<InputList> NameInputLists(IniAccess& ini)
{
    return feeding(ini, true);
}

QList<InputList> MaterialInputLists(IniAccess& ini)
{
    return feeding(ini, false);
}

QString ToggleBrackets(const QString& text)
{
    const QString core = text.trimmed();
    if (core.size() >= 2) {
        const QChar first = core.front();
        const QChar last = core.back();
        if ((first == u'(' && last == u')') || (first == u'（' && last == u'）'))
            return core.mid(1, core.size() - 2);
    }
    return u'(' + core + u')';
}
