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

class NoWheelUnfocused : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::Wheel || qobject_cast<QWidget*>(watched)->hasFocus())
            return false;
        event->ignore();
        return true;
    }
};

} // namespace

void keepStatusText(QMainWindow* window)
{
    window->installEventFilter(new NoStatusTips(window));
}

void followWheelOnlyFocused(QWidget* field)
{
    field->setFocusPolicy(Qt::StrongFocus);
    field->installEventFilter(new NoWheelUnfocused(field));
}
