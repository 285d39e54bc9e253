#include "simulator/FaultPlan.h"

#include "simulator/moduleFrame.h"

namespace {

constexpr int noiseLimit = 40;
constexpr int wordBytes = 8;

} // namespace

FaultPlan::FaultPlan(const ModuleFaults& settings) : faults(settings), generator(settings.seed) {}

PingDecisions FaultPlan::next()
{
    PingDecisions plan{};
    plan.drop = happens(faults.drop);
    plan.corrupt = happens(faults.corrupt);
    plan.alter = happens(faults.alter);
    plan.truncate = happens(faults.truncate);
    plan.duplicate = happens(faults.duplicate);
    plan.garbage = happens(faults.garbage);
    plan.errorReply = happens(faults.errorReply);
    plan.report = happens(faults.report);
    plan.split = happens(faults.split);
    plan.delayUs =
        qint64{faults.delayMs} * 1000 + static_cast<qint64>(fraction() * faults.jitterMs * 1000);
    plan.corruptBit = generator();
    plan.alterIndex = generator();
    plan.alterMask = static_cast<quint8>(1 + generator() % 255);
    plan.truncateTo = generator();
    plan.noise = noise();
    plan.reportCommand = static_cast<quint8>(moduleFrame::reportType | generator() % 64);
    plan.reportDataByte = static_cast<quint8>(generator() & 0xFF);
    plan.splitIndex = generator();
    return plan;
}

/**
 * Returns a number from 0 inclusive to 1 exclusive. The standard distributions are not used,
 * because they differ between libraries.
 */
double FaultPlan::fraction()
{
    return static_cast<double>(generator() >> 11U) * 0x1p-53;
}

bool FaultPlan::happens(double probability)
{
    return fraction() < probability;
}

QByteArray FaultPlan::noise()
{
    const auto length = static_cast<qsizetype>(1 + generator() % noiseLimit);
    QByteArray bytes;
    for (int word = 0; word < noiseLimit / wordBytes; ++word) {
        quint64 drawn = generator();
        for (int i = 0; i < wordBytes; ++i, drawn >>= 8U)
            bytes.append(static_cast<char>(drawn & 0xFFU));
    }
    return bytes.left(length);
}
