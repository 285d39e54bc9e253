#include "simulator/ModuleThread.h"
#include "tests/support/WindowBench.h"

#include "engine/TestStats.h"

#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QRegularExpression>
#include <QTest>
#include <QTextCursor>

namespace {

const QStringList figures{"Packets Sent:", "Packets Received:", "Packets Lost:", "Success Rate:",
                          "Avg Latency:",  "Min Latency:",      "Max Latency:",  "Test Duration:"};

QStringList allFigures(const WindowBench& bench)
{
    QStringList texts;
    for (const QString& caption : figures)
        texts.append(bench.figure(caption));
    return texts;
}

void engineSays(const WindowBench& bench, const QString& type, const QString& message)
{
    QMetaObject::invokeMethod(bench.window.get(), "onLogMessage", Q_ARG(QString, type),
                              Q_ARG(QString, message));
}

QString colourOfLastLine(const QTextEdit* view)
{
    QTextCursor cursor(view->document());
    cursor.movePosition(QTextCursor::End);
    return cursor.charFormat().foreground().color().name();
}

QStringList boxTexts(QWidget* dialog)
{
    const auto* box = qobject_cast<QMessageBox*>(dialog);
    return box == nullptr ? QStringList() : QStringList{box->windowTitle(), box->text()};
}

} // namespace

/** Runs on the devices of ports.umockdev. */
class WindowTest : public QObject
{
    Q_OBJECT

private slots:
    void listsPorts()
    {
        const WindowBench bench;
        const auto* ports = bench.named<QComboBox>("Port:");
        QMap<QString, QString> shown; // the order is that of their last change
        for (int i = 0; i < ports->count(); ++i)
            shown.insert(ports->itemData(i).toString(), ports->itemText(i));
        const QMap<QString, QString> expected{{"/dev/ttyUSB0", "ttyUSB0 = USB_Serial"},
                                              {"/dev/ttyACM3", "ttyACM3 = Modem %1 of 100%"},
                                              {"/dev/ttyS7", "ttyS7"},
                                              {"/dev/ttyVN0", "ttyVN0 = "}};
        QCOMPARE(shown, expected);
        QCOMPARE(ports->currentIndex(), 0);
        QCOMPARE(bench.status(), "Found 4 port(s)");
        QStringList lines = bench.log();
        QVERIFY(lines.takeFirst().endsWith("] INFO: Refreshing port list..."));
        QVERIFY(lines.takeFirst().endsWith("] INFO: Found 4 ports"));
        QCOMPARE(lines.filter("INFO: Port: /dev/ttyUSB0 - ttyUSB0 = USB_Serial").size(), 1);
        QVERIFY(lines.constLast().endsWith("] INFO: Enumerated 4 port(s)"));
    }

    void beginsIdle()
    {
        const WindowBench bench;
        QCOMPARE(bench.window->windowTitle(), "Varnott Packet Brask Testing Tool");
        QCOMPARE(allFigures(bench),
                 (QStringList{"0", "0", "0 (0.0%)", "0.0%", "0 ms", "- ms", "- ms", "0 s"}));
        QCOMPARE(bench.named<QComboBox>("Baud Rate:")->currentData().toInt(), 115200);
        const QList<std::tuple<const char*, int, int, QString>> settings{
            {"Packets/Second:", 1, 1000, "10"},
            {"Min Data Size:", 0, 124, "1 bytes"},
            {"Max Data Size:", 0, 124, "124 bytes"},
            {"Timeout:", 50, 5000, "500 ms"},
            {"Duration:", 0, 3600, "0 sec (0=unlimited)"}};
        for (const auto& [caption, lowest, highest, text] : settings) {
            const auto* box = bench.named<QSpinBox>(caption);
            QCOMPARE(box->minimum(), lowest);
            QCOMPARE(box->maximum(), highest);
            QCOMPARE(box->text(), text);
            QVERIFY(box->isEnabled());
        }
        QVERIFY(!bench.button("Start Test")->isEnabled());
        QVERIFY(!bench.button("Stop Test")->isEnabled());
        QVERIFY(bench.button("Clear Stats")->isEnabled());
    }

