#pragma once

#include "command/hostFacts.h"
#include "port/portAdapter.h"
#include "survey/search/SizeSurvey.h"

#include <QDateTime>
#include <QStringList>

#include <algorithm>
#include <optional>
#include <vector>

/** A point in time during a survey. */
struct SurveyMoment
{
    double seconds = 0; ///< since the survey's start
    QDateTime time{};   ///< local time
};

/** The results of a survey. */
struct SurveyOutcome
{
    std::vector<SizeResult> sizes{};
    QDateTime start{}; ///< local time
    QDateTime end{};
    std::optional<SurveyMoment> silentSince{}; ///< last echo, if the module stopped answering
    QStringList reasons{}; ///< why the survey is incomplete or found no rate, one line each
    std::optional<HostFacts> host{};
    std::optional<PortAdapter> adapter{};
    int exitStatus = 0;

    bool isComplete() const
    {
        return std::all_of(sizes.begin(), sizes.end(),
                           [](const SizeResult& size) { return size.complete; });
    }
};
