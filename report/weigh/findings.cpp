#include "report/weigh/findings.h"

#include "report/weigh/figureText.h"

#include <algorithm>

namespace {

struct Rule
{
    const char* where;
    const char* title;
    const char* sentence;         ///< %1 is the amount
    double (*amount)(const Run&); ///< 0: no finding
};

bool isSilent(const Run& run)
{
    return run.sent > 0 && run.received == 0 && run.lateEchoes == 0;
}

template <qint64 Run::*count> double counted(const Run& run)
{
    return static_cast<double>(run.*count);
}

template <std::optional<qint64> LineErrors::*count> double lineErrors(const Run& run)
{
    return static_cast<double>((run.lineErrors.*count).value_or(0));
}

bool hasLineErrors(const Run& run)
{
    const LineErrors& errors = run.lineErrors;
    return errors.framing > 0 || errors.parity > 0 || errors.overrun > 0 || errors.breaks > 0 ||
           errors.bufferOverrun > 0;
}

/** Whether the port counts errors in received bytes. */
bool knowsLineErrors(const Run& run)
{
    return run.lineErrors.framing && run.lineErrors.overrun && run.lineErrors.breaks;
}

/**
 * Returns the pings lost without a counted line error. 0 unless the port counts line errors if
 * `knows` is true, or does not if it is false.
 */
template <bool knows> double lostWithoutLineErrors(const Run& run)
{
    const bool isMeant = knowsLineErrors(run) == knows && !hasLineErrors(run) && !isSilent(run) &&
                         !run.settings.loopback;
    return isMeant ? static_cast<double>(run.lost) : 0;
}

/**
 * Returns how late 1 in 100 pings left, in milliseconds; 0 unless that is more than 20 ms or than
 * the ping interval.
 */
double sendLagMs(const Run& run)
{
    constexpr double muchUs = 20000;
    const double allowedUs = std::min(muchUs, 1e6 / run.settings.packetsPerSecond);
    const double lagUs = run.sendLagP99Us.value_or(0);
    return lagUs > allowedUs ? lagUs / 1000 : 0;
}

/**
 * Returns the percentage of the requested pings that were sent; 0 when it is at least 90, and when
 * pings were sent for less than a second.
 */
double shareSent(const Run& run)
{
    if (!run.achievedPacketsPerSecond || run.sendingSeconds < 1)
        return 0;
    const double share = 100 * *run.achievedPacketsPerSecond / run.settings.packetsPerSecond;
    return share < 90 ? std::max(share, 0.1) : 0;
}

double errorReplies(const Run& run)
{
    double sum = 0;
    for (const ErrorReply& reply : run.errorReplies)
        sum += static_cast<double>(reply.count);
    return sum;
}

constexpr Rule rules[]{
    {"Line", "The line was lost",
     "No ping could be sent for longer than the time-out: the adapter was pulled out, or the "
     "other side stopped taking bytes.",
     [](const Run& run) { return run.verdict == RunVerdict::LineLost ? 1.0 : 0; }},
    {"Line", "No echo at all",
     "None of %1 pings came back: check the module's power, the port, the baud rate, and that "
     "sending and receiving wires are not exchanged.",
     [](const Run& run) { return isSilent(run) ? double(run.sent) : 0; }},
    {"Line", "Framing errors",
     "Bytes arrived without their stop bit (counted: %1): the baud rate is not the module's, "
     "or the cable "
     "is too long, loose or picks up noise.",
     lineErrors<&LineErrors::framing>},
    {"Settings", "Parity errors",
     "Bytes arrived with a wrong parity bit (counted: %1), though these tests use none: "
     "another program "
     "has changed the port's settings.",
     lineErrors<&LineErrors::parity>},
    {"Line", "Breaks",
     "The line was held down (counted: %1): a loose plug, a module that restarted, or a baud "
     "rate "
     "that is far off.",
     lineErrors<&LineErrors::breaks>},
    {"This computer", "Overruns",
     "The port received a byte before this computer had fetched the one before (counted: %1): "
     "the "
     "computer is too busy, cable and module are not to blame.",
     lineErrors<&LineErrors::overrun>},
    {"This computer", "Buffer overruns",
     "The driver's buffer was full and bytes were dropped (counted: %1): this computer did not "
     "read "
     "in time, cable and module are not to blame.",
     lineErrors<&LineErrors::bufferOverrun>},
    {"Line", "Bytes of no frame",
     "%1 bytes came that belong to no correct frame: echoes were damaged on their way back, or "
     "another program sends. Damage on the way to the module leaves no such bytes.",
     [](const Run& run) { return run.bytes ? double(run.bytes->skipped) : 0; }},
    {"This computer", "Bytes read too late",
     "%1 bytes were lost because this computer did not read in time: cable and module are not to "
     "blame.",
     [](const Run& run) { return run.bytes ? double(run.bytes->overrun) : 0; }},
    {"Line", "Losses through the plug",
     "%1 pings were lost on their way through a loop-back plug: the cable, the adapter or its "
     "driver lost them, for there was no module.",
     [](const Run& run) { return run.settings.loopback ? double(run.lost) : 0; }},
    {"Module", "Losses without line errors",
     "%1 pings were lost while this port counted no error: look at the module first, then at "
     "the wire towards it, whose errors only the module could see.",
     lostWithoutLineErrors<true>},
    {"Line", "Losses, line errors unknown",
     "%1 pings were lost and this port counts no line errors, so line and module cannot be "
     "told apart: repeat the run on an adapter that counts them, or with another cable.",
     lostWithoutLineErrors<false>},
    {"Module", "Changed echoes",
     "%1 echoes had a correct checksum and other bytes than the ping: the module changed them, "
     "for what a line damages fails the checksum.",
     counted<&Run::changedEcho>},
    {"Module", "Late echoes",
     "%1 echoes came after their ping had been given up: the module or a buffer on the way is "
     "slow; a longer time-out or a lower rate tells which pings are truly lost.",
     counted<&Run::lateEchoes>},
    {"Settings", "Open at the end",
     "%1 pings were still unanswered when the run ended and count as lost: more was under way "
     "than could be answered in the final wait.",
     counted<&Run::noEchoAtEnd>},
    {"Line", "Losses in a row",
     "Up to %1 pings in a row were lost: that is an interruption, a loose plug or a restart, "
     "rather than single damaged bytes.",
     [](const Run& run) {
         return run.longestLossBurst >= 5 && !isSilent(run) ? double(run.longestLossBurst) : 0;
     }},
    {"This computer", "Pings left out",
     "%1 pings never left because this computer was busy: cable and module are not to blame, "
     "repeat the run on a computer with less to do.",
     [](const Run& run) { return run.leftOut ? double(run.leftOut->byComputer) : 0; }},
    {"This computer", "Pings sent late",
     "1 ping in 100 left more than %1 ms after its time: this computer could not keep up, so "
     "the true rate was uneven.",
     sendLagMs},
    {"Settings", "Fewer pings than asked for",
     "Only %1 % of the rate asked for was reached: the line is full, the module answers too "
     "slowly, or this computer could not keep up.",
     shareSent},
    {"Settings", "The line was full",
     "The pings took %1 % of what the line can carry, so they queued up: round trips and "
     "losses tell of the queue; lower the rate or the sizes.",
     [](const Run& run) {
         const double share = run.lineSharePercent.value_or(0);
         return share >= 90 ? share : 0;
     }},
    {"This computer", "Failed sends",
     "%1 pings could not be handed to the port: the adapter took no bytes or was gone.",
     counted<&Run::sendFailures>},
    {"Adapter", "Latency timer",
     "The adapter may hold received bytes back for up to %1 ms, which is in the round trips: "
     "compare only runs with the same timer, or set it to 1.",
     [](const Run& run) {
         const double timer = run.adapter ? run.adapter->latencyTimerMs.value_or(0) : 0;
         return timer > 1 ? timer : 0;
     }},
    {"Module", "Error replies",
     "The module answered with an error instead of an echo (counted: %1): it received the ping "
     "and "
     "refused it.",
     errorReplies},
    {"Module", "Repeated echoes",
     "%1 echoes came a second time: the module answers twice, or two programs share the port.",
     counted<&Run::repeatedEchoes>},
    {"Module", "Unknown echoes",
     "%1 echoes belong to no ping of this run: they are left from an earlier run, or another "
     "program uses the port.",
     counted<&Run::unknownEchoes>},
    {"Module", "Short echoes",
     "%1 echoes were too short to hold a ping's number: the module cut them.",
     counted<&Run::shortEchoes>},
    {"Module", "Echoes out of order",
     "%1 echoes overtook an earlier one: the module does not answer in the order of asking.",
     counted<&Run::outOfOrderEchoes>},
    {"Settings", "Coarse timing",
     "Round trips were taken as the window takes them, when the line is next looked at: they "
     "may read up to 10 ms too long.",
     [](const Run& run) { return run.exactTiming ? 0 : 1.0; }},
};

} // namespace

std::vector<Finding> findings(const Run& run)
{
    std::vector<Finding> found;
    for (const Rule& rule : rules) {
        const double amount = rule.amount(run);
        if (amount <= 0)
            continue;
        QString sentence = QString::fromUtf8(rule.sentence);
        if (sentence.contains(QStringLiteral("%1")))
            sentence = sentence.arg(numberText(amount, 1));
        found.push_back({QLatin1String(rule.where), QLatin1String(rule.title), sentence});
    }
    return found;
}
