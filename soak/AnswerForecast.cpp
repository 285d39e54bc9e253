#include "soak/AnswerForecast.h"

AnswerForecast AnswerForecast::of(FaultPlan& sequence, quint64 pings)
{
    AnswerForecast forecast;
    for (quint64 i = 0; i < pings; ++i) {
        const PingDecisions ping = sequence.next();
        if (ping.drop)
            continue;
        forecast.reports += ping.report ? 1 : 0;
        if (ping.corrupt)
            continue;
        const quint64 copies = ping.duplicate ? 2 : 1;
        (ping.errorReply ? forecast.errorReplies : forecast.echoes) += copies;
        if (ping.errorReply)
            continue;
        forecast.repeats += copies - 1;
        forecast.intact += ping.alter || ping.truncate ? 0 : 1;
    }
    return forecast;
}
