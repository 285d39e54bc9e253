#include "engine/EventRow.h"
#include "tests/support/ModuleThread.h"
#include "tests/support/WindowBench.h"
#include "tests/support/processes.h"

#include <csignal>

#include <sys/resource.h>

namespace {

/** No file of this process grows past `bytes` any more, as on a full disk. */
void leaveRoomOnTheDisk(rlim_t bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit room{};
    getrlimit(RLIMIT_FSIZE, &room);
    room.rlim_cur = std::min(bytes, room.rlim_max);
    setrlimit(RLIMIT_FSIZE, &room);
}

} // namespace

/** Figures, log and event file. Where no module is needed, no run ever reaches the engine. */
class LogTest : public QObject
{
    Q_OBJECT

private slots:
    static void initTestCase() { tellDatesApart(); }
    static void cleanup()
    {
        QApplication::setPalette({});
        leaveRoomOnTheDisk(RLIM_INFINITY);
    }

    void showsFigures()
    {
        const WindowBench bench;
        const auto figures = [&] {
            QStringList texts;
            for (const char* caption :
                 {"Packets Sent:", "Packets Received:", "Packets Lost:", "Success Rate:",
                  "Avg Latency:", "Min Latency:", "Max Latency:"})
                texts += bench.figure(caption);
            return texts.join('|');
        };
        QCOMPARE(figures(), "0|0|0 (0.0%)|0.0%|0 ms|- ms|- ms");
        for (const auto& [record, texts] : QList<std::pair<TestStats, QString>>{
                 {{200, 150, 50, 75, 12, 0, 480}, "200|150|50 (25.0%)|75.0%|12 ms|0 ms|480 ms"},
                 {{3, 1, 2, 100.0 / 3, 1, 1, 2}, "3|1|2 (66.7%)|33.3%|1 ms|1 ms|2 ms"},
                 {{1ULL << 40, 0, 4, 0, 5, 5}, "1099511627776|0|4 (0.0%)|0.0%|- ms|- ms|- ms"}}) {
            bench.call("onStatisticsUpdated", record);
            QCOMPARE(figures(), texts);
            bench.button("Clear Stats")->click();
            QCOMPARE(figures(), "0|0|0 (0.0%)|0.0%|- ms|- ms|- ms");
            QCOMPARE(bench.log().size(), 1);
            QVERIFY(bench.log().constFirst().endsWith("] INFO: Statistics cleared"));
        }
        bench.window->findChild<QTimer*>({}, Qt::FindDirectChildrenOnly)->start(1);
        bench.call("updateTestDuration"); // without a run
        QString shown = bench.figure("Test Duration:");
        QCOMPARE(shown, "0 s");
        TestStats stats;
        stats.startTime = QDateTime::currentMSecsSinceEpoch() - 3'599'500;
        bench.call("onStatisticsUpdated", stats);
        QVERIFY(QTest::qWaitFor([&] { return bench.figure("Test Duration:") != shown; }));
        shown = bench.figure("Test Duration:");
        const qint64 seconds = shown.section(" s", 0, 0).toLongLong();
        const qint64 mostMs = QDateTime::currentMSecsSinceEpoch() - stats.startTime;
        QVERIFY(seconds >= 3599 && seconds <= mostMs / 1000);
        stats.startTime += 3'660'000; // the clock was set back
        bench.call("onStatisticsUpdated", stats);
        QVERIFY(QTest::qWaitFor([&] { return bench.figure("Test Duration:") == "0 s"; }));
    }

    void coloursLines()
    {
        QPalette theme;
        for (const auto role : {QPalette::Base, QPalette::Text, QPalette::PlaceholderText})
            theme.setColor(role, Qt::magenta);
        QApplication::setPalette(theme);
        const WindowBench bench;
        const QTextEdit* view = bench.logView();
        QCOMPARE(view->palette().color(QPalette::Base), QColor(Qt::white));
        QCOMPARE(view->palette().color(QPalette::Text), QColor(Qt::black));
        QCOMPARE(view->palette().color(QPalette::PlaceholderText), QColor(Qt::darkGray));
        QCOMPARE(view->placeholderText(), "Log messages will appear here...");
        QVERIFY(view->isReadOnly() && view->maximumHeight() == 250);
        for (const QString& line :
             QStringList{"#008000 SUCCESS", "#ffa500 TIMEOUT", "#ffa500 WARNING", "#000000 INFO",
                         "#ff0000 ERROR"}) {
            bench.say(line.section(' ', 1), "100%, \"%1\" of %2");
            const QString text = bench.log().constLast();
            QCOMPARE(text.mid(13), "] " + line.section(' ', 1) + ": 100%, \"%1\" of %2");
            QVERIFY(QTime::fromString(text.mid(1, 12), "hh:mm:ss.zzz").isValid());
            QTextCursor end(view->document());
            end.movePosition(QTextCursor::End);
            QCOMPARE(end.charFormat().foreground().color().name(), line.section(' ', 0, 0));
        }
    }

