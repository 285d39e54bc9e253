#pragma once

#include <QString>

class QLabel;
class QMainWindow;
class QWidget;

/**
 * Returns a new label with `text` that also names `control` for assistive technology. The layout
 * that the label is added to becomes its owner; `control` is not owned. GUI thread.
 */
QLabel* makeCaption(const QString& text, QWidget* control);

/**
 * Shrinks a window that has not been shown yet so that it fits on its screen. Allows for panels and
 * for the window's frame. Never enlarges the window and respects its minimum size. GUI thread.
 */
void fitToScreen(QWidget* window);

/**
 * Keeps the status text of `window` when the mouse moves over a menu entry. The menu entries have
 * no status tip, and Qt would replace the status text with the empty tip. GUI thread.
 */
void keepStatusText(QMainWindow* window);

/**
 * Lets the mouse wheel change `field`, a spin box or a combo box, only while it has the focus. The
 * wheel no longer gives it the focus. GUI thread.
 */
void followWheelOnlyFocused(QWidget* field);
