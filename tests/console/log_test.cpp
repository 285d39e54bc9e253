#include "tests/support/WindowBench.h"

#include "engine/TestStats.h"

#include <QApplication>
#include <QDateTime>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QScrollBar>
#include <QTest>
#include <QTextCursor>
#include <QTimer>

namespace {

QString allFigures(const WindowBench& bench)
{
    QStringList texts;
    for (const char* caption : {"Packets Sent:", "Packets Received:", "Packets Lost:",
                                "Success Rate:", "Avg Latency:", "Min Latency:", "Max Latency:"})
        texts.append(bench.figure(caption));
    return texts.join('|');
}

/** In the dialog for the log's file: takes `name`. */
WindowBench::Handler saveAs(const QString& name)
{
    return [name](QWidget* widget) {
        auto* dialog = qobject_cast<QFileDialog*>(widget);
        QCOMPARE(dialog->windowTitle(), "Save Log File");
        QCOMPARE(dialog->nameFilters(), (QStringList{"Text Files (*.txt)", "All Files (*)"}));
        QCOMPARE(dialog->acceptMode(), QFileDialog::AcceptSave);
        auto* field = dialog->findChild<QLineEdit*>("fileNameEdit");
        QCOMPARE(field->text(), "");
        field->setText(QDir::current().absoluteFilePath(name));
        QMetaObject::invokeMethod(dialog, "accept");
    };
}

} // namespace

/** What the window tells: figures and log. */
class LogTest : public QObject
{
    Q_OBJECT

private slots:
    void showsFigures()
    {
        const WindowBench bench;
        QCOMPARE(allFigures(bench), "0|0|0 (0.0%)|0.0%|0 ms|- ms|- ms");
        const int none = TestStats::noLatencyYet;
        for (const auto& [record, texts] : QList<std::pair<TestStats, QString>>{
                 {{}, "0|0|0 (0.0%)|0.0%|- ms|- ms|- ms"},
                 {{200, 150, 50, 75, 12, 0, 480}, "200|150|50 (25.0%)|75.0%|12 ms|0 ms|480 ms"},
                 {{3, 2, 1, 200.0 / 3, 1, 1, 2}, "3|2|1 (33.3%)|66.7%|1 ms|1 ms|2 ms"},
                 {{1, 1, 0, 100, 7, 7, 7}, "1|1|0 (0.0%)|100.0%|7 ms|7 ms|7 ms"},
                 {{1, 0, 1, 0.0, 5, 5, 5}, "1|0|1 (100.0%)|0.0%|- ms|- ms|- ms"},
                 {{5000000000, 0, 4, 0.0, 0, none, 0},
                  "5000000000|0|4 (0.0%)|0.0%|- ms|- ms|- ms"}}) {
            bench.call("onStatisticsUpdated", record);
            QCOMPARE(allFigures(bench), texts);
            bench.button("Clear Stats")->click();
            QCOMPARE(allFigures(bench), "0|0|0 (0.0%)|0.0%|- ms|- ms|- ms");
            QCOMPARE(bench.log().size(), 1);
            QVERIFY(bench.log().constFirst().endsWith("] INFO: Statistics cleared"));
        }
        for (const QLabel* caption : bench.window->findChildren<QLabel*>()) {
            const auto* value = qobject_cast<QLabel*>(caption->buddy());
            if (value == nullptr)
                continue;
            const QString colour = caption->text() == "Packets Received:" ? " color: green;"
                                   : caption->text() == "Packets Lost:"   ? " color: red;"
                                                                          : "";
            QCOMPARE(value->styleSheet(), "QLabel { font-weight: bold;" + colour + " }");
        }
    }

    void tellsTheDuration()
    {
        const WindowBench bench;
        bench.call("updateTestDuration");
        QCOMPARE(bench.figure("Test Duration:"), "0 s");
        TestStats stats;
        stats.startTime = QDateTime::currentMSecsSinceEpoch() - 3'599'900;
        bench.call("onStatisticsUpdated", stats);
        QCOMPARE(bench.figure("Test Duration:"), "0 s");
        bench.window->findChild<QTimer*>({}, Qt::FindDirectChildrenOnly)->start(1);
        QTRY_VERIFY(bench.figure("Test Duration:") != "0 s");
        const qint64 mostMs = QDateTime::currentMSecsSinceEpoch() - stats.startTime;
        const QString duration = bench.figure("Test Duration:");
        QVERIFY2(duration == "3599 s" || (mostMs >= 3'600'000 && duration == "3600 s"),
                 qPrintable(duration));
        bench.button("Clear Stats")->click();
        bench.call("updateTestDuration");
        QCOMPARE(bench.figure("Test Duration:"), duration);
        stats.startTime = QDateTime::currentMSecsSinceEpoch() + 60000; // the clock was set back
        bench.call("onStatisticsUpdated", stats);
        bench.call("updateTestDuration");
        QCOMPARE(bench.figure("Test Duration:"), "0 s");
    }

