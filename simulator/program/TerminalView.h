#pragma once

#include <QObject>
#include <QString>

class SimulatedModule;

/**
 * Shows a module's screen and counts on standard output, in place, while this object exists. It
 * checks for changes eight times a second and hides the text cursor. Lives on the module's thread.
 */
class TerminalView : public QObject
{
    Q_OBJECT

public:
    /** `shown` is not owned and must outlive this object. */
    explicit TerminalView(const SimulatedModule& shown, QObject* parent = nullptr);
    /** Shows the last state and restores the cursor. */
    ~TerminalView() override;

private:
    void refresh();
    QString text() const;

    const SimulatedModule& module;
    QString lastText;
};
