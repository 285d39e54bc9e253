#pragma once

#include <QString>

class QLabel;
class QWidget;

/**
 * A new label "text" that names `control` to assistive technology too. The layout it is put into
 * takes it over; `control` is not owned. GUI thread.
 */
QLabel* makeCaption(const QString& text, QWidget* control);