    void coloursLines()
    {
        QPalette dark;
        for (const auto role : {QPalette::Base, QPalette::Text, QPalette::PlaceholderText})
            dark.setColor(role, Qt::magenta);
        QApplication::setPalette(dark);
        const WindowBench bench;
        QApplication::setPalette({});
        const QTextEdit* view = bench.logView();
        QCOMPARE(view->palette().color(QPalette::Base), QColor(Qt::white));
        QCOMPARE(view->palette().color(QPalette::Text), QColor(Qt::black));
        QCOMPARE(view->palette().color(QPalette::PlaceholderText), QColor(Qt::darkGray));
        QCOMPARE(view->placeholderText(), "Log messages will appear here...");
        QVERIFY(view->isReadOnly());
        QCOMPARE(view->maximumHeight(), 250);
        const auto lineSays = [&](const QString& text, const QTime& from, const char* colour) {
            const QTime time =
                QTime::fromString(bench.log().constLast().mid(1, 12), "hh:mm:ss.zzz");
            const int dayMs = 24 * 60 * 60 * 1000;
            const auto since = [&](const QTime& later) {
                return (from.msecsTo(later) + dayMs) % dayMs;
            };
            QVERIFY(time.isValid() && since(time) <= since(QTime::currentTime()));
            QCOMPARE(bench.log().constLast().mid(13), "] " + text);
            QTextCursor end(view->document());
            end.movePosition(QTextCursor::End);
            QCOMPARE(end.charFormat().foreground().color().name(), colour);
        };
        for (const auto& [type, colour] : {std::pair("SUCCESS", "#008000"),
                                           {"success", "#000000"},
                                           {"ERROR", "#ff0000"},
                                           {"TIMEOUT", "#ffa500"},
                                           {"WARNING", "#ffa500"},
                                           {"INFO", "#000000"},
                                           {"", "#000000"}}) {
            const QTime from = QTime::currentTime();
            bench.say(type, "100%, \"%1\" of %2");
            lineSays(type + QString(": 100%, \"%1\" of %2"), from, colour);
        }
        const QTime from = QTime::currentTime();
        QCOMPARE(WindowBench::boxOf([&] { bench.call("onErrorOccurred", QString("gone %1")); }),
                 "Critical|Error|gone %1");
        lineSays("ERROR: gone %1", from, "#ff0000");
    }

    void boundsTheLog()
    {
        const WindowBench bench;
        QTextEdit* view = bench.logView();
        // Lines wider than the window are lines, too.
        view->setPlainText(QString("first\n") + QString("word ").repeated(100) + "\nthird" +
                           QString("\nx").repeated(9996));
        bench.say("INFO", "the last that fits");
        QCOMPARE(view->document()->blockCount(), 10000);
        QVERIFY(bench.log().constFirst() == "first");
        view->moveCursor(QTextCursor::End); // the operator's
        bench.say("INFO", "one too many");
        QCOMPARE(view->document()->blockCount(), 9001);
        QVERIFY(bench.log().constLast().endsWith("INFO: one too many"));
        QCOMPARE(bench.log().constFirst(), "x");
        QVERIFY(!view->document()->isUndoAvailable());
        QCOMPARE(view->verticalScrollBar()->value(), view->verticalScrollBar()->maximum());
    }

    void staysAtItsEnd()
    {
        const WindowBench bench;
        const QScrollBar* bar = bench.logView()->verticalScrollBar();
        const auto isAtEnd = [bar] { return bar->value() == bar->maximum(); };
        for (int i = 0; i < 40; ++i)
            bench.say("INFO", QString::number(i));
        int maximum = bar->maximum();
        QVERIFY(maximum > 0 && isAtEnd());
        for (const int height : {420, 400}) { // too low for the whole log
            bench.window->resize(900, height);
            QTRY_VERIFY(bar->maximum() > maximum);
            QVERIFY(isAtEnd());
            maximum = bar->maximum();
        }
        bench.logView()->verticalScrollBar()->setValue(maximum - 1);
        bench.window->resize(900, 380);
        QTRY_VERIFY(bar->maximum() > maximum);
        QCOMPARE(bar->value(), maximum - 1); // the operator reads there
        bench.say("INFO", "new");
        QVERIFY(isAtEnd());
    }

    void savesTheLog()
    {
        const WindowBench bench;
        QAction* save = bench.window->menuBar()->actions().constFirst()->menu()->actions().at(0);
        const auto act = [save] { save->trigger(); };
        bench.say("INFO", QString::fromUtf8("\u00fc \u20ac"));
        WindowBench::withDialogs(act, {saveAs("kept.txt")});
        QFile file("kept.txt");
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(file.readAll()), bench.logView()->toPlainText());
        QCOMPARE(bench.status() + QString::number(bench.statusMs()),
                 "Log saved to: " + QFileInfo(file).absoluteFilePath() + "3000");

        bench.window->statusBar()->clearMessage();
        QString failure;
        const auto readBox = [&failure](QWidget* dialog) { failure = WindowBench::textOf(dialog); };
        WindowBench::withDialogs(act, {saveAs("no such directory/kept.txt"), readBox});
        QCOMPARE(failure, "Warning|Save Failed|Could not save log file: No such file or directory");
        WindowBench::withDialogs(act, {[](QWidget*) {}}); // closed without a name
        QCOMPARE(bench.status(), "");
        QCOMPARE(QDir().entryList(QDir::Files), QStringList{"kept.txt"});
    }
};

QTEST_MAIN(LogTest)
#include "log_test.moc"
