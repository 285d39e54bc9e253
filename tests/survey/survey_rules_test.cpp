#include "survey/Survey.h"
#include "survey/surveyOptions.h"
#include "survey/surveyReport.h"
#include "survey/surveyTable.h"

#include <QFile>
#include <QJsonDocument>
#include <QTest>
#include <QTimeZone>

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

/** The rate that passes at first does not when it is confirmed. */
double notTwice(int rate, size_t trial)
{
    return rate > 30 && trial != 1 ? 9 : 0;
}

Trial made(const Link& link, int rate, TrialPurpose purpose, size_t trial)
{
    const quint64 sent = quint64(rate) * 5;
    const auto lost = quint64(std::ceil(link(rate, trial) * double(sent) / 100));
    return {rate, purpose, 5, sent, sent - lost, lost, 0, 0, false, rate * 10.04, rate * 11.26};
}

} // namespace

class SurveyRulesTest : public QObject
{
    Q_OBJECT

private slots:
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

    /** Trial by trial, with the trials that are thought to be left, and what is written of it. */
    void surveysAsExpected()
    {
        const std::map<int, Link> links{
            {8, dropsAbove(700)}, {100, dropsAbove(1000)}, {32, dropsAbove(0)}, {124, notTwice}};
        SurveyOptions options =
            parseSurveyOptions({"x", "--port=/dev/x", "--sizes=8,124,32,100,64", "--trial=2.5",
                                "--partial-loss=2", "--timeout=600", "--tag=cable=7"});
        Survey survey(options.sizesBytes, options.baudRate, options.partialLossPercent);
        QString told;
        while (survey.next()->sizeBytes != 64) { // ended there
            const auto [size, place, rate, purpose] = *survey.next();
            told += QString("%1 %2 %3 %4 %5\n")
                        .arg(size)
                        .arg(place)
                        .arg(rate)
                        .arg("SCL"[int(purpose)])
                        .arg(survey.trialsLeft());
            const auto trial = survey.results()[size_t(place) - 1].trials.size();
            Trial made = ::made(links.at(size), rate, purpose, trial);
            made.unsent = size == 124 && trial == 7 ? 9 : 0;
            made.failed = size == 32 ? trial % 4 : 0;
            made.cutShort = made.failed == 2;
            survey.take(made);
        }
        const QDateTime start({2027, 1, 2}, {3, 4, 5, 678}, QTimeZone(3600));
        const SurveyOutcome outcome{survey.results(),
                                    start,
                                    start.addMSecs(1001),
                                    {"why"},
                                    QJsonObject{{"name", "h"}},
                                    {},
                                    1};
        told += surveyTable(outcome, options.partialLossPercent) +
                QJsonDocument(surveyReport(options, outcome)).toJson();
        QFile file(EXPECTED);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(told.split('\n'), QString::fromUtf8(file.readAll()).split('\n'));
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
