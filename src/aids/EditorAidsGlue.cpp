#include "EditorAidsGlue.h"

#include "AppContext.h"
#include "DataSearch.h"
#include "DataSearchScreen.h"
#include "HistorySearchDialog.h"
#include "InputAids.h"
#include "InputRemember.h"
#include "ListPickerDialog.h"
#include "PartsTableEditor.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLayout>
#include <QLineEdit>
#include <QPushButton>

namespace
{

QComboBox* combo(EditorScreen& screen, const char* name)
{
    return screen.findChild<QComboBox*>(QString::fromLatin1(name));
}

QString customerText(EditorScreen& screen)
{
    if (QComboBox* c = combo(screen, "cboUser"))
        return c->currentText();
    return screen.editor().header().customer;
}

void runHistory(EditorScreen& screen, bool names)
{
    InputValues values = screen.inputValues();
    HistoryFilter filter;
    filter.column = names ? NameColumn() : MaterialColumn();
    filter.kind = screen.editor().header().kind;
    filter.customer = customerText(screen);
    filter.maker = values.maker;
    filter.typed = names ? values.hinmei : values.zaishitu;
    HistorySearchDialog dialog(screen.context(), filter, &screen);
    dialog.search();
    if (dialog.exec() != QDialog::Accepted)
        return;
    (names ? values.hinmei : values.zaishitu) = dialog.chosenValue();
    screen.setInputValues(values);
    if (QComboBox* field = combo(screen, names ? "cboHinmei" : "cboZaishitu"))
        field->setFocus();
}

const char* const kInputFields[] = {"cboHinmei", "cboZaishitu", "txtSuryo", "cboTani", "txtSuryo2",
                                    "cboTani2",  "txtTanka",    "txtBiko",  "cboMaker"};

// The input field that holds or contains the widget, or null.
QWidget* inputFieldOf(EditorScreen& screen, QWidget* w)
{
    if (!w)
        return nullptr;
    for (const char* name : kInputFields)
        if (QWidget* f = screen.findChild<QWidget*>(QString::fromLatin1(name)))
            if (w == f || f->isAncestorOf(w))
                return f;
    return nullptr;
}

void toggleBracket(EditorScreen& screen)
{
    // The field with the focus (the button takes none), else the input field that last had it,
    // else the name field.
    QWidget* field = inputFieldOf(screen, screen.focusWidget());
    if (!field)
        field = screen.lastInputField();
    if (!field)
        field = combo(screen, "cboHinmei");
    if (auto* c = qobject_cast<QComboBox*>(field))
        c->setEditText(ToggleBrackets(c->currentText()));
    else if (auto* e = qobject_cast<QLineEdit*>(field))
        e->setText(ToggleBrackets(e->text()));
    if (field)
        field->setFocus();
}

bool confirmCopy(AppContext& ctx, const StoredTable& table)
{
    if (table.lines == 0) {
        ctx.messages->show(MsgIcon::Exclamation, MsgButtons::Ok, QStringLiteral("注意"),
                           QStringLiteral("コピー元にデータがありません。"));
        return false;
    }
    const QString text = QStringLiteral("DWG.NO.：") + table.dwgNo + QStringLiteral("　ASSY：") + table.assy +
                         QStringLiteral("\nの全データ（") + QString::number(table.lines) +
                         QStringLiteral("行）を最下行にコピーします。");
    return ctx.messages->show(MsgIcon::Question, MsgButtons::YesNo, QStringLiteral("全コピー確認"), text) ==
           MsgAnswer::Yes;
}

void copyAll(EditorScreen& screen)
{
    AppContext& ctx = screen.context();
    ctx.DataSearchFlag = Int16::from(DataSearchScreen::kCopySource);
    DataSearchScreen search(ctx, screen.editor().header().kind, &screen);
    search.setChooseHandler([&ctx](const StoredTable& t) { return confirmCopy(ctx, t); });
    search.search();
    if (search.exec() != QDialog::Accepted)
        return;
    const StoredTable& source = search.chosen();
    screen.editor().appendCopiedLines(
        PartsTableEditor::ReadStoredLines(*ctx.DbConnection, source.dwgNo, source.assy, source.kind));
}

// Puts a small list button beside a list field, in the field's place in its layout.
void addListButton(EditorScreen& screen, const char* comboName, const QString& section)
{
    QComboBox* field = combo(screen, comboName);
    if (!field || !field->parentWidget() || !field->parentWidget()->layout())
        return;
    QWidget* parent = field->parentWidget();
    auto* holder = new QWidget(parent);
    holder->setObjectName(QStringLiteral("fra") + field->objectName());
    if (!parent->layout()->replaceWidget(field, holder)) {
        delete holder;
        return;
    }
    auto* row = new QHBoxLayout(holder);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(2);
    row->addWidget(field, 1);
    auto* button = new QPushButton(QStringLiteral("一覧"), holder);
    button->setObjectName(QStringLiteral("cmdList") + field->objectName().mid(3));
    button->setToolTip(QStringLiteral("一覧から選択"));
    button->setFocusPolicy(Qt::NoFocus);
    button->setFixedWidth(button->fontMetrics().horizontalAdvance(button->text()) + 16);
    row->addWidget(button);
    AppContext& ctx = screen.context();
    QObject::connect(button, &QPushButton::clicked, field, [&ctx, field, section, &screen] {
        ListPickerDialog picker(*ctx.ini, section, field, &screen);
        picker.exec();
        if (picker.listsChanged())
            screen.refreshLists();
        field->setFocus();
    });
}

// After the transfer wrote the input area into the line, the typed entries join their lists.
void rememberInput(EditorScreen& screen)
{
    InputListFields f;
    f.name = combo(screen, "cboHinmei");
    f.material = combo(screen, "cboZaishitu");
    f.unit = combo(screen, "cboTani");
    f.unit2 = combo(screen, "cboTani2");
    f.maker = combo(screen, "cboMaker");
    RememberInputFields(*screen.context().ini, f);
}

} // namespace

EditorAids MakeEditorAids()
{
    EditorAids aids;
    aids.nameHistory = [](EditorScreen& s) { runHistory(s, true); };
    aids.materialHistory = [](EditorScreen& s) { runHistory(s, false); };
    aids.bracket = [](EditorScreen& s) { toggleBracket(s); };
    aids.copyAll = [](EditorScreen& s) { copyAll(s); };
    aids.install = [](EditorScreen& s) { InstallEditorAids(s); };
    aids.rememberInput = [](EditorScreen& s) { rememberInput(s); };
    return aids;
}

void InstallEditorAids(EditorScreen& screen)
{
    addListButton(screen, "cboUser", QStringLiteral("USER"));
    addListButton(screen, "cboHinmei", InputListSection(kFirstNameList));
    addListButton(screen, "cboZaishitu", InputListSection(kFirstMaterialList));
    addListButton(screen, "cboTani", QStringLiteral("STANI"));
    addListButton(screen, "cboTani2", QStringLiteral("STANI"));
    addListButton(screen, "cboMaker", QStringLiteral("MAKER"));

    // "ｶｯｺ" acts on the input field that last had the focus, so the button must not take it.
    if (auto* bracket = screen.findChild<QPushButton*>(QStringLiteral("cmdKakkoInput")))
        bracket->setFocusPolicy(Qt::NoFocus);
}
