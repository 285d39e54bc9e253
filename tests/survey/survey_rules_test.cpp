#include "survey/search/Survey.h"
#include "survey/surveyOptions.h"
#include "survey/surveyReasons.h"
#include "survey/surveyReport.h"
#include "survey/surveyTable.h"
#include "tests/support/contentsOf.h"

#include <QtTest>

#include <cmath>
#include <functional>
#include <map>

namespace {

/** Of 100 pings at a rate how many a made-up link loses; `trial` counts from 0. */
using Link = std::function<double(int rate, size_t trial)>;

Link dropsAbove(int limit)
{
    return [limit](int rate, size_t) { return std::max(0., 100. * (rate - limit) / rate); };
}

Trial made(const Link& link, int rate, TrialPurpose purpose, size_t trial)
{
    const quint64 sent = quint64(rate) * 5;
    const auto lost = quint64(std::ceil(link(rate, trial) * double(sent) / 100));
    return {rate, purpose, 5, sent, sent - lost, lost, 0, 0, false, rate * 10.04, rate * 11.26};
}

/** Pings of `trial` left up to so late. */
Trial late(Trial trial, int rate, double us)
{
    trial.packetsPerSecond = rate;
    trial.sendLagP99Us = us;
    return trial;
}

} // namespace

class SurveyRulesTest : public QObject
{
    Q_OBJECT

private slots:
    void judgesTrials()
    {
        const Trial lost{.sent = 9, .lost = 9};
        // The least loss limit that a trial passes; -1: none. Whether it was hindered, silent.
        for (const auto& [trial, limit, hindered, silent] :
             {std::tuple(Trial{.sent = 1000, .received = 1000, .unsent = 10}, 0., false, false),
              {Trial{.sent = 995, .received = 994, .lost = 1, .failed = 5}, 0.6, false, false},
              {Trial{.sent = 990, .received = 990, .unsent = 11}, -1, true, false},
              {Trial{}, 100, false, false},
              {Trial{.sent = 9, .received = 9, .cutShort = true}, -1, false, false},
              {late(lost, 100, 2500), 100, false, true},
              {late(lost, 100, 2501), 100, true, true},
              {late(lost, 900, 2000), 100, false, true},
              {late(lost, 900, 2001), 100, true, true},
              {Trial{.sent = 9, .lost = 9, .otherAnswers = 1}, 100, false, false}}) {
            QCOMPARE(trial.passes(limit), limit >= 0);
            QCOMPARE(std::pair(trial.isHindered(), trial.isSilent()), std::pair(hindered, silent));
            QVERIFY(!trial.passes(limit - 0.001) && trial.passes(100) == (limit >= 0));
        }
    }

    /** Trial by trial, with the trials that are thought to be left, and what is written of it. */
    void surveysAsExpected()
    {
        const std::map<int, Link> links{
            {8,
             [](int rate, size_t trial) { return trial == 3 ? 0.01 : dropsAbove(700)(rate, 0); }},
            {16, [](int, size_t trial) { return trial % 5 == 4 ? 0 : 0.1; }},
            {100, dropsAbove(1000)},
            {32, dropsAbove(0)},
            {9, dropsAbove(0)},
            // The rate that passes at first does not when it is confirmed.
            {124, [](int rate, size_t trial) { return rate > 30 && trial != 1 ? 9 : 0; }}};
        SurveyOptions options =
            parseSurveyOptions({"x", "--port=/dev/x", "--sizes=8,124,16,32,9,100,64", "--trial=2.5",
                                "--partial-loss=2", "--timeout=600", "--tag=cable=7"});
        Survey survey(options.sizesBytes, options.baudRate, options.partialLossPercent);
        QString told;
        while (survey.next()->sizeBytes != 64) { // ended there
            const auto [size, place, rate, purpose] = *survey.next();
            told += QString("%1 %2 %3 %4 %5\n")
                        .arg(size)
                        .arg(place)
                        .arg(rate)
                        .arg("SCXL"[int(purpose)])
                        .arg(survey.trialsLeft());
            const auto trial = survey.results()[size_t(place) - 1].trials.size();
            Trial made = ::made(links.at(size), rate, purpose, trial);
            made.unsent = size == 124 && trial == 5 ? 9 : 0;
            made.failed = size == 32 ? trial % 4 : 0;
            made.cutShort = made.failed == 2;
            made.sendLagP99Us =
                (size == 100 && trial == 2) || (size == 32 && trial < 3) ? 25'000 : 1;
            if (size == 9)
                made.lateUs = 700'900;
            if (survey.take(made) == nullptr)
                told += "again\n";
        }
        const QDateTime start({2027, 1, 2}, {3, 4, 5, 678}, QTimeZone(3600));
        const SurveyOutcome outcome{survey.results(),
                                    start,
                                    start.addMSecs(1001),
                                    SurveyMoment{1.0004, start},
                                    sizeReasons(survey.results(), 600),
                                    HostFacts{"h", "k", "m"},
                                    {},
                                    1};
        told += surveyTable(outcome, options.partialLossPercent) +
                QJsonDocument(surveyReport(options, outcome))
                    .toJson(QJsonDocument::Compact)
                    .replace("},{", "},\n{") +
                "\n" + silentText(outcome.sizes[0].trials[0], *outcome.silentSince);
        QCOMPARE(told.split('\n'), QString::fromUtf8(contentsOf(EXPECTED)).split('\n'));
    }

