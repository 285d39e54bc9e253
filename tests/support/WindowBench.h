#pragma once

#include "console/MainWindow.h"

#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QMetaType>
#include <QPushButton>
#include <QSpinBox>
#include <QStatusBar>
#include <QStringList>
#include <QTemporaryDir>
#include <QTextEdit>

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
    QPushButton* button(const QString& text) const;
    /** The control that the caption with this text names. */
    template <typename Control> Control* named(const QString& caption) const
    {
        for (const QLabel* label : window->findChildren<QLabel*>()) {
            if (label->text() == caption)
                return qobject_cast<Control*>(label->buddy());
        }
        return nullptr;
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
    static QStringList rowsOf(const QString& fileName);

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
     * Does `act`, which opens modal dialogs, has each seen to by its turn of `handlers`, and
     * returns the last one's "icon|title|text" if that is a message box with the one button.
     */
    static QString boxOf(const std::function<void()>& act,
                         const QList<std::function<void(QWidget*)>>& handlers = {[](auto) {}});

    std::unique_ptr<MainWindow> window;

private:
    QTemporaryDir directory;
    QString previousDirectory;
};
