#include "InputRemember.h"

#include "Common.h"
#include "IniAccess.h"
#include "InputAids.h"

#include <QComboBox>

namespace
{

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

void rememberNumbered(IniAccess& ini, QComboBox* field, const QList<InputList>& lists)
{
    if (!field || lists.isEmpty())
        return;
    const QString text = field->currentText();
    if (text.trimmed().isEmpty())
        return;
    for (const InputList& list : lists)
        if (list.items.contains(text))
            return;
    AddToList(ini, lists.front().section, text);
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

void RememberInputFields(IniAccess& ini, const InputListFields& fields)
{
    const QList<InputList> lists = ReadInputLists(ini);
    rememberNumbered(ini, fields.name, NameInputLists(lists));
    rememberNumbered(ini, fields.material, MaterialInputLists(lists));
    rememberPlain(ini, QStringLiteral("STANI"), fields.unit, {fields.unit, fields.unit2});
    rememberPlain(ini, QStringLiteral("STANI"), fields.unit2, {fields.unit, fields.unit2});
    rememberPlain(ini, QStringLiteral("MAKER"), fields.maker, {fields.maker});
}