    void comparesLoss()
    {
        static const QRegularExpression form("(\\d+)(.)(\\d+)-(\\d+)");
        for (const QString& row : linesOf(LOSSES, "comparisons")) {
            std::vector<Trial> trials;
            for (const auto& part : form.globalMatch(row.section('|', 0, 0))) {
                const auto purpose =
                    TrialPurpose(std::max(0, int(QString("SCXL").indexOf(part.captured(2)))));
                Trial trial{part.captured(1).toInt(), purpose};
                trial.sent = part.captured(3).toULongLong();
                trial.lost = part.captured(4).toULongLong();
                trial.sendLagP99Us = part.captured(2) == "H" ? 3000 : 0;
                trials.push_back(trial);
            }
            const LossComparison found = compareLoss(trials, row.section('|', 1, 1).toInt());
            const QString even = found.even ? evenLossText(*found.even).mid(6) : QString("-");
            const QString depends =
                found.dependsOnRate ? (*found.dependsOnRate ? "yes" : "no") : "?";
            QCOMPARE((found.moreAt ? QString::number(*found.moreAt) : "-") + ' ' + even + ' ' +
                         depends,
                     row.section('|', 2));
        }
        // Of eight cups four with milk first: three of those four are told right, or all.
        QCOMPARE(chanceOf({4, 3}, {4, 1}), 17. / 70);
        QCOMPARE(chanceOf({4, 4}, {4, 0}), 1. / 70);
        QCOMPARE(chanceOf({4, 0}, {4, 4}), 1.);
    }

    void readsOptions()
    {
        const auto read = [](const QStringList& options) {
            // A ping of 8 bytes and its echo take 220 ms at 1200 baud.
            return parseSurveyOptions(
                QStringList{"x", "--port=x", "--timeout=221", "--baud=1200", "--sizes=8"} +
                options);
        };
        for (const QString& option : std::initializer_list<QString>{
                 "--sizes=7", "--sizes=125", "--sizes=8,", "--sizes=8,8", "--trial=0.09",
                 "--trial=60.1", "--partial-loss=-1", "--partial-loss=100.1", "--timeout=220",
                 "--baud=1", "--json=", "--tag=x"})
            QVERIFY2(read({option}).message.startsWith(QString(option).replace('=', ": \"")),
                     qPrintable(option));
        for (const QString& option : std::initializer_list<QString>{
                 "--sizes=124,8", "--trial=0.1", "--trial=60", "--partial-loss=0",
                 "--partial-loss=100", "--quiet", "--json=-"})
            QCOMPARE(read({"--timeout=5000", option}).message, QString());
        QVERIFY(read({"--quiet"}).quiet && !read({}).quiet && read({"--json=-"}).reportPath == "-");
        const QJsonObject usual = surveyReport(parseSurveyOptions({"x", "--port=x"}), {});
        QCOMPARE(QJsonDocument(usual["configuration"].toObject()).toJson(QJsonDocument::Compact),
                 R"({"baudRate":115200,"partialLossPercent":0.5,"port":"x",)"
                 R"("sizesBytes":[8,16,32,64,124],"timeoutMs":500,"trialSeconds":5})");
    }
};

QTEST_GUILESS_MAIN(SurveyRulesTest)
#include "survey_rules_test.moc"
