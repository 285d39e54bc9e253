#pragma once

#include <QObject>

/**
 * Turns the termination signals SIGINT, SIGTERM and SIGHUP into a Qt signal, so that the program
 * can end in an orderly way. SIGHUP does not count while it is ignored, as under nohup. The object
 * lives on the thread that creates it, which needs an event loop.
 */
class SignalWatch : public QObject
{
    Q_OBJECT

public:
    /**
     * Blocks the three signals, so that they wait for a SignalWatch. Call it before the program
     * starts a thread.
     */
    static void block();

    /** Call block() first. */
    explicit SignalWatch(QObject* parent = nullptr);
    ~SignalWatch() override;

signals:
    /** Emitted once for every termination signal received. */
    void endRequested();

private:
    void onReadable();

    int descriptor;
};