    void warnsOfWrongInput()
    {
        WindowBench bench;
        auto* ports = bench.named<QComboBox>("Port:");
        ports->clear();
        QStringList texts;
        const auto take = [&texts](QWidget* dialog) { texts = boxTexts(dialog); };
        WindowBench::withDialog([&] { bench.button("Connect")->click(); }, take);
        QCOMPARE(texts,
                 (QStringList{"No Port Selected", "Please select a serial port from the list."}));

        bench.named<QSpinBox>("Min Data Size:")->setValue(100);
        bench.named<QSpinBox>("Max Data Size:")->setValue(50);
        WindowBench::withDialog(
            [&] { QMetaObject::invokeMethod(bench.window.get(), "onStartTest"); }, take);
        QCOMPARE(texts, (QStringList{"Invalid Configuration",
                                     "Min data size cannot be greater than max data size."}));
        QCOMPARE(bench.eventFiles(), QStringList());
    }

    void showsStatistics_data()
    {
        QTest::addColumn<TestStats>("stats");
        QTest::addColumn<QStringList>("texts");
        const int none = TestStats::noLatencyYet;
        const auto add = [&](const char* name, const TestStats& record, const char* texts) {
            QTest::newRow(name) << record << QString(texts).split('|');
        };
        add("none", {}, "0|0|0 (0.0%)|0.0%|- ms|- ms|- ms");
        add("some", {200, 150, 50, 75, 12, 0, 480}, "200|150|50 (25.0%)|75.0%|12 ms|0 ms|480 ms");
        add("rounded", {3, 2, 1, 200.0 / 3, 1, 1, 2}, "3|2|1 (33.3%)|66.7%|1 ms|1 ms|2 ms");
        add("lost", {4, 0, 4, 0.0, 5, 5, 5}, "4|0|4 (100.0%)|0.0%|- ms|- ms|- ms");
        add("not timed", {1, 1, 0, 100, 0, none, 0}, "1|1|0 (0.0%)|100.0%|- ms|- ms|- ms");
    }

    void showsStatistics()
    {
        QFETCH(TestStats, stats);
        WindowBench bench;
        stats.startTime = QDateTime::currentMSecsSinceEpoch() - 61900;
        QMetaObject::invokeMethod(bench.window.get(), "onStatisticsUpdated",
                                  Q_ARG(TestStats, stats));
        QTEST(allFigures(bench).first(7), "texts");
        QMetaObject::invokeMethod(bench.window.get(), "updateTestDuration");
        QCOMPARE(bench.figure("Test Duration:"), "61 s");

        bench.button("Clear Stats")->click();
        QCOMPARE(allFigures(bench),
                 (QStringList{"0", "0", "0 (0.0%)", "0.0%", "- ms", "- ms", "- ms", "61 s"}));
        QMetaObject::invokeMethod(bench.window.get(), "updateTestDuration");
        QCOMPARE(bench.figure("Test Duration:"), "61 s");
        QCOMPARE(bench.log().size(), 1);
        QVERIFY(bench.log().constFirst().endsWith("] INFO: Statistics cleared"));
    }

    void coloursAndBoundsTheLog()
    {
        const WindowBench bench;
        QTextEdit* view = bench.logView();
        view->clear();
        const QList<std::pair<QString, QString>> colours{
            {"SUCCESS", "#008000"}, {"success", "#000000"}, {"ERROR", "#ff0000"},
            {"TIMEOUT", "#ffa500"}, {"WARNING", "#ffa500"}, {"INFO", "#000000"}};
        for (const auto& [type, colour] : colours) {
            engineSays(bench, type, "100%, \"%1\" of %2");
            QVERIFY(bench.log().constLast().endsWith("] " + type + ": 100%, \"%1\" of %2"));
            QCOMPARE(colourOfLastLine(view), colour);
        }
        view->clear();
        for (int i = 0; i < 10000; ++i)
            engineSays(bench, "INFO", QString::number(i));
        QCOMPARE(bench.log().size(), 10000);
        engineSays(bench, "INFO", QString(500, 'x'));
        QCOMPARE(bench.log().size(), 9001);
        QVERIFY(bench.log().constFirst().endsWith("] INFO: 1000"));
        static const QRegularExpression line("^\\[\\d\\d:\\d\\d:\\d\\d\\.\\d{3}\\] INFO: 1000$");
        QVERIFY(line.match(bench.log().constFirst()).hasMatch());
        QVERIFY(!view->document()->isUndoAvailable());
    }

