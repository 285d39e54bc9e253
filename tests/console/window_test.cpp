#include "simulator/ModuleThread.h"
#include "tests/support/WindowBench.h"

#include "engine/TestStats.h"

#include <QAccessible>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTest>
#include <QTextCursor>

namespace {

QString allFigures(const WindowBench& bench)
{
    QStringList texts;
    for (const char* caption : {"Packets Sent:", "Packets Received:", "Packets Lost:",
                                "Success Rate:", "Avg Latency:", "Min Latency:", "Max Latency:"})
        texts.append(bench.figure(caption));
    return texts.join('|');
}

/** What a screen reader calls it: by its caption, or else by its own name. */
QString spokenName(QWidget* widget)
{
    QAccessibleInterface* control = QAccessible::queryAccessibleInterface(widget);
    for (const auto& [label, relation] : control->relations(QAccessible::Label))
        if (label->role() == QAccessible::StaticText) // a group's title labels all that is in it
            return label->text(QAccessible::Name);
    return control->text(QAccessible::Name);
}

} // namespace

/** Runs on the devices of ports.umockdev and 996 more. */
class WindowTest : public QObject
{
    Q_OBJECT

private slots:
    void listsPorts()
    {
        const WindowBench bench;
        const auto* ports = bench.named<QComboBox>("Port:");
        QStringList shown;
        for (int i = 0; i < ports->count(); ++i)
            shown += ports->itemData(i).toString() + ": " + ports->itemText(i);
        QStringList expected{"/dev/ttyUSB0: ttyUSB0 = USB_Serial",
                             "/dev/ttyACM3: ttyACM3 = Modem %1 of 100%", "/dev/ttyS7: ttyS7",
                             "/dev/ttyVN0: ttyVN0 = "};
        for (int i = 1; i <= 996; ++i)
            expected += QStringLiteral("/dev/ttyUSB%1: ttyUSB%1 = Adapter_%1").arg(i);
        shown.sort(); // the order is that of their last change
        expected.sort();
        QCOMPARE(shown, expected);
        QCOMPARE(bench.status(), "Found 1000 port(s)");
        const QStringList lines = bench.log();
        QVERIFY(lines.value(1).endsWith("] INFO: Found 1000 ports"));
        QCOMPARE(lines.filter("INFO: Port: /dev/ttyUSB0 - ttyUSB0 = USB_Serial").size(), 1);
        QVERIFY(lines.value(1002).endsWith("] INFO: Enumerated 1000 port(s)"));
    }

    void listsPortsDuringARun()
    {
        const WindowBench bench;
        ModuleThread module;
        QVERIFY(bench.connectTo(module.path()));
        bench.startRun(200, 2000); // looking for ports holds echoes up
        QTRY_VERIFY(bench.received() > 0);
        QMetaObject::invokeMethod(bench.window.get(), "onRefreshPorts");
        QCOMPARE(bench.named<QComboBox>("Port:")->count(), 1); // the engine looks, not the window
        QTRY_COMPARE(bench.named<QComboBox>("Port:")->count(), 1000);
        const int received = bench.received();
        QTRY_VERIFY(bench.received() > received);
        QVERIFY(bench.stops());
        QCOMPARE(module.counts().pingsReceived, quint64(bench.received()));
    }

    void beginsIdle()
    {
        const WindowBench bench;
        QCOMPARE(allFigures(bench), "0|0|0 (0.0%)|0.0%|0 ms|- ms|- ms");
        QCOMPARE(bench.figure("Test Duration:"), "0 s");
        QCOMPARE(bench.named<QComboBox>("Baud Rate:")->currentData().toInt(), 115200);
        QStringList settings;
        for (const char* caption :
             {"Packets/Second:", "Min Data Size:", "Max Data Size:", "Timeout:", "Duration:"}) {
            const auto* box = bench.named<QSpinBox>(caption);
            settings += QStringLiteral("%1-%2: ").arg(box->minimum()).arg(box->maximum());
            settings.back() += box->text();
        }
        QCOMPARE(settings, (QStringList{"1-1000: 10", "0-124: 1 bytes", "0-124: 124 bytes",
                                        "50-5000: 500 ms", "0-3600: 0 sec (0=unlimited)"}));
        QVERIFY(!bench.button("Start Test")->isEnabled() &&
                !bench.button("Stop Test")->isEnabled());
    }

