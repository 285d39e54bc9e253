#pragma once

#include <QtGlobal>

/**
 * How a simulated module misbehaves. The defaults are a module without faults on a line without a
 * rate.
 *
 * The probabilities, 0 (never) to 1 (always), are drawn once for every ping and touch nothing but
 * answers to pings; docs/simulator.md tells how several of them combine.
 */
struct ModuleFaults
{
    /** Start of the random sequence: equal seeds decide equally for the n-th ping. */
    quint64 seed = 0;

    double drop = 0;       ///< no answer
    double corrupt = 0;    ///< one bit of the answer's frame flipped
    double alter = 0;      ///< one payload byte changed under a correct CRC
    double truncate = 0;   ///< payload cut short under a correct CRC
    double duplicate = 0;  ///< answer sent twice
    double garbage = 0;    ///< 1 to 40 random bytes in front of the answer
    double errorReply = 0; ///< error reply in place of the echo
    double report = 0;     ///< report packet in front of the answer
    double split = 0;      ///< answer in two pieces, 15 ms apart

    int delayMs = 0;  ///< every ping's answer is held back so long; 0 or more
    int jitterMs = 0; ///< most that is added to the delay, drawn evenly per ping; 0 or more

    /** Pings a second that are taken; what comes faster is dropped, see RateGate; 0: no limit. */
    int dropAbove = 0;

    /** Bits per second of the line, 11 to a byte, in each direction; 0: as fast as it goes. */
    int baudRate = 0;

    /** When the line goes away, in milliseconds after open(); negative: never. */
    int unplugAfterMs = -1;
    /** When the module stops reading and answering, counted likewise; negative: never. */
    int stallAfterMs = -1;
};
