#include "console/inputHabits.h"

#include <QEvent>
#include <QMainWindow>

namespace {

class NoStatusTips : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject*, QEvent* event) override
    {
        return event->type() == QEvent::StatusTip;
    }
};

} // namespace

void keepStatusText(QMainWindow* window)
{
    window->installEventFilter(new NoStatusTips(window));
}
