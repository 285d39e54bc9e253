#include "link/SteadyClock.h"
#include "simulator/line/ModuleCounts.h"
#include "simulator/program/moduleOptions.h"
#include "tests/support/RawLine.h"
#include "tests/support/contentsOf.h"
#include "tests/support/frame.h"
#include "tests/support/processes.h"

#include <QtTest>

#include <fcntl.h>
#include <unistd.h>

namespace {

template <typename... Columns> using Rows = std::initializer_list<std::tuple<Columns...>>;

/** What `pattern` finds in a section of the document, its first group each time. */
QStringList documented(const QString& section, const QString& pattern)
{
    const QString all = contentsOf(MODULE_DOCUMENT);
    const QString text = all.section("\n## " + section + "\n", 1).section("\n## ", 0, 0);
    QStringList found;
    const QRegularExpression wanted(pattern, QRegularExpression::MultilineOption);
    for (const QRegularExpressionMatch& match : wanted.globalMatch(text))
        found += match.captured(1);
    return found;
}

ModuleOptions parse(const QString& argument)
{
    return parseModuleOptions({"packetbrask-module", argument});
}

/** In the order in which they are documented. */
QList<double> valuesOf(const ModuleFaults& f)
{
    const QList<int> numbers{f.delayMs,  f.jitterMs,      f.dropAbove,
                             f.baudRate, f.unplugAfterMs, f.stallAfterMs};
    return QList{f.drop,    f.corrupt,    f.alter,  f.truncate, f.duplicate,
                 f.garbage, f.errorReply, f.report, f.split} +
           QList<double>(numbers.begin(), numbers.end());
}

} // namespace

class ModuleProgramTest : public QObject
{
    Q_OBJECT

private slots:
    void readsOptions()
    {
        QStringList names = documented("Options", "^\\| `--([a-z-]+)");
        const QStringList ranges = documented("Options", "^\\| `--.*?` \\| (.*?)[,|]");
        const ModuleOptions help = parse("--help");
        QCOMPARE(help.outcome, ModuleOptions::Outcome::Help);
        static const QRegularExpression option("--([a-z-]+)[ ,]");
        QSet<QString> shown;
        for (const QRegularExpressionMatch& match : option.globalMatch(help.message))
            shown += match.captured(1);
        QCOMPARE(shown - QSet<QString>{"help"}, QSet(names.begin(), names.end()));
        names.remove(0, 4); // the paths and the seed
        QCOMPARE(names.size(), valuesOf({}).size());

        for (qsizetype i = 0; i < names.size(); ++i) {
            const bool isWhole = i >= 9 && i < 13;
            const double step = isWhole ? 1 : 0.001; // the least by which it can be out of range
            const bool isLikewise = ranges.at(4 + i).startsWith("likewise");
            const QString range = ranges.at(4 + i - isLikewise).trimmed();
            const double lowest = range.section(' ', 0, 0).toDouble();
            const double highest = range.section(' ', -1).toDouble();
            for (const double value :
                 {lowest, highest, lowest + step, lowest - step, highest + step}) {
                const ModuleOptions options =
                    parse("--" + names[i] + '=' + QString::number(value, 'f', isWhole ? 0 : 3));
                const bool isAllowed = value >= lowest && value <= highest;
                QList<double> expected = valuesOf({});
                if (isAllowed)
                    expected[i] = i < 13 ? value : std::round(1000 * value); // told in seconds
                QCOMPARE(valuesOf(options.faults), expected);
                QVERIFY(isAllowed ||
                        (options.message.contains(names[i]) && options.message.contains(range)));
                QCOMPARE(options.outcome,
                         isAllowed ? ModuleOptions::Outcome::Run : ModuleOptions::Outcome::Error);
            }
        }
        const ModuleOptions others = parseModuleOptions(
            {"", "--link=l", "--summary=s", "--ledger=d", "--seed=18446744073709551615"});
        QCOMPARE(others.linkPath + others.summaryPath + others.ledgerPath + others.message, "lsd");
        QCOMPARE(others.faults.seed, ~quint64{0});
    }

    void refusesOptions()
    {
        const QString refused = "--report=nan --alter= --jitter=1.5 --seed=-1 --link= --summary= "
                                "--ledger= --seed=18446744073709551616 --stall-after=soon --drop "
                                "--nothing pty";
        for (const QString& argument : refused.split(' ')) {
            const QString message = parse(argument).message;
            QVERIFY(message.contains(argument.section('=', 0, 0).remove("--")));
            QVERIFY(parse(argument).outcome == ModuleOptions::Outcome::Error);
        }
    }

