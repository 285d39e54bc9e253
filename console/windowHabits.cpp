#include "console/windowHabits.h"

#include <QEvent>
#include <QLabel>
#include <QMainWindow>
#include <QScreen>

namespace {

// Assumed size of the window's frame. The desktop tells the real size only after the window is
// shown, which is too late for placing it.
constexpr QSize frame(12, 42);

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

QLabel* makeCaption(const QString& text, QWidget* control)
{
    auto* label = new QLabel(text);
    label->setBuddy(control);
    return label;
}

void fitToScreen(QWidget* window)
{
    window->resize(window->size().boundedTo(window->screen()->availableSize() - frame));
}

void keepStatusText(QMainWindow* window)
{
    window->installEventFilter(new NoStatusTips(window));
}

void followWheelOnlyFocused(QWidget* field)
{
    field->setFocusPolicy(Qt::StrongFocus);
    field->installEventFilter(new NoWheelUnfocused(field));
}
