#pragma once

#include <QComboBox>

/**
 * A combo box whose current text ends in an ellipsis where it is too narrow for it, and is then its
 * tool tip. GUI thread.
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
