#pragma once

class QMainWindow;
class QWidget;

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
