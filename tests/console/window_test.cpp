#include "console/fitToScreen.h"
#include "tests/support/WindowBench.h"
#include "tests/support/readme.h"

#include <QAccessible>
#include <QGridLayout>
#include <QGroupBox>
#include <QMenu>
#include <QMenuBar>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QScreen>
#include <QTest>
#include <QTimer>

namespace {

const QStringList settingCaptions{
    "Packets/Second:", "Min Data Size:", "Max Data Size:", "Timeout:", "Duration:"};

/** What a screen reader calls it: by its caption, or else by its own name. */
QString spokenName(QWidget* widget)
{
    QAccessibleInterface* control = QAccessible::queryAccessibleInterface(widget);
    for (const auto& [label, relation] : control->relations(QAccessible::Label))
        if (label->role() == QAccessible::StaticText) // a group's title labels all that is in it
            return label->text(QAccessible::Name);
    return control->text(QAccessible::Name);
}

/** One place of a panel: a text, * for what the caption before it names, or a width of nothing. */
QString cell(QLayoutItem* item, const QWidget* named)
{
    if (item == nullptr)
        return {};
    if (const QSpacerItem* space = item->spacerItem())
        return space->expandingDirections() != 0 ? "~" : QString::number(item->sizeHint().width());
    if (const auto* button = qobject_cast<QPushButton*>(item->widget()))
        return button->text();
    return item->widget() == named ? "*" : qobject_cast<QLabel*>(item->widget())->text();
}

QString placesIn(const QGroupBox* group)
{
    QStringList rows{group->title()};
    const auto* grid = qobject_cast<QGridLayout*>(group->layout());
    for (int row = 0; row < (grid != nullptr ? grid->rowCount() : 1); ++row) {
        const QWidget* named = nullptr;
        QStringList cells;
        const int columns = grid != nullptr ? grid->columnCount() : group->layout()->count();
        for (int column = 0; column < columns; ++column) {
            QLayoutItem* item = grid != nullptr ? grid->itemAtPosition(row, column)
                                                : group->layout()->itemAt(column);
            cells += cell(item, named);
            if (const auto* label = item ? qobject_cast<QLabel*>(item->widget()) : nullptr)
                named = label->buddy();
        }
        rows += cells.join('|');
    }
    return rows.join('\n');
}

QString look(const QPushButton* button)
{
    const auto colour = [button](QPalette::ColorGroup group) {
        return button->palette().color(group, QPalette::ButtonText).name();
    };
    return button->text() + ' ' + colour(QPalette::Active) + ' ' + colour(QPalette::Disabled) +
           ' ' + button->styleSheet();
}

} // namespace

/** The window itself: what is in it, where, and what can be used when. */
class WindowTest : public QObject
{
    Q_OBJECT

private slots:
    void looksAsDrawn()
    {
        const WindowBench bench;
        QCOMPARE(bench.window->windowTitle(), "Varnott Packet Brask Testing Tool");
        QCOMPARE(bench.window->size(), QSize(900, 700));
        const QLayout* layout = bench.window->centralWidget()->layout();
        const QStringList expected{
            "Connection\nPort:|*|Refresh|20|Baud Rate:|*|20|Connect|~",
            "Test Configuration\n"
            "Packets/Second:|*|Min Data Size:|*|Max Data Size:|*|Stop Test\n"
            "Timeout:|*|Duration:|*|*|Start Test|Clear Stats",
            "Statistics\n"
            "Packets Sent:|*|Packets Received:|*|Packets Lost:|*|Success Rate:|*\n"
            "Avg Latency:|*|Min Latency:|*|Max Latency:|*|Test Duration:|*"};
        for (int i = 0; i < 3; ++i) {
            const auto* group = qobject_cast<QGroupBox*>(layout->itemAt(i)->widget());
            QCOMPARE(placesIn(group), expected.at(i));
            const int needed = group->sizeHint().height();
            QVERIFY(group->maximumHeight() > needed * 5 / 4 &&
                    group->maximumHeight() < needed * 7 / 4);
        }
        QCOMPARE(layout->itemAt(3)->widget(), bench.logView());
        QCOMPARE(bench.named<QComboBox>("Port:")->minimumWidth(), 200);
        QCOMPARE(bench.named<QComboBox>("Baud Rate:")->minimumWidth(), 100);
        QCOMPARE(bench.button("Connect")->minimumWidth(), 100);
    }

