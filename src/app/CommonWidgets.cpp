#include "CommonWidgets.h"

#include "Common.h"
#include "IniAccess.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPalette>
#include <QScreen>
#include <QTimer>

void FillComboFromList(IniAccess& ini, QComboBox* combo, const QString& section)
{
    combo->addItems(ReadList(ini, section));
}

void RememberComboText(IniAccess& ini, QComboBox* combo, const QString& section)
{
    const QString text = combo->currentText();
    if (AddToList(ini, section, text) != u"REWRITE")
        return;
    combo->clear();
    FillComboFromList(ini, combo, section);
    combo->setCurrentIndex(-1);
    combo->setEditText(text);
}

void RememberComboValue(IniAccess& ini, QComboBox* combo, const QString& section, const QString& value)
{
    if (AddToList(ini, section, value) != u"REWRITE")
        return;
    combo->clear();
    FillComboFromList(ini, combo, section);
    int found = -1;
    for (int i = 0; i < combo->count(); ++i)
        if (combo->itemText(i) == value)
            found = i;
    combo->setCurrentIndex(found);
}

bool CheckNumberBox(QLineEdit* field)
{
    QString text = field->text();
    if (!CheckNumberText(text))
        return false;
    field->setText(text);
    field->setCursorPosition(int(text.size()));
    return true;
}

bool CheckNumberBox(QComboBox* field)
{
    QString text = field->currentText();
    if (!CheckNumberText(text))
        return false;
    field->setEditText(text);
    if (field->lineEdit())
        field->lineEdit()->setCursorPosition(int(text.size()));
    return true;
}

bool IsChecked(const QCheckBox* box)
{
    return box->checkState() == Qt::Checked;
}

void SetFieldEnabled(bool enabled, QWidget* field)
{
    field->setEnabled(enabled);
    QPalette pal = field->palette();
    const QPalette system = QApplication::palette();
    pal.setColor(QPalette::Active, QPalette::Base,
                 enabled ? system.color(QPalette::Base) : system.color(QPalette::Button));
    pal.setColor(QPalette::Inactive, QPalette::Base,
                 enabled ? system.color(QPalette::Base) : system.color(QPalette::Button));
    pal.setColor(QPalette::Disabled, QPalette::Base, system.color(QPalette::Button));
    field->setPalette(pal);
}

void ApplyCheckColor(const QCheckBox* box, QWidget* field, const QString& mode)
{
    if (mode != u"COLOR ON")
        return;
    SetFieldEnabled(IsChecked(box), field);
}

void ShowScreen(QWidget* screen, QWidget* owner)
{
    if (owner && owner != screen && owner->objectName() != screen->objectName() &&
        screen->parentWidget() != owner) {
        screen->setParent(owner, screen->windowFlags() | Qt::Window);
    }
    if (!screen->isVisible() && !screen->testAttribute(Qt::WA_Moved))
        CentreOver(screen, owner && owner != screen ? owner : nullptr);
    screen->show();
    screen->raise();
    screen->activateWindow();
}

void CentreOver(QWidget* window, const QWidget* owner)
{
    if (!window->testAttribute(Qt::WA_Resized))
        window->adjustSize();
    const QWidget* over = owner ? owner->window() : nullptr;
    QScreen* on = over ? over->screen() : window->screen();
    if (!on)
        return;
    const QRect area = on->availableGeometry();
    const QRect ownerFrame = over && over->isVisible() ? over->frameGeometry() : area;
    // The frame of a window not shown yet is unknown: leave room for a title bar.
    constexpr int kTitleBar = 30;
    const QSize size = window->size();
    QPoint topLeft = ownerFrame.center() - QPoint(size.width() / 2, (size.height() + kTitleBar) / 2);
    topLeft.setX(std::clamp(topLeft.x(), area.left(), std::max(area.left(), area.right() - size.width())));
    topLeft.setY(
        std::clamp(topLeft.y(), area.top(), std::max(area.top(), area.bottom() - size.height() - kTitleBar)));
    window->move(topLeft);
}

namespace
{
// Sees the click or key by which the open list hands an item to its drop-down. Installed after the
// drop-down's own watcher of the list, it sees the event first; the mark lasts until the event
// has been handled.
class ListPickWatch : public QObject
{
public:
    using QObject::QObject;
    bool picking = false;
    bool eventFilter(QObject*, QEvent* event) override
    {
        bool pick = event->type() == QEvent::MouseButtonRelease;
        if (event->type() == QEvent::KeyPress) {
            const int key = static_cast<QKeyEvent*>(event)->key();
            pick = key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Select;
        }
        if (pick) {
            picking = true;
            QTimer::singleShot(0, this, [this] { picking = false; });
        }
        return false;
    }
};
} // namespace

void OnListPicked(QComboBox* combo, QObject* context, std::function<void()> act)
{
    auto* watch = new ListPickWatch(combo);
    combo->view()->installEventFilter(watch);
    combo->view()->viewport()->installEventFilter(watch);
    QObject::connect(combo, &QComboBox::activated, context, [watch, act = std::move(act)] {
        if (!watch->picking)
            return;
        watch->picking = false;
        act();
    });
}
