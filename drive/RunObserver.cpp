#include "drive/RunObserver.h"

void RunObserver::runBegan(qint64 atNs)
{
    RunMeasurement::runBegan(atNs);
    failingSinceNs.reset();
    lost = false;
    emit began();
}

void RunObserver::pingSent(const Sent& ping)
{
    RunMeasurement::pingSent(ping);
    failingSinceNs.reset();
}

void RunObserver::sendFailed(quint64 id, int sizeBytes, qint64 atNs)
{
    RunMeasurement::sendFailed(id, sizeBytes, atNs);
    if (!failingSinceNs)
        failingSinceNs = atNs;
    if (lost || atNs - *failingSinceNs <= timeoutNs)
        return;
    lost = true;
    emit lineLost();
}

void RunObserver::errorReplied(int code, qint64 atNs)
{
    RunMeasurement::errorReplied(code, atNs);
    if (code == noCode)
        emit repliedWithoutCode();
}

void RunObserver::sendingEnded(qint64 atNs)
{
    RunMeasurement::sendingEnded(atNs);
    emit stoppedSending();
}

#include "moc_RunObserver.cpp"
