#include "console/ElidingComboBox.h"

#include <QEvent>
#include <QStyleOptionComboBox>

namespace {

constexpr int styleMargin = 2; ///< space that styles leave around the text

} // namespace

bool ElidingComboBox::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        QStyleOptionComboBox option;
        initStyleOption(&option);
        setToolTip(option.currentText == currentText() ? QString() : currentText());
    }
    return QComboBox::event(event);
}

void ElidingComboBox::initStyleOption(QStyleOptionComboBox* option) const
{
    QComboBox::initStyleOption(option);
    const QRect field =
        style()->subControlRect(QStyle::CC_ComboBox, option, QStyle::SC_ComboBoxEditField, this);
    option->currentText = option->fontMetrics.elidedText(option->currentText, Qt::ElideRight,
                                                         field.width() - styleMargin);
}

#include "moc_ElidingComboBox.cpp"
