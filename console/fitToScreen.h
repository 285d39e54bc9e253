#pragma once

class QWidget;

/**
 * Makes a window that has not been shown yet small enough for its screen, what panels and its own
 * frame take of that allowed for; never larger. Its minimum size is respected. GUI thread.
 */
void fitToScreen(QWidget* window);
