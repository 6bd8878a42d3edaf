#include "InputAids.h"

const QList<ListTab>& ListPickerTabs()
{
    static const QList<ListTab> tabs = {
        {QStringLiteral("客先"), QStringLiteral("USER")},
        {QStringLiteral("品名1"), QStringLiteral("KVRCAD0002COMBO1")},
        {QStringLiteral("品名2"), QStringLiteral("KVRCAD0002COMBO2")},
        {QStringLiteral("品名3"), QStringLiteral("KVRCAD0002COMBO3")},
        {QStringLiteral("品名4"), QStringLiteral("KVRCAD0002COMBO4")},
        {QStringLiteral("メーカー"), QStringLiteral("MAKER")},
        {QStringLiteral("材質1"), QStringLiteral("KVRCAD0002COMBO5")},
        {QStringLiteral("材質2"), QStringLiteral("KVRCAD0002COMBO6")},
        {QStringLiteral("材質3"), QStringLiteral("KVRCAD0002COMBO7")},
        {QStringLiteral("材質4"), QStringLiteral("KVRCAD0002COMBO8")},
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

bool FillSameField(const QString& a, const QString& b)
{
    auto field = [](const QString& section) {
        for (int n = kFirstNameList; n < kFirstNameList + kListsPerField; ++n)
            if (section == InputListSection(n))
                return QStringLiteral("NAME");
        for (int n = kFirstMaterialList; n < kFirstMaterialList + kListsPerField; ++n)
            if (section == InputListSection(n))
                return QStringLiteral("MATERIAL");
        return section;
    };
    return field(a) == field(b);
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
