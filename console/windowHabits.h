#pragma once

#include <QString>

class QLabel;
class QMainWindow;
class QWidget;

/**
 * A new label "text" that names `control` to assistive technology too. The layout it is put into
 * takes it over; `control` is not owned. GUI thread.
 */
QLabel* makeCaption(const QString& text, QWidget* control);

/**
 * Makes a window that has not been shown yet small enough for its screen, what panels and its own
 * frame take of that allowed for; never larger. Its minimum size is respected. GUI thread.
 */
void fitToScreen(QWidget* window);

/**
 * Keeps the status text of `window` when a menu entry comes under the mouse: none has a tip here,
 * and Qt shows the empty one in the text's place. GUI thread.
 */
void keepStatusText(QMainWindow* window);

/**
 * Lets the wheel change `field`, a spin box or a combo box, only while that has the focus, which
 * the wheel no longer gives it. GUI thread.
 */
void followWheelOnlyFocused(QWidget* field);
