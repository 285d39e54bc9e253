#pragma once

#include "tests/support/WindowBench.h"

#include <QObject>
#include <QString>

#include <memory>

/** Where log lines come from; emit from any thread. */
class LineSource : public QObject
{
    Q_OBJECT

signals:
    void line(QString type, QString msg);
};

/** What the window's log is held against: the same lines in a text view, and nothing else. */
class BareLog : public QObject
{
    Q_OBJECT

public:
    BareLog();
    QTextEdit* view() { return &edit; }

public slots:
    void add(const QString& type, const QString& msg);

private:
    QTextEdit edit;
};

/** A shown log that gets what `source` emits: the window's, or the bare one. GUI thread. */
class LogTarget
{
public:
    /** `kind` is "window" or "bare". */
    LogTarget(const QString& kind, LineSource& source);

    QTextEdit* view() const;
    /** The window with its log; null for the bare one. */
    WindowBench* window() const { return bench.get(); }

private:
    std::unique_ptr<WindowBench> bench;
    std::unique_ptr<BareLog> bare;
};
