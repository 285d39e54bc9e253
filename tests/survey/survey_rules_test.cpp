#include "survey/Survey.h"
#include "survey/surveyOptions.h"
#include "survey/surveyTable.h"

#include <QTest>

#include <cmath>
#include <functional>

namespace {

/** Of 100 pings at a rate how many a made-up link loses; `trial` counts from 0. */
using Link = std::function<double(int rate, int trial)>;

Link dropsAbove(int limit)
{
    return [limit](int rate, int) { return std::max(0., 100. * (rate - limit) / rate); };
}

Trial made(const Link& link, int rate, TrialPurpose purpose, int trial)
{
    const quint64 sent = quint64(rate) * 5;
    const auto lost = quint64(std::ceil(link(rate, trial) * double(sent) / 100));
    return {rate, purpose, 5, sent, sent - lost, lost, 0, 0, false, rate, rate};
}

} // namespace

class SurveyRulesTest : public QObject
{
    Q_OBJECT

private slots:
    void findsTheRates()
    {
        const Link later = [](int rate, int trial) { return rate > 300 && trial != 1 ? 9 : 0; };
        // Without loss: from, to. With partial loss: from, to. Most trials of the search.
        for (const auto& [name, link, highest, from, to, partFrom, partTo, most] :
             {std::tuple("whole line", dropsAbove(1000), 872, 872, 872, 872, 872, 2),
              {"silent", dropsAbove(0), 872, 0, 0, 0, 0, 10},
              {"large", dropsAbove(700), 872, 694, 700, 698, 703, 12},
              {"not confirmed", later, 799, 298, 300, 298, 300, 19}}) {
            RateSearch search(highest, 0.5);
            QCOMPARE(search.next(), highest);
            std::map<int, int> passes;
            int trials = 0;
            for (; search.next() && trials < 50; ++trials) {
                const int rate = *search.next();
                QVERIFY2(search.confirmsNext() == (passes[rate] > 0), name);
                search.take(made(link, rate, TrialPurpose::Search, trials));
                passes[rate] += link(rate, trials) <= 0.5;
            }
            const int found = *search.lossless(), part = *search.withPartialLoss();
            QVERIFY2(trials <= most && (found == 0 || passes[found] > 1), name);
            QVERIFY2(found >= from && found <= to && part >= partFrom && part <= partTo, name);
        }
    }

    void judgesTrials()
    {
        // The least loss limit that a trial passes; -1: none.
        for (const auto& [trial, limit] : {std::pair(Trial{.sent = 1000, .unsent = 10}, 0.),
                                           {Trial{.sent = 995, .lost = 1, .failed = 5}, 0.6},
                                           {Trial{.sent = 990, .unsent = 11}, -1},
                                           {Trial{}, 100},
                                           {Trial{.sent = 1000, .cutShort = true}, -1}}) {
            QCOMPARE(trial.passes(limit), limit >= 0);
            QCOMPARE(trial.isHindered(), trial.unsent > 10);
            QVERIFY(!trial.passes(limit - 0.001) && trial.passes(100) == (limit >= 0));
        }
    }

    void goesThroughTheSizes()
    {
        Survey survey({8, 124, 64}, 115200, 0);
        while (survey.next()->sizeBytes != 64) { // ended there
            const auto [size, place, rate, purpose] = *survey.next();
            QVERIFY(survey.trialsLeft() > 0 && place == (size == 8 ? 1 : 2));
            survey.take(made(dropsAbove(100), rate, purpose, 0));
        }
        const SurveyOutcome outcome{.sizes = survey.results()};
        QCOMPARE(outcome.sizes[1].trials.size(), size_t(5)); // the last load is the confirmation
        QCOMPARE(surveyTable(outcome, 0).section("ms\n", -1).simplified(),
                 "8 872.7 100 11.5 100 11.5 0.01 / 0.01 0.05 / 0.05 0.09 / 0.09 0.10 / 0.10 "
                 "124 81.8 81 99.0 81 99.0 0.01 / 0.01 0.04 / 0.04 0.07 / 0.07 0.08 / 0.08 "
                 "64 154.0 - - - - - - - - incomplete");
    }

    void refusesOptions()
    {
        // A ping of 124 bytes and its echo take 586.7 ms at 4800 baud.
        for (const QString& option : std::initializer_list<QString>{
                 "--sizes=7", "--sizes=125", "--sizes=8,", "--sizes=8,8", "--trial=0.05",
                 "--trial=61", "--partial-loss=-1", "--timeout=586", "--baud=1", "--json="}) {
            const QStringList line{"x", "--port=x", "--timeout=587", "--baud=4800", option};
            QVERIFY2(
                parseSurveyOptions(line).message.startsWith(QString(option).replace('=', ": \"")),
                qPrintable(option));
        }
    }
};

QTEST_GUILESS_MAIN(SurveyRulesTest)
#include "survey_rules_test.moc"
