#include "report/weigh/batch.h"

#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <limits>
#include <map>
#include <tuple>

namespace {

/** Returns a sort key; larger is worse. An unmeasured figure is the worst. */
auto badness(const Run& run)
{
    const auto rank = [&run] {
        switch (run.verdict) {
        case RunVerdict::LineLost:
            return 4;
        case RunVerdict::Failed:
            return 3;
        case RunVerdict::OutputFailed:
            return 2;
        case RunVerdict::Disturbed:
            return 1;
        case RunVerdict::Passed:
            break;
        }
        return 0;
    };
    constexpr double endless = std::numeric_limits<double>::infinity();
    return std::tuple(rank(), run.lossPercent().value_or(endless),
                      run.latencyUs.p99.value_or(endless));
}

bool allDifferent(const QStringList& labels)
{
    return QSet<QString>(labels.begin(), labels.end()).size() == labels.size();
}

template <typename Name> QStringList names(const std::vector<Run>& runs, const Name& name)
{
    QStringList texts;
    for (const Run& run : runs)
        texts += name(run);
    return texts;
}

QStringList differingTags(const std::vector<Run>& runs)
{
    QSet<QString> known;
    for (const Run& run : runs)
        for (auto tag = run.tags.begin(); tag != run.tags.end(); ++tag)
            known.insert(tag.key());
    QStringList differing;
    for (const QString& tag : std::as_const(known)) {
        const auto differs = [&](const Run& run) {
            return run.tags.value(tag) != runs.front().tags.value(tag);
        };
        if (std::any_of(runs.begin(), runs.end(), differs))
            differing += tag;
    }
    differing.sort();
    return differing;
}

Figure worse(const Figure& one, const Figure& other)
{
    return std::max(one, other); // no value is the smallest
}

/** Sorts by verdict, then loss, then p99; equal runs keep their order. */
void sortWorstFirst(std::vector<Run>& runs)
{
    std::stable_sort(runs.begin(), runs.end(), [](const Run& one, const Run& other) {
        return badness(one) > badness(other);
    });
}

QStringList labelsOf(const std::vector<Run>& runs, const QString& by)
{
    const QStringList tags = by.isEmpty() ? differingTags(runs) : QStringList(by);
    QStringList byTags = names(runs, [&tags](const Run& run) {
        QStringList values;
        for (const QString& tag : tags)
            if (!run.tags.value(tag).isEmpty())
                values += tag + u' ' + run.tags.value(tag);
        return values.join(QStringLiteral(", ")).left(60);
    });
    if (allDifferent(byTags) && !byTags.contains(QString()))
        return byTags;
    const QStringList byFile =
        names(runs, [](const Run& run) { return QFileInfo(run.path).completeBaseName(); });
    return allDifferent(byFile) ? byFile : names(runs, [](const Run& run) { return run.path; });
}

} // namespace

qint64 countOf(const std::vector<Run>& runs, RunVerdict verdict)
{
    return std::count_if(runs.begin(), runs.end(),
                         [verdict](const Run& run) { return run.verdict == verdict; });
}

std::vector<Group> groupRuns(const std::vector<Run>& runs, const QString& tag)
{
    std::map<QString, Group> groups;
    std::map<QString, std::vector<double>> latencies;
    for (const Run& run : runs) {
        const QString value = run.tags.value(tag);
        Group& group = groups[value];
        group.value = value;
        ++group.runs;
        group.passed += run.verdict == RunVerdict::Passed ? 1 : 0;
        group.worstLossPercent = worse(group.worstLossPercent, run.lossPercent());
        group.worstP99Us = worse(group.worstP99Us, run.latencyUs.p99);
        if (run.latencyUs.p99)
            latencies[value].push_back(*run.latencyUs.p99);
    }
    std::vector<Group> sorted;
    for (auto& [value, group] : groups) {
        std::vector<double>& sample = latencies[value];
        std::sort(sample.begin(), sample.end());
        if (!sample.empty())
            group.middleP99Us = sample[sample.size() / 2];
        sorted.push_back(group);
    }
    std::stable_sort(sorted.begin(), sorted.end(), [](const Group& one, const Group& other) {
        return one.passed * other.runs < other.passed * one.runs;
    });
    return sorted;
}

void arrangeRuns(std::vector<Run>& runs, const QString& by)
{
    if (runs.size() > mostOverlaid)
        sortWorstFirst(runs);
    const QStringList labels = labelsOf(runs, by);
    for (std::size_t i = 0; i < runs.size(); ++i)
        runs[i].label = labels[static_cast<qsizetype>(i)];
}
