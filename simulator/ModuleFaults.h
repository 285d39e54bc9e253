#pragma once

#include <QtGlobal>

/**
 * The faults of a simulated module. The defaults give a module without faults on a line without a
 * rate limit.
 *
 * The probabilities, 0 (never) to 1 (always), are drawn once per ping and affect only answers to
 * pings; docs/simulator.md tells how several of them combine.
 */
struct ModuleFaults
{
    /** Seed of the random sequence: with equal seeds, the decisions for the n-th ping are equal. */
    quint64 seed = 0;

    double drop = 0;       ///< no answer
    double corrupt = 0;    ///< one bit of the answer's frame is flipped
    double alter = 0;      ///< one payload byte is changed, the CRC is correct
    double truncate = 0;   ///< the payload is cut short, the CRC is correct
    double duplicate = 0;  ///< the answer is sent twice
    double garbage = 0;    ///< 1 to 40 random bytes before the answer
    double errorReply = 0; ///< error reply in place of the echo
    double report = 0;     ///< a report packet before the answer
    double split = 0;      ///< the answer in two pieces, 15 ms apart

    int delayMs = 0;  ///< delay of every answer to a ping; 0 or more
    int jitterMs = 0; ///< largest random addition to the delay, uniform, drawn per ping; 0 or more

    /** Pings per second that are accepted; faster ones are dropped, see RateGate; 0: no limit. */
    int dropAbove = 0;

    /** Bits per second of the line in each direction, with 11 bits per byte; 0: no limit. */
    int baudRate = 0;

    /** When the line is unplugged, in milliseconds after open(); negative: never. */
    int unplugAfterMs = -1;
    /**
     * When the module stops reading and answering, in milliseconds after open(); negative: never.
     */
    int stallAfterMs = -1;
};
