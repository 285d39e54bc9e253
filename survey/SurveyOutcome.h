#pragma once

#include "command/hostFacts.h"
#include "port/portAdapter.h"
#include "survey/search/SizeSurvey.h"

#include <QDateTime>
#include <QStringList>

#include <algorithm>
#include <optional>
#include <vector>

/** A moment of a survey. */
struct SurveyMoment
{
    double seconds = 0; ///< since the survey's start
    QDateTime time{};   ///< local time
};

/** What a survey leaves behind. */
struct SurveyOutcome
{
    std::vector<SizeResult> sizes{};
    QDateTime start{}; ///< local time
    QDateTime end{};
    std::optional<SurveyMoment> silentSince{}; ///< of the last echo, where the module fell silent
    QStringList reasons{}; ///< why it is incomplete or found no rate, one line each
    std::optional<HostFacts> host{};
    std::optional<PortAdapter> adapter{};
    int exitStatus = 0;

    bool isComplete() const
    {
        return std::all_of(sizes.begin(), sizes.end(),
                           [](const SizeResult& size) { return size.complete; });
    }
};
