#pragma once

#include "console/MainWindow.h"

#include <QtTest>
#include <QtWidgets>

#include <functional>
#include <memory>

/** The window in a working directory of its own, and the operator's hands. GUI thread. */
class WindowBench
{
public:
    /** Returns when the first port scan has been shown. */
    WindowBench();
    ~WindowBench();

    /** The button with this text; null when there is none. */
    QPushButton* button(const QString& text) const { return withText<QPushButton>(text); }
    /** The control that the caption with this text names. */
    template <typename Control> Control* named(const QString& caption) const
    {
        return qobject_cast<Control*>(withText<QLabel>(caption)->buddy());
    }
    QString figure(const QString& caption) const { return named<QLabel>(caption)->text(); }
    /** What the status bar says, and after a bar for how long, unless until the next text. */
    QString status() const;
    QStringList log() const { return logView()->toPlainText().split('\n'); }
    QTextEdit* logView() const { return window->findChild<QTextEdit*>(); }

    /** Lists `path` as the only port and clicks "Connect"; true once connected. */
    bool connectTo(const QString& path) const;
    /** True once the log has this text, false when it does not come. */
    bool logHas(const QString& text) const;
    int received() const { return figure("Packets Received:").toInt(); }
    void startRun(int packetsPerSecond, int timeoutMs) const;
    /** Clicks "Stop Test" twice; true when the run ends once, with a sum that is right. */
    bool stops() const;
    /** What the event files hold, by name. */
    QStringList eventFiles() const;
    QStringList eventRows() const { return rowsOf(eventFiles().value(0)); }
    static QStringList rowsOf(const QString& fileName);
    /** The rows of the table of docs/window.md that has this heading; empty when there is none. */
    static QStringList readmeTable(const QString& heading);

    /** Calls a slot of the window as the engine's signals and the buttons do. */
    template <typename... Values> void call(const char* slot, const Values&... values) const
    {
        if (!QMetaObject::invokeMethod(
                window.get(), slot,
                QArgument<Values>(QMetaType::fromType<Values>().name(), values)...))
            qFatal("the window has no such slot: %s", slot);
    }
    void say(const QString& type, const QString& text) const { call("onLogMessage", type, text); }

    /**
     * Does `act`, which opens modal dialogs, lets `look` see each before it is closed, and returns
     * what they were: a message box with the one button is "icon|title|text", another its title.
     * Dialogs that nothing has asked for are closed, too, and fail the test at its end.
     */
    QStringList boxesOf(const std::function<void()>& act,
                        const std::function<void(QWidget*)>& look = {}) const;

    std::unique_ptr<MainWindow> window;

private:
    template <typename Widget> Widget* withText(const QString& text) const
    {
        for (Widget* widget : window->findChildren<Widget*>())
            if (widget->text() == text)
                return widget;
        return nullptr;
    }
    void closeDialog();

    QTemporaryDir directory;
    QTimer watch;
    QPointer<QWidget> last;
    mutable QStringList boxes;
    mutable std::function<void(QWidget*)> see;
};
