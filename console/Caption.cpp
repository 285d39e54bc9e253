#include "console/Caption.h"

#include <QLabel>

QLabel* makeCaption(const QString& text, QWidget* control)
{
    auto* label = new QLabel(text);
    label->setBuddy(control);
    return label;
}
