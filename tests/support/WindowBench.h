#pragma once

#include "console/MainWindow.h"

#include <QComboBox>
#include <QDir>
#include <QPushButton>
#include <QSpinBox>
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
        return qobject_cast<Control*>(buddyOf(caption));
    }
    QString figure(const QString& caption) const;
    QString status() const;
    QStringList log() const;
    QTextEdit* logView() const { return window->findChild<QTextEdit*>(); }

    /** Lists `path` as the only port and clicks "Connect"; true once connected. */
    bool connectTo(const QString& path);
    /** True once the log has this text, false when it does not come. */
    bool logHas(const QString& text) const;
    /** What the event files hold, by name. */
    QStringList eventFiles() const;
    static QStringList rowsOf(const QString& fileName);

    /** Does `act`, which opens a modal dialog, and hands that dialog to `handle`. */
    static void withDialog(const std::function<void()>& act,
                           const std::function<void(QWidget*)>& handle);

    std::unique_ptr<MainWindow> window;

private:
    QWidget* buddyOf(const QString& caption) const;

    QTemporaryDir directory;
    QString previousDirectory;
};
