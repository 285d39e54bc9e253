#include "console/fitToScreen.h"

#include <QScreen>
#include <QWidget>

namespace {

// A desktop tells the size of its frames only when the window is there, too late for its place.
constexpr QSize frame(12, 42);

} // namespace

void fitToScreen(QWidget* window)
{
    window->resize(window->size().boundedTo(window->screen()->availableSize() - frame));
}
