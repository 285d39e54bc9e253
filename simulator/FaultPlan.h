#pragma once

#include "simulator/ModuleFaults.h"

#include <QByteArray>

#include <random>

/**
 * The decisions for the answer to one ping. The user of an unbounded number reduces it to the range
 * needed.
 */
struct PingDecisions
{
    bool drop;
    bool corrupt;
    bool alter;
    bool truncate;
    bool duplicate;
    bool garbage;
    bool errorReply;
    bool report;
    bool split;
    qint64 delayUs;        ///< sum of delay and jitter
    quint64 corruptBit;    ///< selects the bit that flips
    quint64 alterIndex;    ///< selects the byte that changes
    quint8 alterMask;      ///< XORed with that byte; never 0
    quint64 truncateTo;    ///< selects the remaining length
    QByteArray noise;      ///< the garbage, 1 to 40 bytes
    quint8 reportCommand;  ///< 0x80 to 0xBF
    quint8 reportDataByte; ///< the report's only data byte
    quint64 splitIndex;    ///< selects the first byte of the second piece
};

/**
 * The seeded sequence of decisions, one for each ping, in the order of arrival.
 *
 * Every ping takes the same number of draws in the same order. So its decisions depend on the seed,
 * on its place in the sequence and on the settings, but never on the results of other draws. Value
 * type; one thread at a time.
 */
class FaultPlan
{
public:
    explicit FaultPlan(const ModuleFaults& settings);

    PingDecisions next();

private:
    double fraction();
    bool happens(double probability);
    QByteArray noise();

    ModuleFaults faults;
    std::mt19937_64 generator;
};
