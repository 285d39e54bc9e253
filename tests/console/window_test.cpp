#include "console/windowHabits.h"
#include "tests/support/WindowBench.h"

namespace {

QStringList settingCaptions()
{
    return {"Packets/Second:", "Min Data Size:", "Max Data Size:", "Timeout:", "Duration:"};
}

QList<QWidget*> fieldsOf(const WindowBench& bench)
{
    QList<QWidget*> fields{bench.named<QComboBox>("Port:"), bench.named<QComboBox>("Baud Rate:")};
    for (const QString& caption : settingCaptions())
        fields += bench.named<QSpinBox>(caption);
    return fields;
}

/** A panel place by place: texts, * for what the caption before it names, widths of nothing. */
QString placesIn(const QGroupBox* group)
{
    QString places = group->title();
    auto* grid = qobject_cast<QGridLayout*>(group->layout());
    const QWidget* named = nullptr;
    for (int i = 0; i < group->layout()->count(); ++i) {
        int row = 0, column = i, rows = 1, columns = 1;
        if (grid != nullptr)
            grid->getItemPosition(i, &row, &column, &rows, &columns);
        QLayoutItem* item = group->layout()->itemAt(i);
        const auto* label = qobject_cast<QLabel*>(item->widget());
        const auto* button = qobject_cast<QPushButton*>(item->widget());
        places += QStringLiteral("|%1.%2").arg(row).arg(column + 10 * (columns - 1));
        places += QString(grid != nullptr ? grid->columnStretch(column) : 0, '+') + ' ';
        places += item->spacerItem() != nullptr ? QString::number(item->sizeHint().width())
                  : item->widget() == named     ? "*" + named->styleSheet()
                  : label != nullptr            ? label->text()
                                                : button->text();
        if (item->widget() != nullptr && item->widget()->minimumWidth() > 0)
            places += QString::number(item->widget()->minimumWidth());
        named = label == nullptr ? nullptr : label->buddy();
    }
    return places;
}

QString look(const QPushButton* button)
{
    const QPalette& colours = button->palette();
    return button->text() + colours.color(QPalette::Active, QPalette::ButtonText).name() +
           colours.color(QPalette::Disabled, QPalette::ButtonText).name() + button->styleSheet();
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
        const QAction* file = bench.window->menuBar()->actions().constFirst();
        QStringList looks{bench.window->windowTitle(), file->text()};
        for (const QAction* entry : file->menu()->actions())
            looks.last() += '|' + entry->text() + entry->shortcut().toString();
        const QLayout* layout = bench.window->centralWidget()->layout();
        for (int i = 0; i < 3; ++i) {
            const auto* group = qobject_cast<QGroupBox*>(layout->itemAt(i)->widget());
            looks += placesIn(group);
            const double spare = 1.0 * group->maximumHeight() / group->sizeHint().height();
            QVERIFY(spare > 1.25 && spare < 1.75);
        }
        QCOMPARE(layout->itemAt(3)->widget(), bench.logView());
        QCOMPARE(looks, WindowBench::rowsOf(LOOKS));
        QCOMPARE(bench.window->size(), QSize(900, 700));
        bench.named<QComboBox>("Port:")->setItemText(0, QString(300, 'x'));
        QCoreApplication::sendPostedEvents(); // the layout's
        bench.window->resize(900, 450);       // a screen of 960 x 540 without frame and panel
        QCOMPARE(bench.window->size(), QSize(900, 450));
        file->menu()->actions().constLast()->trigger();
        QVERIFY(!bench.window->isVisible());
        QWidget large;
        large.resize(9000, 9000);
        fitToScreen(&large);
        QCOMPARE(large.size(), large.screen()->availableSize() - QSize(12, 42)); // for a frame
    }

