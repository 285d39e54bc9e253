#include "tests/support/WindowBench.h"

#include <QAccessible>
#include <QTest>

namespace {

/** What a screen reader calls it: by its caption, or else by its own name. */
QString spokenName(QAccessibleInterface* control)
{
    for (const auto& [label, relation] : control->relations(QAccessible::Label))
        if (label->role() == QAccessible::StaticText) // a group's title labels all that is in it
            return label->text(QAccessible::Name);
    return control->text(QAccessible::Name);
}

/** The names of everything below `parent` that takes the focus, parts of controls left out. */
QStringList controlNames(QAccessibleInterface* parent)
{
    QStringList names;
    for (int index = 0; index < parent->childCount(); ++index) {
        QAccessibleInterface* child = parent->child(index);
        const auto* widget = qobject_cast<QWidget*>(child->object());
        if (widget != nullptr && widget->focusPolicy() != Qt::NoFocus)
            names += spokenName(child);
        else
            names += controlNames(child);
    }
    return names;
}

} // namespace

class AccessibilityTest : public QObject
{
    Q_OBJECT

private slots:
    void everyControlIsNamedAndReachedByTab()
    {
        const QStringList readingOrder{
            "Port:",          "Refresh",        "Baud Rate:", "Connect",  "Packets/Second:",
            "Min Data Size:", "Max Data Size:", "Stop Test",  "Timeout:", "Duration:",
            "Start Test",     "Clear Stats",    "Log"};
        const WindowBench bench;
        bench.button("Start Test")->setEnabled(true);
        bench.button("Stop Test")->setEnabled(true);
        QStringList named = controlNames(QAccessible::queryAccessibleInterface(bench.window.get()));
        named.sort();
        QStringList expected = readingOrder;
        expected.sort();
        QCOMPARE(named, expected);

        bench.window->show();
        QVERIFY(QTest::qWaitForWindowActive(bench.window.get()));
        QStringList reached;
        bench.named<QComboBox>("Port:")->setFocus();
        while (reached.size() < readingOrder.size()) {
            QWidget* focused = bench.window->focusWidget();
            reached += spokenName(QAccessible::queryAccessibleInterface(focused));
            QTest::keyClick(focused, Qt::Key_Tab);
        }
        QCOMPARE(reached, readingOrder);
    }
};

QTEST_MAIN(AccessibilityTest)
#include "accessibility_test.moc"
