#pragma once

#include "simulator/ModuleFaults.h"

#include <QByteArray>

#include <random>

/** What is done to the answer of one ping. The unbounded numbers are reduced by whoever uses them.
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
    qint64 delayUs;        ///< delay and jitter together
    quint64 corruptBit;    ///< picks the bit that flips
    quint64 alterIndex;    ///< picks the byte that changes
    quint8 alterMask;      ///< what the byte is XORed with; never 0
    quint64 truncateTo;    ///< picks the length that remains
    QByteArray noise;      ///< the garbage, 1 to 40 bytes
    quint8 reportCommand;  ///< 0x80 to 0xBF
    quint8 reportDataByte; ///< the report's only data byte
    quint64 splitIndex;    ///< picks the first byte of the second piece
};

/**
 * The seeded sequence of decisions, one for each ping in the order in which pings arrive.
 *
 * Every ping takes the same number of draws in the same order, so that its decisions depend on the
 * seed, on its place in the sequence and on the settings, never on the outcome of other draws.
 * Plain value; one thread at a time.
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
