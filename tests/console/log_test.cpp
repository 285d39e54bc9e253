#include "tests/support/WindowBench.h"

#include "engine/TestStats.h"

#include <QApplication>
#include <QDateTime>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QScopeGuard>
#include <QScrollBar>
#include <QTest>
#include <QTextCursor>
#include <QTimer>

namespace {

QString allFigures(const WindowBench& bench)
{
    QString texts;
    for (const char* caption : {"Packets Sent:", "Packets Received:", "Packets Lost:",
                                "Success Rate:", "Avg Latency:", "Min Latency:", "Max Latency:"})
        texts += bench.figure(caption) + '|';
    return texts.chopped(1);
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
        for (const auto& [record, texts] : QList<std::pair<TestStats, QString>>{
                 {{}, "0|0|0 (0.0%)|0.0%|- ms|- ms|- ms"},
                 {{200, 150, 50, 75, 12, 0, 480}, "200|150|50 (25.0%)|75.0%|12 ms|0 ms|480 ms"},
                 {{3, 2, 1, 200.0 / 3, 1, 1, 2}, "3|2|1 (33.3%)|66.7%|1 ms|1 ms|2 ms"},
                 {{1, 1, 0, 100, 7, 7, 7}, "1|1|0 (0.0%)|100.0%|7 ms|7 ms|7 ms"},
                 {{1, 0, 1, 0.0, 5, 5, 5}, "1|0|1 (100.0%)|0.0%|- ms|- ms|- ms"},
                 {{1ULL << 40, 0, 4}, "1099511627776|0|4 (0.0%)|0.0%|- ms|- ms|- ms"}}) {
            bench.call("onStatisticsUpdated", record);
            QCOMPARE(allFigures(bench), texts);
            bench.button("Clear Stats")->click();
            QCOMPARE(allFigures(bench), "0|0|0 (0.0%)|0.0%|- ms|- ms|- ms");
            QCOMPARE(bench.log().size(), 1);
            QVERIFY(bench.log().constFirst().endsWith("] INFO: Statistics cleared"));
        }
        for (const auto& [caption, colour] : {std::pair("Packets Sent:", ""),
                                              {"Packets Received:", " color: green;"},
                                              {"Packets Lost:", " color: red;"},
                                              {"Test Duration:", ""}})
            QCOMPARE(bench.named<QLabel>(caption)->styleSheet(),
                     QStringLiteral("QLabel { font-weight: bold;%1 }").arg(colour));
    }

    void tellsTheDuration()
    {
        const WindowBench bench;
        bench.window->findChild<QTimer*>({}, Qt::FindDirectChildrenOnly)->start(1);
        const auto shows = [&](qint64 agoMs, const QString& before) {
            TestStats stats;
            stats.startTime = QDateTime::currentMSecsSinceEpoch() - agoMs;
            bench.call("onStatisticsUpdated", stats);
            const bool shown =
                QTest::qWaitFor([&] { return bench.figure("Test Duration:") != before; });
            const qint64 mostMs = QDateTime::currentMSecsSinceEpoch() - stats.startTime;
            const qint64 seconds = bench.figure("Test Duration:").chopped(2).toLongLong();
            return shown && seconds >= std::max(agoMs / 1000, 0LL) &&
                   seconds <= std::max(mostMs / 1000, 0LL);
        };
        QCOMPARE(bench.figure("Test Duration:"), "0 s");
        QVERIFY(shows(3'599'500, "0 s"));
        const QString duration = bench.figure("Test Duration:");
        bench.button("Clear Stats")->click();
        bench.call("updateTestDuration");
        QCOMPARE(bench.figure("Test Duration:"), duration);
        QVERIFY(shows(-60000, duration)); // the clock was set back
    }

