#include "ListKeys.h"

#include <QAbstractItemView>
#include <QKeyEvent>

namespace
{

class EnterFilter : public QObject
{
public:
    EnterFilter(QObject* parent, std::function<void()> action) : QObject(parent), m_action(std::move(action))
    {
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::KeyPress) {
            const int key = static_cast<QKeyEvent*>(event)->key();
            if (key == Qt::Key_Return || key == Qt::Key_Enter) {
                m_action();
                return true;
            }
        }
        return QObject::eventFilter(watched, event);
    }

private:
    std::function<void()> m_action;
};

} // namespace

void OnListEnter(QAbstractItemView* view, std::function<void()> action)
{
    view->installEventFilter(new EnterFilter(view, std::move(action)));
}
