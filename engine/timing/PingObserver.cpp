#include "engine/timing/PingObserver.h"

void PingObserver::runBegan(qint64 /*atNs*/) {}

void PingObserver::pingSent(const Sent& /*ping*/) {}

void PingObserver::sendFailed(quint64 /*id*/, int /*sizeBytes*/, qint64 /*atNs*/) {}

void PingObserver::pingsLeftOut(const LeftOut& /*pings*/, qint64 /*atNs*/) {}

void PingObserver::echoMatched(const Echo& /*echo*/) {}

void PingObserver::echoChanged(const Echo& /*echo*/) {}

void PingObserver::pingGivenUp(quint64 /*id*/, qint64 /*atNs*/, bool /*atEnd*/) {}

void PingObserver::otherArrived(Other /*what*/, quint64 /*id*/, qint64 /*atNs*/) {}

void PingObserver::errorReplied(int /*code*/, qint64 /*atNs*/) {}

void PingObserver::sendingEnded(qint64 /*atNs*/) {}

void PingObserver::runEnded(qint64 /*atNs*/) {}