    void boundsTheLog()
    {
        const WindowBench bench;
        QTextEdit* view = bench.logView();
        // A line wider than the window is one line, too.
        view->setPlainText(QString("word ").repeated(100) + QString("\nx").repeated(9998));
        bench.say("INFO", "the last that fits");
        QCOMPARE(bench.log().size(), 10000);
        view->moveCursor(QTextCursor::End); // the operator's
        bench.say("INFO", "one too many");
        QCOMPARE(bench.log().size(), 9001);
        QCOMPARE(bench.log().constFirst(), "x");
        QVERIFY(bench.log().constLast().endsWith("INFO: one too many"));
        QVERIFY(!view->document()->isUndoAvailable());
        QScrollBar* bar = view->verticalScrollBar();
        for (const bool isRead : {false, true}) { // stays at its end, or where a reader is
            const int before = bar->maximum();
            bar->setValue(isRead ? 0 : before);
            bench.window->resize(900, isRead ? 420 : 440);
            QVERIFY(QTest::qWaitFor([&] { return bar->maximum() > before; }));
            QCOMPARE(bar->value(), isRead ? 0 : bar->maximum());
        }
        bench.say("INFO", "new");
        QCOMPARE(bar->value(), bar->maximum());
    }

    void savesTheLog()
    {
        const WindowBench bench;
        QAction* save = bench.window->menuBar()->actions().constFirst()->menu()->actions().at(0);
        const auto saveAs = [&bench, save](const QString& name) {
            const auto enter = [&](QWidget* widget) {
                auto* dialog = qobject_cast<QFileDialog*>(widget);
                if (dialog == nullptr || name.isEmpty()) // closed without a name
                    return;
                dialog->setOption(QFileDialog::DontConfirmOverwrite);
                QCOMPARE(dialog->nameFilters().join('|'), "Text Files (*.txt)|All Files (*)");
                auto* field = dialog->findChild<QLineEdit*>("fileNameEdit");
                field->setText(QDir::current().absoluteFilePath(name));
                QMetaObject::invokeMethod(widget, "accept");
            };
            return bench.boxesOf([save] { save->trigger(); }, enter).join('\n');
        };
        bench.say("INFO", QString::fromUtf8("\u00fc \u20ac"));
        QCOMPARE(saveAs("kept.txt"), "Save Log File");
        QCOMPARE(WindowBench::rowsOf("kept.txt"), bench.log());
        QCOMPARE(bench.status(), "Log saved to: " + QDir().absoluteFilePath("kept.txt") + "|3000");
        bench.window->statusBar()->showMessage("as before");
        const QString box = "Save Log File\nWarning|Save Failed|Could not save log file: ";
        QCOMPARE(saveAs("none/kept.txt"), box + "No such file or directory");
        bench.logView()->setPlainText(QString("x").repeated(40'000)); // more than a buffer holds
        QVERIFY(QFile::link("/dev/full", "full.txt")); // which a fault would remove, not the device
        QCOMPARE(saveAs("full.txt"), box + "No space left on device");
        QVERIFY(QFile::remove("full.txt"));
        for (const char* name : {"new.txt", "kept.txt"}) {
            leaveRoomOnTheDisk(8192);
            const QString boxes = saveAs(name);
            leaveRoomOnTheDisk(RLIM_INFINITY);
            QCOMPARE(boxes, box + "File too large");
        }
        QStatusTipEvent hint{QString()}; // of the menu, for an entry without one
        QApplication::sendEvent(bench.window.get(), &hint);
        QCOMPARE(saveAs(""), "Save Log File");
        QCOMPARE(bench.status(), "as before");
        QCOMPARE(QDir().entryList(QDir::Files), QStringList{"kept.txt"});
    }

    void keepsWhatTheEngineSays()
    {
        const WindowBench bench;
        bench.say("INFO", "too early");
        const QDateTime before = QDateTime::currentDateTime().addMSecs(-1000); // names have no ms
        const auto isNew = [&](const QDateTime& time) {
            return time > before && time <= QDateTime::currentDateTime();
        };
        bench.call("onStartTest");
        const QString name = bench.eventFiles().value(0);
        QCOMPARE(bench.status(), "Logging to: " + name);
        QVERIFY(isNew(QDateTime::fromString(name, "'PacketTest_'yyyyMMdd_HHmmss'.csv'")));
        QCOMPARE(WindowBench::rowsOf(name), QStringList{eventHeader().trimmed()});
        int rows = 1;
        for (const auto& [type, message, expected] :
             {std::tuple("SUCCESS", "Packet 7: 12ms", ",7,SUCCESS,,12,Packet 7: 12ms"),
              {"ERROR", "\u00fc, \"%1\"", ",,ERROR,,,\"\u00fc, \"\"%1\"\"\""}}) {
            bench.say(type, QString::fromUtf8(message));
            const QStringList written = WindowBench::rowsOf(name); // each row at once
            QCOMPARE(written.size(), ++rows);
            QCOMPARE(written.constLast().mid(23), QString::fromUtf8(expected));
            const QString time = written.constLast().left(23);
            QVERIFY(isNew(QDateTime::fromString(time, "yyyy-MM-dd HH:mm:ss.zzz")));
        }
        bench.call("onTestCompleted"); // whose line is the window's own
        bench.say("INFO", "too late");
        QCOMPARE(WindowBench::rowsOf(name).size(), rows);

        QVERIFY(QFile::remove(name));
        const QDateTime now = QDateTime::currentDateTime();
        for (int i = 0; i < 60; ++i) { // the first names of the next minute are taken
            QFile taken(now.addSecs(i).toString("'PacketTest_'yyyyMMdd_HHmmss'.csv'"));
            QVERIFY(taken.open(QIODevice::WriteOnly));
            QVERIFY(QFile::link("/none/there", taken.fileName().replace(".csv", "_2.csv")));
        }
        for (int run = 0; run < 2; ++run) {
            bench.call("onStartTest");
            const QString next = bench.status().section("Logging to: ", 1);
            QVERIFY(next.endsWith("_3.csv") || (run > 0 && next.endsWith("_4.csv")));
            bench.say("INFO", next);
            bench.call("onTestCompleted");
            QVERIFY(WindowBench::rowsOf(next).value(1).endsWith(next));
        }
        QCOMPARE(bench.eventFiles().size(), 62);
        for (const QString& file : bench.eventFiles().filter(QRegularExpression("\\d{6}.csv")))
            QVERIFY(WindowBench::rowsOf(file).isEmpty());
    }

    void runsOnWithoutIt()
    {
        for (const bool isFull : {true, false}) { // or there is no directory
            const WindowBench bench;
            const auto filesBefore = processUse().first;
            QVERIFY(isFull || QDir().removeRecursively());
            bench.call("onStartTest");
            QCOMPARE(bench.status().startsWith("Logging to: "), isFull);
            QVERIFY(bench.button("Stop Test")->isEnabled());
            leaveRoomOnTheDisk(200);
            for (int i = 0; i < 10; ++i)
                bench.say("INFO", "to the log at least");
            QCOMPARE(bench.log().filter("to the log").size(), 10);
            leaveRoomOnTheDisk(RLIM_INFINITY);
            bench.say("INFO", "last"); // and what did not fit before it
            QCOMPARE(bench.eventRows().size(), isFull ? 12 : 0);
            bench.call("onTestCompleted");
            QCOMPARE(processUse().first, filesBefore);
        }
    }

    void recordsTheRunAsSet()
    {
        const WindowBench bench;
        const ModuleThread module;
        QVERIFY(bench.connectTo(module.path()));
        bench.named<QSpinBox>("Min Data Size:")->setValue(34);
        bench.named<QSpinBox>("Max Data Size:")->setValue(33);
        const auto start = [&] { bench.startRun(200, 60); };
        QCOMPARE(bench.boxesOf(start),
                 QStringList{"Warning|Invalid Configuration|"
                             "Min data size cannot be greater than max data size."});
        QVERIFY(bench.eventFiles().isEmpty() && !bench.button("Stop Test")->isEnabled());
        bench.named<QSpinBox>("Min Data Size:")->setValue(30);
        bench.named<QSpinBox>("Duration:")->setValue(1);
        start();
        QVERIFY(bench.logHas("INFO: Test started: 200 pps, 30-33 bytes, 60ms timeout"));
        QVERIFY(bench.logHas(": Test completed"));           // by itself
        QVERIFY(bench.figure("Packets Sent:").toInt() > 20); // at the default rate: 10
        bench.named<QSpinBox>("Min Data Size:")->setValue(33);
        start();
        QVERIFY(bench.button("Stop Test")->isEnabled());
    }
};

QTEST_MAIN(LogTest)
#include "log_test.moc"