    void takesTheSettingsOfTheReadmeAndTheWheelInFocus()
    {
        const WindowBench bench;
        auto* baudRate = bench.named<QComboBox>("Baud Rate:");
        QStringList rates;
        for (int i = 0; i < baudRate->count(); ++i) {
            rates += baudRate->itemText(i);
            QCOMPARE(baudRate->itemData(i), QVariant(rates.constLast().toInt()));
        }
        QStringList rows{"| Baud Rate | " + rates.join(", ") + " | " + baudRate->currentText() +
                         " |"};
        for (const QString& caption : settingCaptions()) {
            const auto* box = bench.named<QSpinBox>(caption);
            const QString range =
                QStringLiteral("%1 to %2").arg(box->minimum()).arg(box->maximum());
            rows += "| " + caption.chopped(1) + " | " + range + " | " + box->text() + " |";
            QCOMPARE(box->singleStep(), 1);
        }
        QCOMPARE(rows, WindowBench::readmeTable("| Setting | Values | At first |"));
        QVERIFY(QTest::qWaitForWindowActive(bench.window.get())); // or nothing has the focus
        bench.named<QSpinBox>("Duration:")->setValue(1);
        baudRate->setCurrentIndex(3);
        for (QWidget* field : fieldsOf(bench)) {
            QCOMPARE(field->focusPolicy(), Qt::StrongFocus); // the wheel does not give it
            const QMetaProperty value = field->metaObject()->userProperty();
            for (const bool isHeld : {false, true}) {
                (isHeld ? field : bench.button("Clear Stats"))->setFocus();
                const QVariant before = value.read(field);
                QWheelEvent turn({5, 5}, {5, 5}, {}, {0, -120}, {}, {}, Qt::NoScrollPhase, false);
                QApplication::sendEvent(field, &turn);
                QCOMPARE(value.read(field) != before, isHeld);
                QCOMPARE(turn.isAccepted(), isHeld); // or it is for what lies behind
            }
        }
    }

    void offersWhatEachStateAllows()
    {
        QApplication::setPalette(Qt::darkBlue); // a dark theme
        const WindowBench bench;
        QList<QWidget*> controls = fieldsOf(bench);
        for (const char* text : {"Refresh", "Connect", "Start Test", "Stop Test", "Clear Stats"})
            controls += bench.button(text);
        const auto* connect = bench.button("Connect");
        auto* start = bench.button("Start Test");
        const auto* ticks = bench.window->findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
        const QString plain = look(connect);
        // No module and no turn of the event loop: the engine's answers are the test's.
        const auto connected = [&] { bench.call("onConnectionChanged", true); };
        const auto gone = [&] { bench.call("onConnectionChanged", false); };
        const auto press = [&] { QTest::keyClick(bench.window->focusWidget(), Qt::Key_Space); };
        const auto startByKey = [&] { start->setFocus(), press(); };
        const auto startUnheld = [&] { controls.at(11)->setFocus(), start->click(); };
        const auto completed = [&] { bench.call("onTestCompleted"); };
        // What can be used, by initials in the order above; the connected look; the next thing to
        // press; whether the duration ticks; the status.
        const QString to = "Connected to " + bench.named<QComboBox>("Port:")->currentText();
        controls.at(8)->setFocus();
        for (const auto& [act, expected] : QList<std::pair<std::function<void()>, QString>>{
                 {[] {}, "PBpnxtdRC--c-Connect-Found 4 port(s)|3000"},
                 {connected, "--pnxtd-Cs-c+Disconnect-" + to},
                 {startByKey, "----------oc+Stop Test+Logging to: "},
                 {press, "----------oc+Stop Test-Logging to: "},
                 {completed, "--pnxtd-Cs-c+Start Test-Logging to: "},
                 {[&] { gone(), connected(); }, "--pnxtd-Cs-c+Disconnect-" + to},
                 {startUnheld, "----------oc+Clear Stats+Logging to: "},
                 {completed, "--pnxtd-Cs-c+Clear Stats-Logging to: "},
                 {startByKey, "----------oc+Stop Test+Logging to: "},
                 {gone, "PB-----R--oc-Stop Test+Disconnected"},
                 {completed, "PBpnxtdRC--c-Connect-Disconnected"}}) {
            act();
            QString shown = "PBpnxtdRCsoc";
            for (qsizetype i = 0; i < controls.size(); ++i)
                if (!controls.at(i)->isEnabled())
                    shown[i] = '-';
            const QString green =
                "Disconnect#000000#505050QPushButton { background-color: #90EE90; }";
            shown += look(connect) == plain ? "-" : look(connect) == green ? "+" : "?";
            shown += bench.window->focusWidget()->property("text").toString();
            shown += (ticks->isActive() ? '+' : '-') + bench.status();
            static const QRegularExpression file("PacketTest_.*csv");
            QCOMPARE(shown.remove(file), expected);
        }
        QCOMPARE(ticks->interval(), 1000);
    }
};

QTEST_MAIN(WindowTest)
#include "window_test.moc"