    void savesTheLog()
    {
        const WindowBench bench;
        QAction* save = bench.window->menuBar()->actions().constFirst()->menu()->actions().at(0);
        QCOMPARE(save->text(), "&Save Log...");
        WindowBench::withDialog([&] { save->trigger(); },
                                [](QWidget* dialog) {
                                    auto* name = dialog->findChild<QLineEdit*>("fileNameEdit");
                                    name->setText(QDir::current().absoluteFilePath("kept.txt"));
                                    QMetaObject::invokeMethod(dialog, "accept");
                                });
        QFile file("kept.txt");
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(file.readAll()), bench.logView()->toPlainText());
        QVERIFY(bench.status().startsWith("Log saved to: "));
        QVERIFY(bench.status().endsWith("kept.txt"));
    }

    void keepsFilesOfTheSameSecondApart()
    {
        WindowBench bench;
        // Every name of the next minute is taken, so the start must find another one.
        const QDateTime now = QDateTime::currentDateTime();
        for (int second = 0; second < 60; ++second) {
            QFile taken("PacketTest_" + now.addSecs(second).toString("yyyyMMdd_HHmmss") + ".csv");
            QVERIFY(taken.open(QIODevice::WriteOnly));
            taken.write("an earlier run\n");
        }
        const ModuleThread module;
        QVERIFY(bench.connectTo(module.path()));
        for (int run = 2; run <= 3; ++run) {
            bench.named<QSpinBox>("Timeout:")->setValue(50);
            bench.button("Start Test")->click();
            static const QRegularExpression name(
                "^Logging to: (PacketTest_\\d{8}_\\d{6}_[23]\\.csv)$");
            const QString fileName = name.match(bench.status()).captured(1);
            QCOMPARE(WindowBench::rowsOf(fileName).size(), 1);
            bench.button("Stop Test")->click();
            QTRY_VERIFY(bench.button("Start Test")->isEnabled());
            QVERIFY(WindowBench::rowsOf(fileName).size() >= 4);
        }
        QCOMPARE(bench.eventFiles().size(), 62);
        for (const QString& fileName :
             bench.eventFiles().filter(QRegularExpression("_\\d{6}\\.csv$")))
            QCOMPARE(WindowBench::rowsOf(fileName), QStringList{"an earlier run"});
    }

    void recoversFromARefusedStart()
    {
        WindowBench bench;
        WindowBench::withDialog(
            [&] { QMetaObject::invokeMethod(bench.window.get(), "onStartTest"); },
            [&](QWidget* dialog) {
                QCOMPARE(boxTexts(dialog), (QStringList{"Error", "Cannot start test: Not connected "
                                                                 "to a port"}));
                QVERIFY(bench.named<QSpinBox>("Timeout:")->isEnabled());
            });
        QVERIFY(!bench.button("Start Test")->isEnabled());
        QVERIFY(!bench.button("Stop Test")->isEnabled());
        QVERIFY(bench.button("Connect")->isEnabled());
        QCOMPARE(bench.eventFiles().size(), 1);
        engineSays(bench, "INFO", "later");
        QCOMPARE(WindowBench::rowsOf(bench.eventFiles().constFirst()).size(), 1);
    }
};

QTEST_MAIN(WindowTest)
#include "window_test.moc"
