#include "InputRemember.h"

#include "Common.h"
#include "IniAccess.h"
#include "InputAids.h"

#include <QComboBox>

namespace
{

QList<int> group(IniAccess& ini, int first)
{
    const int count = InputListCount(ini);
    QList<int> lists;
    for (int n = first; n < first + kListsPerField && n <= count; ++n)
        lists << n;
    return lists;
}

// Offers the item in the drop-down (appended to its items when missing); the field keeps its own text.
void offer(QComboBox* field, const QString& item)
{
    if (field->findText(item, Qt::MatchExactly) >= 0)
        return;
    const QString own = field->currentText();
    field->addItem(item);
    if (field->isEditable())
        field->setEditText(own);
}

void rememberNumbered(IniAccess& ini, QComboBox* field, const QList<int>& lists)
{
    if (!field || lists.isEmpty())
        return;
    const QString text = field->currentText();
    if (text.trimmed().isEmpty())
        return;
    for (int n : lists)
        if (ReadList(ini, InputListSection(n)).contains(text))
            return;
    AddToList(ini, InputListSection(lists.front()), text);
    offer(field, text);
}

void rememberPlain(IniAccess& ini, const QString& section, QComboBox* field, const QList<QComboBox*>& sharing)
{
    if (!field)
        return;
    const QString text = field->currentText();
    if (text.trimmed().isEmpty())
        return;
    if (AddToList(ini, section, text) != u"REWRITE")
        return;
    for (QComboBox* f : sharing)
        if (f)
            offer(f, text);
}

} // namespace

QList<int> NameLists(IniAccess& ini)
{
    return group(ini, kFirstNameList);
}

QList<int> MaterialLists(IniAccess& ini)
{
    return group(ini, kFirstMaterialList);
}

void RememberInputFields(IniAccess& ini, const InputListFields& fields)
{
    rememberNumbered(ini, fields.name, NameLists(ini));
    rememberNumbered(ini, fields.material, MaterialLists(ini));
    rememberPlain(ini, QStringLiteral("STANI"), fields.unit, {fields.unit, fields.unit2});
    rememberPlain(ini, QStringLiteral("STANI"), fields.unit2, {fields.unit, fields.unit2});
    rememberPlain(ini, QStringLiteral("MAKER"), fields.maker, {fields.maker});
}
