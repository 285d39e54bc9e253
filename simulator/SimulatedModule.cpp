#include "simulator/SimulatedModule.h"

#include "link/SteadyClock.h"
#include "simulator/line/Answer.h"
#include "simulator/line/DelayedAnswers.h"
#include "simulator/line/LineReader.h"
#include "simulator/line/LineWriter.h"
#include "simulator/line/Pty.h"
#include "simulator/moduleAnswers.h"
#include "simulator/moduleFrame.h"

#include <QTimer>

namespace {

constexpr quint8 clearRequest = 6;
constexpr quint8 writeRequest = 31;
/** Size of column and row, which precede the text. */
constexpr qsizetype writePrefix = 2;
/** Longer than a byte takes at 1200 baud, and shorter than the time-out of any tool. */
constexpr int quietMs = 30;

} // namespace

SimulatedModule::SimulatedModule(const ModuleFaults& settings, QObject* parent)
    : QObject(parent), faults(settings), plan(settings), gate(settings.dropAbove)
{
}

SimulatedModule::~SimulatedModule() = default;

bool SimulatedModule::open()
{
    pty = Pty::open(error);
    if (!pty)
        return false;
    path = pty->path();
    traffic = std::make_unique<QObject>();
    auto* reader = new LineReader(*pty, faults.baudRate, traffic.get());
    writer = new LineWriter(*pty, faults.baudRate, traffic.get());
    delayed = new DelayedAnswers(traffic.get());
    quiet = new QTimer(traffic.get());
    quiet->setSingleShot(true);
    quiet->setInterval(quietMs);
    connect(reader, &LineReader::bytesArrived, this, &SimulatedModule::onBytes);
    connect(writer, &LineWriter::handedOver, this, &SimulatedModule::onHandedOver);
    connect(delayed, &DelayedAnswers::due, this, &SimulatedModule::deliver);
    connect(quiet, &QTimer::timeout, this, &SimulatedModule::onQuiet);
    if (faults.unplugAfterMs >= 0)
        QTimer::singleShot(faults.unplugAfterMs, Qt::PreciseTimer, this, &SimulatedModule::unplug);
    if (faults.stallAfterMs >= 0)
        QTimer::singleShot(faults.stallAfterMs, Qt::PreciseTimer, this, &SimulatedModule::stall);
    return true;
}

ModuleCounts SimulatedModule::counts() const
{
    ModuleCounts now = totals;
    now.unanswered = now.pingsReceived - now.echoesIntact - now.echoesDamaged - now.dropped -
                     now.tooFast - now.overrun;
    return now;
}

void SimulatedModule::unplug()
{
    if (!pty)
        return;
    traffic.reset();
    pty.reset();
    emit unplugged();
}

void SimulatedModule::stall()
{
    traffic.reset();
}

void SimulatedModule::onBytes(const QByteArray& bytes)
{
    parser.feed(bytes);
    answerAll(RequestParser::Line::Busy);
}

void SimulatedModule::onQuiet()
{
    answerAll(RequestParser::Line::Quiet);
}

void SimulatedModule::answerAll(RequestParser::Line line)
{
    while (const std::optional<ReceivedPacket> packet = parser.next(line)) {
        if ((packet->command & moduleFrame::typeMask) == 0)
            answerRequest(*packet);
        else
            ++totals.packetsIgnored;
    }
    quiet->stop();
    if (parser.isWaiting() && line == RequestParser::Line::Busy)
        quiet->start();
}

void SimulatedModule::answerRequest(const ReceivedPacket& request)
{
    switch (request.command) {
    case moduleFrame::pingRequest:
        answerPing(request.data);
        break;
    case clearRequest:
        ++totals.lcdRequests;
        display.clear();
        deliver(moduleAnswers::reply(request.command));
        break;
    case writeRequest:
        ++totals.lcdRequests;
        if (request.data.size() < writePrefix) {
            deliver(moduleAnswers::errorReply(request.command, moduleAnswers::TooShort));
            break;
        }
        display.write(static_cast<quint8>(request.data[0]), static_cast<quint8>(request.data[1]),
                      request.data.mid(writePrefix));
        deliver(moduleAnswers::reply(request.command));
        break;
    default:
        ++totals.otherRequests;
        deliver(moduleAnswers::errorReply(request.command, moduleAnswers::UnknownRequest));
    }
}

void SimulatedModule::answerPing(const QByteArray& data)
{
    const quint64 arrival = totals.pingsReceived++;
    ledger.open(arrival, data);
    const PingDecisions decisions = plan.next();
    if (!gate.passes(SteadyClock().nowNs())) {
        ++totals.tooFast;
        ledger.add(arrival, {.tooFast = 1}, true);
        return;
    }
    if (decisions.drop) {
        ++totals.dropped;
        ledger.add(arrival, {.dropped = 1}, true);
        return;
    }
    const Answer answer = moduleAnswers::echo(arrival, data, decisions);
    if (faults.delayMs == 0 && faults.jitterMs == 0)
        deliver(answer);
    else if (!delayed->hold(answer, decisions.delayUs))
        loseAnswer(answer);
}

void SimulatedModule::deliver(const Answer& answer)
{
    if (!writer->send(answer))
        loseAnswer(answer);
}

void SimulatedModule::loseAnswer(const Answer& answer)
{
    const std::optional<quint64> ping = answer.pieces.front().ping;
    if (!ping) {
        ++totals.repliesLost;
        return;
    }
    ++totals.overrun;
    ledger.add(*ping, {.overrun = 1}, true);
}

void SimulatedModule::onHandedOver(const AnswerPiece& piece)
{
    totals += piece.tally;
    if (piece.ping)
        ledger.add(*piece.ping, piece.tally, piece.isLast);
}

#include "moc_SimulatedModule.cpp"