    void coloursLines()
    {
        QPalette theme;
        for (const auto role : {QPalette::Base, QPalette::Text, QPalette::PlaceholderText})
            theme.setColor(role, Qt::magenta);
        QApplication::setPalette(theme);
        const auto restored = qScopeGuard([] { QApplication::setPalette({}); });
        const WindowBench bench;
        const QTextEdit* view = bench.logView();
        const QPalette colours = view->palette();
        QCOMPARE(colours.color(QPalette::Base), QColor(Qt::white));
        QCOMPARE(colours.color(QPalette::Text), QColor(Qt::black));
        QCOMPARE(colours.color(QPalette::PlaceholderText), QColor(Qt::darkGray));
        QCOMPARE(view->placeholderText(), "Log messages will appear here...");
        QVERIFY(view->isReadOnly() && view->maximumHeight() == 250);
        const QString message = "100%, \"%1\" of %2";
        for (const auto& [type, colour] : {std::pair("SUCCESS", "#008000"),
                                           {"success", "#000000"},
                                           {"TIMEOUT", "#ffa500"},
                                           {"WARNING", "#ffa500"},
                                           {"INFO", "#000000"},
                                           {"", "#000000"},
                                           {"ERROR", "#ff0000"}}) {
            if (type == QString("ERROR"))
                QCOMPARE(WindowBench::boxOf([&] { bench.call("onErrorOccurred", message); }),
                         "Critical|Error|" + message);
            else
                bench.say(type, message);
            QCOMPARE(bench.log().constLast().mid(13), QString("] ") + type + ": " + message);
            const auto time = QTime::fromString(bench.log().constLast().mid(1, 12), "hh:mm:ss.zzz");
            const int dayMs = 86'400'000;
            QVERIFY((time.msecsTo(QTime::currentTime()) + dayMs) % dayMs < 60'000);
            QTextCursor end(view->document());
            end.movePosition(QTextCursor::End);
            QCOMPARE(end.charFormat().foreground().color().name(), colour);
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
    }

    void staysAtItsEnd()
    {
        const WindowBench bench;
        QScrollBar* bar = bench.logView()->verticalScrollBar();
        for (int i = 0; i < 40; ++i)
            bench.say("INFO", QString::number(i));
        for (const int height : {700, 420, 400}) { // too low for the whole log
            const int before = height == 700 ? 0 : bar->maximum();
            bench.window->resize(900, height);
            QTRY_VERIFY(bar->maximum() > before);
            QCOMPARE(bar->value(), bar->maximum());
        }
        const int read = bar->maximum() - 1;
        bar->setValue(read);
        bench.window->resize(900, 380);
        QTRY_VERIFY(bar->maximum() > read + 1);
        QCOMPARE(bar->value(), read);
        bench.say("INFO", "new");
        QCOMPARE(bar->value(), bar->maximum());
    }

    void savesTheLog()
    {
        const WindowBench bench;
        QAction* save = bench.window->menuBar()->actions().constFirst()->menu()->actions().at(0);
        const auto act = [save] { save->trigger(); };
        const auto saveAs = [](const QString& name) {
            return [name](QWidget* widget) {
                const auto* dialog = qobject_cast<QFileDialog*>(widget);
                QCOMPARE(dialog->windowTitle(), "Save Log File");
                QCOMPARE(dialog->nameFilters().join('|'), "Text Files (*.txt)|All Files (*)");
                auto* field = dialog->findChild<QLineEdit*>("fileNameEdit");
                QCOMPARE(field->text(), "");
                field->setText(QDir::current().absoluteFilePath(name));
                QMetaObject::invokeMethod(widget, "accept");
            };
        };
        bench.say("INFO", QString::fromUtf8("\u00fc \u20ac"));
        QCOMPARE(WindowBench::boxOf(act, {saveAs("kept.txt")}), "");
        QCOMPARE(WindowBench::rowsOf("kept.txt"), bench.log());
        QCOMPARE(bench.status(), "Log saved to: " + QDir().absoluteFilePath("kept.txt") + "|3000");
        bench.window->statusBar()->showMessage("as before");
        QCOMPARE(WindowBench::boxOf(act, {saveAs("none/kept.txt"), [](auto) {}}),
                 "Warning|Save Failed|Could not save log file: No such file or directory");
        QCOMPARE(WindowBench::boxOf(act), ""); // closed without a name
        QCOMPARE(bench.status(), "as before");
        QCOMPARE(QDir().entryList(QDir::Files), QStringList{"kept.txt"});
    }
};

QTEST_MAIN(LogTest)
#include "log_test.moc"
