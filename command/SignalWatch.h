#pragma once

#include <QObject>

/**
 * Turns the requests to end (SIGINT, SIGTERM, SIGHUP) into a Qt signal, so that the program ends in
 * an orderly way. A hang-up is none while it is ignored, as under nohup. Lives on the thread that
 * makes it, which needs an event loop.
 */
class SignalWatch : public QObject
{
    Q_OBJECT

public:
    /** Keeps those requests waiting for a watch. Call it before the program starts a thread. */
    static void block();

    /** block() has been called. */
    explicit SignalWatch(QObject* parent = nullptr);
    ~SignalWatch() override;

signals:
    /** Once for every request to end. */
    void endRequested();

private:
    void onReadable();

    int descriptor;
};
