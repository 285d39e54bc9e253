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
 * A simulated display module on a pseudo-terminal. It answers requests, stores the text of its
 * screen and shows the configured faults.
 *
 * Request 0 (ping) is echoed, 6 clears the screen and 31 writes text at a column and a row. Any
 * other request gets an error reply; packets that are not requests are ignored. Faults and delays
 * affect only answers to pings; other answers are sent at once.
 *
 * Threads: the object lives on one thread, which needs an event loop; move it there before calling
 * open(). Call every function on that thread only; from other threads use
 * QMetaObject::invokeMethod(), blocking if you need a result. Destroy it on that thread, or before
 * the thread that it was moved to has been started. It never blocks, whatever the program on the
 * line does.
 */
class SimulatedModule : public QObject
{
    Q_OBJECT

public:
    /** Does not open the line. The settings are fixed for the object's lifetime. */
    explicit SimulatedModule(const ModuleFaults& settings, QObject* parent = nullptr);
    /** Closes the line and emits no signal. */
    ~SimulatedModule() override;

    /**
     * Opens the line and starts answering; call it once per object. False with errorText() set when
     * the system cannot provide a pseudo-terminal.
     */
    bool open();
    /**
     * From now on, `taker` receives the record of each ping when its answer has been sent or it is
     * certain that there will be none.
     */
    void keepLedger(PingLedger::Taker taker) { ledger = PingLedger(std::move(taker)); }
    /** Hands over the records of all pings that are not complete; they are not reported again. */
    void closeLedger() { ledger.close(); }
    /** One line: why open() failed; empty after success. */
    QString errorText() const { return error; }
    /** The path that a tool opens; empty before open(), kept after the line is closed. */
    QString linePath() const { return path; }

    /** The counts now; they can still be read after unplug() and stall(). */
    ModuleCounts counts() const;
    /** The screen's rows from the top: 4 with 20 characters each. */
    QStringList screen() const { return display.rows(); }

public slots:
    /**
     * Closes the line as if the adapter were unplugged: the tool gets a hang-up. Does nothing when
     * closed.
     */
    void unplug();
    /**
     * Keeps the line open but stops reading and answering. Answers that are waiting are never sent.
     */
    void stall();

signals:
    /** The line was closed by unplug() or by `unplugAfterMs`. At most once. */
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
    ModuleCounts totals; ///< all but `unanswered`
    PingLedger ledger;
    QString error;
    QString path;
    std::unique_ptr<Pty> pty;
    std::unique_ptr<QObject> traffic; ///< parent of the objects below; null: no traffic
    LineWriter* writer = nullptr;
    DelayedAnswers* delayed = nullptr;
    QTimer* quiet = nullptr; ///< fires when no bytes have arrived for a while
};
