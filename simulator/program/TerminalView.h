#pragma once

#include <QObject>
#include <QString>

class SimulatedModule;

/**
 * Draws a module's screen and its counts on standard output, in place, while this object lives;
 * looks eight times a second whether there is anything new. The text cursor is hidden meanwhile.
 * Lives on the module's thread.
 */
class TerminalView : public QObject
{
    Q_OBJECT

public:
    /** `shown` is not owned and must outlive this object. */
    explicit TerminalView(const SimulatedModule& shown, QObject* parent = nullptr);
    /** Shows the last state and gives the cursor back. */
    ~TerminalView() override;

private:
    void refresh();
    QString text() const;

    const SimulatedModule& module;
    QString lastText;
};
