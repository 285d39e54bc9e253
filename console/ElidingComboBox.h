#pragma once

#include <QComboBox>

/**
 * A combo box that shortens its current text with an ellipsis when it is too narrow. The full text
 * is then the tool tip. GUI thread.
 */
class ElidingComboBox : public QComboBox
{
    Q_OBJECT

public:
    using QComboBox::QComboBox;

protected:
    bool event(QEvent* event) override;
    void initStyleOption(QStyleOptionComboBox* option) const override;
};