    void takesTheSettingsOfTheReadme()
    {
        const WindowBench bench;
        QStringList rows;
        QStringList rates;
        const auto* baudRate = bench.named<QComboBox>("Baud Rate:");
        for (int i = 0; i < baudRate->count(); ++i) {
            rates += baudRate->itemText(i);
            QCOMPARE(baudRate->itemData(i), QVariant(rates.constLast().toInt()));
        }
        rows += "| Baud Rate | " + rates.join(", ") + " | " + baudRate->currentText() + " |";
        for (const QString& caption : settingCaptions) {
            const auto* box = bench.named<QSpinBox>(caption);
            rows += QStringLiteral("| %1 | %2 to %3 | %4 |")
                        .arg(caption.chopped(1))
                        .arg(box->minimum())
                        .arg(box->maximum())
                        .arg(box->text());
            QCOMPARE(box->singleStep(), 1);
        }
        QCOMPARE(rows, readmeTable("| Setting | Values | At first |"));
    }

    void offersWhatEachStateAllows()
    {
        QPalette theme;
        theme.setColor(QPalette::ButtonText, Qt::darkBlue);
        QApplication::setPalette(theme);
        const auto restored = qScopeGuard([] { QApplication::setPalette({}); });
        const WindowBench bench;
        QList<QWidget*> controls{bench.named<QComboBox>("Port:"), bench.button("Refresh"),
                                 bench.named<QComboBox>("Baud Rate:"), bench.button("Connect")};
        for (const QString& caption : settingCaptions)
            controls += bench.named<QSpinBox>(caption);
        for (const char* text : {"Start Test", "Stop Test", "Clear Stats"})
            controls += bench.button(text);
        const auto* connect = qobject_cast<QPushButton*>(controls.at(3));
        auto* start = bench.button("Start Test");
        const auto* ticks = bench.window->findChild<QTimer*>({}, Qt::FindDirectChildrenOnly);
        const QString plain = look(connect);
        const QString green = "Disconnect #000000 #505050 "
                              "QPushButton { background-color: #90EE90; }";
        // No module and no turn of the event loop: the engine's answers are the test's.
        const auto connected = [&] { bench.call("onConnectionChanged", true); };
        const auto gone = [&] { bench.call("onConnectionChanged", false); };
        const auto press = [&] { QTest::keyClick(bench.window->focusWidget(), Qt::Key_Space); };
        const auto startByKey = [&] { start->setFocus(), press(); };
        const auto completed = [&] { bench.call("onTestCompleted"); };
        const auto clearAndStart = [&] {
            controls.constLast()->setFocus();
            start->click();
        };
        struct Step
        {
            std::function<void()> act;
            QString usable; ///< of the controls in the order above, as their initials
            bool isGreen;
            const char* focus; ///< on the next thing to press
            QString status;
            bool ticks;
        };
        const QString connectedTo =
            "Connected to " + bench.named<QComboBox>("Port:")->currentText();
        for (const auto& [act, usable, isGreen, focus, status, isTicking] : QList<Step>{
                 {[&] { controls.at(3)->setFocus(); }, "PRBCpnxtd--c", false, "Connect",
                  "Found 4 port(s)3000", false},
                 {connected, "---Cpnxtds-c", true, "Disconnect", connectedTo + '0', false},
                 {startByKey, "----------oc", true, "Stop Test", "Logging to: 0", true},
                 {press, "----------oc", true, "Stop Test", "Logging to: 0", false},
                 {completed, "---Cpnxtds-c", true, "Start Test", "Logging to: 0", false},
                 {startByKey, "----------oc", true, "Stop Test", "Logging to: 0", true},
                 {completed, "---Cpnxtds-c", true, "Start Test", "Logging to: 0", false},
                 {startByKey, "----------oc", true, "Stop Test", "Logging to: 0", true},
                 {gone, "PRB-------oc", false, "Stop Test", "Disconnected0", true},
                 {completed, "PRBCpnxtd--c", false, "Connect", "Disconnected0", false},
                 {connected, "---Cpnxtds-c", true, "Disconnect", connectedTo + '0', false},
                 {[&] { start->setFocus(), gone(); }, "PRBCpnxtd--c", false, "Connect",
                  "Disconnected0", false},
                 {connected, "---Cpnxtds-c", true, "Disconnect", connectedTo + '0', false},
                 {clearAndStart, "----------oc", true, "Clear Stats", "Logging to: 0", true},
                 {completed, "---Cpnxtds-c", true, "Clear Stats", "Logging to: 0", false},
             }) {
            act();
            QString shown = "PRBCpnxtdsoc";
            for (qsizetype i = 0; i < controls.size(); ++i)
                if (!controls.at(i)->isEnabled())
                    shown[i] = '-';
            QCOMPARE(shown, usable);
            QCOMPARE(look(connect), isGreen ? green : plain);
            QCOMPARE(spokenName(bench.window->focusWidget()), focus);
            static const QRegularExpression file("PacketTest_.*csv");
            QCOMPARE(bench.status().remove(file) + QString::number(bench.statusMs()), status);
            QCOMPARE(ticks->isActive(), isTicking);
        }
        QCOMPARE(ticks->interval(), 1000);
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
            return down.isAccepted();
        };
        auto* ports = bench.named<QComboBox>("Port:");
        ports->addItems({"one", "two"});
        ports->setCurrentIndex(0);
        auto* baudRate = bench.named<QComboBox>("Baud Rate:");
        baudRate->setCurrentIndex(3);
        QList<QWidget*> fields{ports, baudRate};
        for (const QString& caption : settingCaptions)
            fields += bench.named<QSpinBox>(caption);
        const auto values = [&] {
            QString texts = ports->currentText() + baudRate->currentText();
            for (const QString& caption : settingCaptions)
                texts += bench.named<QSpinBox>(caption)->text();
            return texts;
        };
        const QString before = values();
        bench.button("Clear Stats")->setFocus();
        for (QWidget* field : fields) {
            QVERIFY2(!turnWheel(field), qPrintable(spokenName(field))); // may go on to others
            QCOMPARE(values(), before);
        }
        fields.at(5)->setFocus();
        QVERIFY(turnWheel(fields.at(5)));
        QCOMPARE(values(), QString(before).replace("500 ms", "499 ms"));
    }

    void fitsSmallAndWideScreens()
    {
        const WindowBench bench;
        auto* ports = bench.named<QComboBox>("Port:");
        const auto tipOfPorts = [ports] {
            QHelpEvent hover(QEvent::ToolTip, QPoint(5, 5), QPoint(5, 5));
            QApplication::sendEvent(ports, &hover);
            return ports->toolTip();
        };
        ports->setItemText(0, QString(300, 'x'));
        QCoreApplication::sendPostedEvents(); // the layout's
        bench.window->resize(900, 450);       // a screen of 960 x 540 without frame and panel
        QCOMPARE(bench.window->size(), QSize(900, 450));
        QCOMPARE(tipOfPorts(), ports->currentText());
        ports->setItemText(0, "short");
        QCOMPARE(tipOfPorts(), QString());
        bench.window->resize(1920, 1000);
        const auto* sent = bench.named<QLabel>("Packets Sent:");
        QTRY_VERIFY(sent->x() < 150 && bench.named<QSpinBox>("Timeout:")->x() < 150);
        QVERIFY(sent->width() > 200 && bench.named<QSpinBox>("Timeout:")->width() > 200);
        QVERIFY(bench.logView()->y() < 500);

        QWidget other;
        const QSize room = other.screen()->availableSize() - QSize(12, 42); // for a frame
        for (const auto& [size, fitted] : {std::pair(QSize(9000, 100), QSize(room.width(), 100)),
                                           {{100, 9000}, {100, room.height()}}}) {
            other.resize(size);
            fitToScreen(&other);
            QCOMPARE(other.size(), fitted);
        }
    }

    void offersItsMenu()
    {
        const WindowBench bench;
        QVERIFY(bench.window->menuBar()->actions().size() == 1);
        const QAction* file = bench.window->menuBar()->actions().constFirst();
        QStringList texts{file->text()};
        for (const QAction* entry : file->menu()->actions())
            texts += entry->isSeparator() ? "---" : entry->text() + entry->shortcut().toString();
        QCOMPARE(texts, (QStringList{"&File", "&Save Log...", "---", "E&xit"}));
        const QString status = bench.status();
        for (QAction* entry : file->menu()->actions())
            entry->hover();
        bench.window->menuBar()->setActiveAction(bench.window->menuBar()->actions().constFirst());
        QCOMPARE(bench.status(), status); // no empty tip in its place
        file->menu()->actions().constLast()->trigger();
        QVERIFY(!bench.window->isVisible());
    }
};

QTEST_MAIN(WindowTest)
#include "window_test.moc"