    void namesEveryControlAndReachesItByTab()
    {
        const QStringList readingOrder{
            "Port:",          "Refresh",        "Baud Rate:", "Connect",  "Packets/Second:",
            "Min Data Size:", "Max Data Size:", "Stop Test",  "Timeout:", "Duration:",
            "Start Test",     "Clear Stats",    "Log",        "Port:"};
        const WindowBench bench;
        bench.button("Start Test")->setEnabled(true);
        bench.button("Stop Test")->setEnabled(true);
        QVERIFY(QTest::qWaitForWindowActive(bench.window.get()));
        QStringList reached;
        bench.named<QComboBox>("Port:")->setFocus();
        for (int i = 0; i < readingOrder.size(); ++i) {
            reached += spokenName(bench.window->focusWidget());
            QTest::keyClick(bench.window->focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(reached, readingOrder);
    }

    void followsTheWheelOnlyInFocus()
    {
        const WindowBench bench;
        QVERIFY(QTest::qWaitForWindowActive(bench.window.get()));
        const auto turnWheel = [](QWidget* field) {
            QWheelEvent down({5, 5}, field->mapToGlobal(QPointF(5, 5)), {}, {0, -120}, {}, {},
                             Qt::NoScrollPhase, false);
            QSpontaneKeyEvent::setSpontaneous(&down); // or else it gives no focus
            qApp->notify(field, &down);
        };
        auto* timeout = bench.named<QSpinBox>("Timeout:");
        auto* baudRate = bench.named<QComboBox>("Baud Rate:");
        baudRate->setCurrentIndex(3);
        turnWheel(baudRate), turnWheel(timeout);
        QCOMPARE(timeout->text() + baudRate->currentText(), "500 ms4800");
        timeout->setFocus();
        turnWheel(timeout);
        QCOMPARE(timeout->text(), "499 ms");
    }

    void fitsSmallAndWideScreens()
    {
        const WindowBench bench;
        auto* ports = bench.named<QComboBox>("Port:");
        ports->setItemText(0, QString(300, 'x'));
        QCoreApplication::sendPostedEvents(); // the layout's
        bench.window->resize(900, 450);       // a screen of 960 x 540 without frame and panel
        QCOMPARE(bench.window->size(), QSize(900, 450));
        QHelpEvent hover(QEvent::ToolTip, QPoint(5, 5), QPoint(5, 5));
        QApplication::sendEvent(ports, &hover);
        QCOMPARE(ports->toolTip(), ports->currentText());
        bench.window->resize(1920, 1000);
        const auto* sent = bench.named<QLabel>("Packets Sent:");
        QTRY_VERIFY(sent->x() < 150 && bench.named<QSpinBox>("Timeout:")->x() < 150);
        QVERIFY(sent->width() > 200 && bench.logView()->y() < 500);
    }

    void warnsOfWrongInput()
    {
        const WindowBench bench;
        QString text;
        const auto take = [&text](QWidget* dialog) {
            const auto* box = qobject_cast<QMessageBox*>(dialog);
            text = box->windowTitle() + ": " + box->text();
        };
        bench.named<QComboBox>("Port:")->clear();
        WindowBench::withDialog([&] { bench.button("Connect")->click(); }, take);
        QCOMPARE(text, "No Port Selected: Please select a serial port from the list.");

        bench.named<QSpinBox>("Min Data Size:")->setValue(100);
        bench.named<QSpinBox>("Max Data Size:")->setValue(50);
        const auto start = [&] { QMetaObject::invokeMethod(bench.window.get(), "onStartTest"); };
        WindowBench::withDialog(start, take);
        QCOMPARE(text, "Invalid Configuration: Min data size cannot be greater than max data "
                       "size.");
        QCOMPARE(bench.eventFiles(), QStringList());
    }

    void showsStatistics()
    {
        const WindowBench bench;
        const int none = TestStats::noLatencyYet;
        for (const auto& [record, texts] : QList<std::pair<TestStats, QString>>{
                 {{}, "0|0|0 (0.0%)|0.0%|- ms|- ms|- ms"},
                 {{200, 150, 50, 75, 12, 0, 480}, "200|150|50 (25.0%)|75.0%|12 ms|0 ms|480 ms"},
                 {{3, 2, 1, 200.0 / 3, 1, 1, 2}, "3|2|1 (33.3%)|66.7%|1 ms|1 ms|2 ms"},
                 {{4, 0, 4, 0.0, 5, 5, 5}, "4|0|4 (100.0%)|0.0%|- ms|- ms|- ms"},
                 {{4, 0, 4, 0.0, 0, none, 0}, "4|0|4 (100.0%)|0.0%|- ms|- ms|- ms"}}) {
            TestStats stats = record;
            stats.startTime = QDateTime::currentMSecsSinceEpoch() - 61000;
            QMetaObject::invokeMethod(bench.window.get(), "onStatisticsUpdated",
                                      Q_ARG(TestStats, stats));
            QMetaObject::invokeMethod(bench.window.get(), "updateTestDuration");
            QCOMPARE(allFigures(bench), texts);
            const QString duration = bench.figure("Test Duration:");
            const qint64 mostMs = QDateTime::currentMSecsSinceEpoch() - stats.startTime;
            const int shown = duration.chopped(2).toInt();
            QVERIFY2(shown >= 61 && shown <= mostMs / 1000, qPrintable(duration));
            bench.button("Clear Stats")->click();
            QMetaObject::invokeMethod(bench.window.get(), "updateTestDuration");
            QCOMPARE(bench.figure("Test Duration:"), duration);
            QCOMPARE(allFigures(bench), "0|0|0 (0.0%)|0.0%|- ms|- ms|- ms");
            QCOMPARE(bench.log().size(), 1);
            QVERIFY(bench.log().constFirst().endsWith("] INFO: Statistics cleared"));
        }
    }

    void coloursAndBoundsTheLog()
    {
        const WindowBench bench;
        const auto say = [&](const QString& type, const QString& message) {
            QMetaObject::invokeMethod(bench.window.get(), "onLogMessage", Q_ARG(QString, type),
                                      Q_ARG(QString, message));
        };
        for (const auto& [type, colour] : {std::pair("SUCCESS", "#008000"),
                                           {"success", "#000000"},
                                           {"ERROR", "#ff0000"},
                                           {"TIMEOUT", "#ffa500"},
                                           {"WARNING", "#ffa500"},
                                           {"INFO", "#000000"}}) {
            say(type, "100%, \"%1\" of %2");
            QVERIFY(bench.log().constLast().endsWith(type + QString(": 100%, \"%1\" of %2")));
            QTextCursor end(bench.logView()->document());
            end.movePosition(QTextCursor::End);
            QCOMPARE(end.charFormat().foreground().color().name(), colour);
        }
        const QScrollBar* bar = bench.logView()->verticalScrollBar();
        bench.window->resize(900, 400); // too low for the whole log
        QTRY_VERIFY(bar->maximum() > 0);
        QCOMPARE(bar->value(), bar->maximum());
        bench.logView()->clear();
        for (int i = 0; i < 10000; ++i)
            say("INFO", QString::number(i));
        QCOMPARE(bench.log().size(), 10000);
        say("INFO", QString(500, 'x'));
        QCOMPARE(bench.log().size(), 9001);
        static const QRegularExpression line("^\\[\\d\\d:\\d\\d:\\d\\d\\.\\d{3}\\] INFO: 1000$");
        QVERIFY(line.match(bench.log().constFirst()).hasMatch());
        QVERIFY(!bench.logView()->document()->isUndoAvailable());
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
        QCOMPARE(bench.status(), "Log saved to: " + QFileInfo(file).absoluteFilePath());
    }

    void keepsFilesOfTheSameSecondApart()
    {
        const WindowBench bench;
        const ModuleThread module;
        QVERIFY(bench.connectTo(module.path()));
        // Two names of every second of the next minute are taken.
        const QDateTime now = QDateTime::currentDateTime();
        for (int i = 0; i < 120; ++i) {
            const QString time = now.addSecs(i / 2).toString("yyyyMMdd_HHmmss");
            QFile taken("PacketTest_" + time + (i % 2 == 0 ? ".csv" : "_2.csv"));
            QVERIFY(taken.open(QIODevice::WriteOnly) && taken.write("an earlier run\n") > 0);
        }
        bench.startRun(10, 50);
        bench.window->menuBar()->setActiveAction(bench.window->menuBar()->actions().constFirst());
        const QString fileName = bench.status().section("Logging to: ", 1);
        QVERIFY(fileName.endsWith("_3.csv"));
        QCOMPARE(WindowBench::rowsOf(fileName).size(), 1);
        QVERIFY(bench.stops());
        QVERIFY(WindowBench::rowsOf(fileName).size() >= 4);
        const QStringList files = bench.eventFiles();
        QCOMPARE(files.size(), 121);
        for (const QString& file : files)
            QCOMPARE(WindowBench::rowsOf(file).size() == 1, file != fileName);
    }
};

QTEST_MAIN(WindowTest)
#include "window_test.moc"
