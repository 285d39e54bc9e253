#include <QtTest>
#include <QtWidgets>

#include <csignal>

int windowMain(int argc, char* argv[]); // the program's

namespace {

QStringList seen;

/** Called by the program's application; looks as soon as that waits for something, and ends it. */
void lookAndEnd()
{
    const auto look = [] {
        const auto windows = QApplication::topLevelWidgets();
        const auto* window = *std::find_if(windows.begin(), windows.end(), [](auto* widget) {
            return widget->isWindow() && widget->isVisible();
        });
        const QSize room = window->screen()->availableSize() - window->size();
        seen = QStringList{qApp->organizationName(),   qApp->applicationName(),
                           qApp->applicationVersion(), qApp->desktopFileName(),
                           window->windowTitle(),      room.width() < 0 ? "too wide" : "fits"};
        std::raise(SIGTERM);
    };
    QMetaObject::invokeMethod(qApp, look, Qt::QueuedConnection);
}
Q_COREAPP_STARTUP_FUNCTION(lookAndEnd)

} // namespace

class MainTest : public QObject
{
    Q_OBJECT

private slots:
    void startsAndEnds()
    {
        char name[] = "packetbrask";
        char* arguments[] = {name, nullptr};
        QCOMPARE(windowMain(1, arguments), 0);
        QCOMPARE(seen.join('|'), "Varnott|PacketBrask|1.0|example.varnott.PacketBrask|"
                                 "Varnott Packet Brask Testing Tool|fits");
    }
};

QTEST_APPLESS_MAIN(MainTest)
#include "main_test.moc"
