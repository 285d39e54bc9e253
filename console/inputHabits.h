#pragma once

class QMainWindow;

/**
 * Keeps the status text of `window` when a menu entry comes under the mouse: none has a tip here,
 * and Qt shows the empty one in the text's place. GUI thread.
 */
void keepStatusText(QMainWindow* window);
