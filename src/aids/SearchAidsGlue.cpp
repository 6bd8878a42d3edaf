#include "SearchAidsGlue.h"

#include "AppContext.h"
#include "DataSearchScreen.h"
#include "EditorAidsGlue.h"
#include "ListPickerDialog.h"

#include <QComboBox>
#include <QLineEdit>
#include <QRadioButton>

namespace
{

template <typename T> T* field(QWidget* screen, const char* name)
{
    return screen ? screen->findChild<T*>(QString::fromLatin1(name)) : nullptr;
}

QString text(QLineEdit* edit)
{
    return edit ? edit->text() : QString();
}

} // namespace

void OpenDataSearchFromSearch(AppContext& ctx, QWidget* searchScreen)
{
    auto* kind2 = field<QRadioButton>(searchScreen, "optKind2");
    auto* kind1 = field<QRadioButton>(searchScreen, "optKind1");
    auto* dwgNo = field<QLineEdit>(searchScreen, "txtDwgNo");
    auto* assy = field<QLineEdit>(searchScreen, "txtAssy");
    const QString kind = kind2 && kind2->isChecked() ? QStringLiteral("2") : QStringLiteral("1");

    DataSearchScreen screen(ctx, kind, searchScreen);
    DataSearchFilter preset;
    preset.kind = kind;
    preset.dwgNo = text(dwgNo);
    preset.assy = text(assy);
    screen.setConditions(preset);
    screen.search();
    if (screen.exec() != QDialog::Accepted)
        return;

    const StoredTable& t = screen.chosen();
    // The drawing number first: the search screen refills its name list when it changes.
    if (dwgNo)
        dwgNo->setText(t.dwgNo);
    if (assy)
        assy->setText(t.assy);
    if (auto* name = field<QComboBox>(searchScreen, "cboName"))
        ListPickerDialog::PutText(name, t.name);
    if (auto* designer = field<QComboBox>(searchScreen, "cboDesined"))
        ListPickerDialog::PutText(designer, t.designer);
    if (QRadioButton* option = t.kind == u"2" ? kind2 : kind1)
        option->setChecked(true);
}

SearchHooks MakeSearchHooks()
{
    SearchHooks hooks;
    hooks.openDataSearch = [](AppContext& ctx, QWidget* owner) { OpenDataSearchFromSearch(ctx, owner); };
    hooks.editorAids = MakeEditorAids();
    return hooks;
}