    void endsWithAStatus()
    {
        const QTemporaryDir folder;
        for (const auto& [arguments, status, says] :
             std::initializer_list<std::tuple<QString, int, const char*>>{
                 {"--help >&2", 0, "--stall-after"},
                 {"--link=none/line", 1, "--link: cannot"},
                 {"--link=zero", 2, "--link: \"zero\""},
                 {"--link=stale --unplug-after=0", 0, ""},
                 {"--ledger=file --unplug-after=0", 0, ""},
                 {"--summary=file --unplug-after=0", 0, ""},
                 {"--unplug-after=0 >/dev/full", 5, "standard output"},
                 {"--unplug-after=0 >&4", 5, "standard output"}}) {
            const QString command = "cd %1; ln -sf /dev/zero zero; ln -sf /nowhere stale; "
                                    "mkfifo p; exec 3<>p 4>p 3>&-; rm p; %2 %3";
            Process program("bash", {"-c", command.arg(folder.path(), MODULE_PROGRAM, arguments)});
            QCOMPARE(program.status(), status);
            QVERIFY2(program.errors.contains(says), program.errors);
            QCOMPARE(program.errors.isEmpty(), *says == 0);
        }
    }

    /** In the summary, in the ledger and on a terminal. */
    void tellsWhatHasHappened()
    {
        const QTemporaryDir folder;
        const QString link = folder.filePath("line");
        const QString columns = documented("The ledger", "^\\| `(\\w+)`").join(',');
        QStringList keys = documented("The summary", "(?:^\\||,) `(\\w+)`(?= \\||,)");
        keys.removeDuplicates();
        keys.sort();
        const QByteArray data(9, '\1');
        const QByteArray text("\x11\x03\x1B~\x7F clipped", 13);
        const Rows<QString, int, QString, const char*> cases{
            {"", 30, "intact,report,(\\d{5,7})", "echoesIntact"},
            {"/elsewhere", 60000, "unanswered,,()", "unanswered"}};
        for (const auto& [other, delayMs, fate, answered] : cases) {
            const QMap<QByteArray, int> counts{{"pingsReceived", 1},
                                               {answered, 1},
                                               {"reports", delayMs == 30},
                                               {"lcdRequests", 1}};
            RawLine terminal;
            const QString command =
                "cd %1; exec %2 --link line --summary sum --ledger led --report 1 --delay %3 > %4";
            Process program(
                "sh",
                {"-c",
                 command.arg(folder.path(), MODULE_PROGRAM).arg(delayMs).arg(terminal.path())});
            const QByteArray first = terminal.take(600);
            const QByteArray path = first.left(first.indexOf('\n'));
            QVERIFY(first.startsWith(path + "\n\033[?25l+--------------------+\n|   "));
            QCOMPARE(QFile::symLinkTarget(link), path);
            const int tool = ::open(path, O_RDWR | O_NOCTTY);
            const qint64 beforeUs = SteadyClock().nowNs() / 1000;
            const QByteArray requests = frame(0, data) + frame(31, text);
            QCOMPARE(::write(tool, requests.data(), size_t(requests.size())), requests.size());
            QByteArray got;
            for (char byte = 0; !got.endsWith(delayMs == 30 ? frame(0x40, data) : frame(0x5F));)
                got.append(&byte, ::read(tool, &byte, 1));
            ::close(tool);
            QByteArray drawn = terminal.take(1); // at work too
            QVERIFY(!drawn.isEmpty());
            QVERIFY(other.isEmpty() || (QFile::remove(link) && QFile::link(other, link)));
            program.terminate();
            QCOMPARE(program.status(), 0);
            QCOMPARE(QFile::symLinkTarget(link), other);
            drawn = terminal.take(0).prepend(drawn);
            const QByteArray last = drawn.mid(drawn.lastIndexOf("\033[13A+---"));
            QCOMPARE(drawn.count(last.left(last.indexOf("\033[?25h"))), 1); // only what is new
            QVERIFY(last.contains("\n|" + QByteArray(17, ' ') + ".~.|\n+---"));
            QVERIFY(last.contains("+\npingsReceived  1         echoes") && last.count('\n') == 13);
            QVERIFY(last.endsWith("packetsIgnored 0         \n\033[?25h"));

            const QByteArray summary = contentsOf(folder.filePath("sum"));
            const QJsonObject all = QJsonDocument::fromJson(summary).object();
            QCOMPARE(all.keys(), keys);
            for (const ModuleCountField& field : moduleCountFields)
                QCOMPARE(all[field.name].toInt(), counts.value(field.name));
            QCOMPARE(all["screen"][3].toString(), QString(17, ' ') + "\x1B~\x7F");
            const QRegularExpression whole('^' + columns + "\n72340172838076673,0,(\\d+)," + fate +
                                           "\n$");
            const QRegularExpressionMatch match = whole.match(contentsOf(folder.filePath("led")));
            QVERIFY(match.hasMatch() && match.captured(2).toInt() >= 30'000 * (delayMs == 30));
            const qint64 arrivedUs = match.captured(1).toLongLong();
            QVERIFY(arrivedUs >= beforeUs && arrivedUs <= SteadyClock().nowNs() / 1000);
        }
    }
};

QTEST_GUILESS_MAIN(ModuleProgramTest)
#include "module_program_test.moc"
