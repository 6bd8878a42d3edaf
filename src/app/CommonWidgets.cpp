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
    // An owned screen is a dialog-type window of its owner: the window manager learns the owner
    // from it (a plain window has none) and keeps the screen above it, even while the owner is
    // greyed and clicked. It keeps its title bar buttons and stays modeless.
    constexpr Qt::WindowFlags kOwned = Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                                       Qt::WindowMinMaxButtonsHint | Qt::WindowCloseButtonHint;
    if (owner && owner != screen && owner->objectName() != screen->objectName() &&
        (screen->parentWidget() != owner || screen->windowFlags() != kOwned)) {
        const QPoint at = screen->pos();
        const bool moved = screen->testAttribute(Qt::WA_Moved);
        screen->setParent(owner, kOwned);
        if (moved)
            screen->move(at);
    }
    if (!screen->isVisible() && !screen->testAttribute(Qt::WA_Moved))
        CentreOver(screen, owner && owner != screen ? owner : nullptr);
    if (screen->isMinimized())
        screen->showNormal();
    screen->show();
    screen->raise();
    screen->activateWindow();
}

namespace
{
// The frame of a window not shown yet is unknown: room is left for a title bar.
constexpr int kTitleBar = 30;

// Moves a window to the given place, or as near to it as the screen's free area shows it whole.
void MoveOnScreen(QWidget* window, QPoint topLeft, QScreen* on)
{
    const QRect area = on->availableGeometry();
    const QSize size = window->size();
    topLeft.setX(
        std::clamp(topLeft.x(), area.left(), std::max(area.left(), area.right() + 1 - size.width())));
    topLeft.setY(std::clamp(topLeft.y(), area.top(),
                            std::max(area.top(), area.bottom() + 1 - size.height() - kTitleBar)));
    window->move(topLeft);
}
} // namespace

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
    const QSize size = window->size();
    MoveOnScreen(window, ownerFrame.center() - QPoint(size.width() / 2, (size.height() + kTitleBar) / 2), on);
}

void FitOnScreen(QWidget* window)
{
    // A frame of a few pixels at the sides and a title bar.
    if (QScreen* on = window->screen())
        window->resize(window->size().boundedTo(on->availableGeometry().size() - QSize(16, kTitleBar + 8)));
}

void CascadeFrom(QWidget* window, const QWidget* previous)
{
    QScreen* on = previous->screen();
    QPoint at = previous->pos() + QPoint(40, 40);
    if (!on) {
        window->move(at);
        return;
    }
    // A window larger than what is left beside the previous one's frame is made smaller to fit; where
    // too little is left, the row starts again at the screen's top left corner.
    const QRect area = on->availableGeometry();
    const QSize frame = previous->frameGeometry().size() - previous->geometry().size();
    const QSize decoration(frame.width(), std::max(frame.height(), kTitleBar));
    QSize room = QSize(area.right() + 1 - at.x(), area.bottom() + 1 - at.y()) - decoration;
    if (room.width() < 320 || room.height() < 240) {
        at = area.topLeft();
        room = area.size() - decoration;
    }
    window->resize(window->size().boundedTo(room));
    MoveOnScreen(window, at, on); // one that cannot be made that small goes as far left or up as needed
}

namespace
{
// Sees the click or key by which the open list hands an item to its drop-down, and the arrow keys
// or the wheel that step the closed box to another item. Installed after the drop-down's own
// watcher of the list, it sees the event first; the mark lasts until the event has been handled.
class ListPickWatch : public QObject
{
public:
    using QObject::QObject;
    bool picking = false;
    QObject* box = nullptr;
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        bool pick = event->type() == QEvent::MouseButtonRelease;
        if (event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride) {
            const int key = static_cast<QKeyEvent*>(event)->key();
            if (watched == box)
                // Stepping through the items of the closed box picks each one it stops at.
                pick =
                    event->type() == QEvent::KeyPress && (key == Qt::Key_Up || key == Qt::Key_Down ||
                                                          key == Qt::Key_PageUp || key == Qt::Key_PageDown);
            else
                // The open list takes Enter already as the shortcut override, before the key press.
                pick = key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Select;
        } else if (event->type() == QEvent::Wheel && watched == box) {
            pick = true;
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
    watch->box = combo;
    combo->installEventFilter(watch);
    combo->view()->installEventFilter(watch);
    combo->view()->viewport()->installEventFilter(watch);
    QObject::connect(combo, &QComboBox::activated, context, [watch, act = std::move(act)] {
        if (!watch->picking)
            return;
        watch->picking = false;
        act();
    });
}

namespace
{
// Opens the list of a drop-down that shows no item at its first item, none of them marked.
class ListTopWatch : public QObject
{
public:
    ListTopWatch(QComboBox* combo) : QObject(combo), m_combo(combo) {}
    bool eventFilter(QObject*, QEvent* event) override
    {
        // Once the list has been shown and has taken the focus (which marks its first item as the
        // current one): no item is marked as if chosen, and the first one is in full view.
        if (event->type() == QEvent::Show && m_combo->currentIndex() < 0)
            QTimer::singleShot(0, this, [this] {
                QAbstractItemView* view = m_combo->view();
                view->setCurrentIndex(QModelIndex());
                view->scrollToTop();
            });
        return false;
    }

private:
    QComboBox* m_combo;
};
} // namespace

void OpenListAtTop(QComboBox* combo)
{
    QWidget* list = combo->view()->parentWidget();
    list->installEventFilter(new ListTopWatch(combo));
}
