#pragma once

#include "simulator/FaultPlan.h"
#include "simulator/ModuleFaults.h"
#include "simulator/ModuleScreen.h"
#include "simulator/PingLedger.h"
#include "simulator/RequestParser.h"
#include "simulator/line/ModuleCounts.h"
#include "simulator/line/RateGate.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class DelayedAnswers;
class LineReader;
class LineWriter;
class Pty;
class QTimer;
struct Answer;
struct AnswerPiece;

/**
 * A display module on a line of its own, a pseudo-terminal: answers requests, keeps the text of its
 * screen and misbehaves as told.
 *
 * Request 0 (ping) is echoed, 6 clears the screen, 31 writes text at a column and a row; any other
 * request gets an error reply, and packets that are no request are passed over. Faults and delays
 * touch nothing but answers to pings; the others are sent at once.
 *
 * Threads: lives on one thread, which needs an event loop; move the object there before open() is
 * called. Every function is for that thread only: reach them from elsewhere by QMetaObject's
 * invokeMethod(), blocking for a result. Destroy it on that thread too, or move it no further than
 * a thread that has not been started. It never waits, whatever the tool does or fails to do.
 */
class SimulatedModule : public QObject
{
    Q_OBJECT

public:
    /** Nothing is opened yet. The settings hold for the object's life. */
    explicit SimulatedModule(const ModuleFaults& settings, QObject* parent = nullptr);
    /** Closes the line, without a signal. */
    ~SimulatedModule() override;

    /**
     * Opens the line and begins to answer; once in the object's life. False with errorText() when
     * the system has no pseudo-terminal to give.
     */
    bool open();
    /**
     * From now on `taker` is given the record of each ping when its answer is out, or it is settled
     * that there will be none.
     */
    void keepLedger(PingLedger::Taker taker) { ledger = PingLedger(std::move(taker)); }
    /** Gives it those of all pings without an end, which are never spoken of again. */
    void closeLedger() { ledger.close(); }
    /** Why open() failed, in one line; empty after success. */
    QString errorText() const { return error; }
    /** Path that a tool opens; empty before open(), kept after the line is gone. */
    QString linePath() const { return path; }

    /** The counts of this moment; they stay readable after unplug() and stall(). */
    ModuleCounts counts() const;
    /** The screen's rows from the top, 4 of 20 characters each. */
    QStringList screen() const { return display.rows(); }

public slots:
    /** Closes the line like an adapter pulled out: the tool sees a hang-up. Nothing when closed. */
    void unplug();
    /** Keeps the line open but reads and answers no more; what still waits is never sent. */
    void stall();

signals:
    /** The line is gone, by unplug() or by the setting for it. At most once. */
    void unplugged();

private:
    void onBytes(const QByteArray& bytes);
    void onQuiet();
    void answerAll(RequestParser::Line line);
    void answerRequest(const ReceivedPacket& request);
    void answerPing(const QByteArray& data);
    void deliver(const Answer& answer);
    void loseAnswer(const Answer& answer);
    void onHandedOver(const AnswerPiece& piece);

    ModuleFaults faults;
    FaultPlan plan;
    RateGate gate;
    RequestParser parser;
    ModuleScreen display;
    ModuleCounts totals; ///< without `unanswered`
    PingLedger ledger;
    QString error;
    QString path;
    std::unique_ptr<Pty> pty;
    std::unique_ptr<QObject> traffic; ///< parent of what follows; null: neither reads nor answers
    LineWriter* writer = nullptr;
    DelayedAnswers* delayed = nullptr;
    QTimer* quiet = nullptr; ///< runs out when nothing has arrived for a while
};
