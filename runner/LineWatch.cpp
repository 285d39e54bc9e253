#include "runner/LineWatch.h"

bool LineWatch::isLostWith(const QString& message, qint64 nowMs)
{
    static const QString wording = QStringLiteral("Failed to send packet ");
    if (!message.startsWith(wording))
        return false;
    const quint64 id = QStringView(message).mid(wording.size()).toULongLong();
    if (!lastFailedId || id != *lastFailedId + 1)
        failingSinceMs = nowMs;
    lastFailedId = id;
    return nowMs - failingSinceMs > toleranceMs;
}
