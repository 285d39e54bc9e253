#include <QtTest>
#include <QtWidgets>

#include <csignal>

int windowMain(int argc, char* argv[]); // the program's

namespace {

/** Called when the program's application is made; looks as soon as that waits, and ends it. */
void lookAndEnd()
{
    const auto look = [] {
        std::raise(SIGTERM); // which ends the program's event loop, not this
        const QWidget* window =
            QApplication::topLevelAt(qApp->primaryScreen()->geometry().center());
        const bool fits = window->frameSize().width() <= window->screen()->availableSize().width();
        const QStringList seen{qApp->organizationName(),   qApp->applicationName(),
                               qApp->applicationVersion(), qApp->desktopFileName(),
                               window->windowTitle(),      fits ? "fits" : "too wide"};
        QCOMPARE(seen.join('|'), "Varnott|PacketBrask|1.0|example.varnott.PacketBrask|"
                                 "Varnott Packet Brask Testing Tool|fits");
    };
    QMetaObject::invokeMethod(qApp, look, Qt::QueuedConnection);
}

} // namespace

class MainTest : public QObject
{
    Q_OBJECT

private slots:
    void startsAndEnds()
    {
        qAddPreRoutine(lookAndEnd);
        qputenv("LC_ALL", "C");
        QTest::failOnWarning(QRegularExpression("locale"));
        char name[] = "packetbrask";
        char* arguments[] = {name, nullptr};
        QCOMPARE(windowMain(1, arguments), 0);
    }
};

QTEST_APPLESS_MAIN(MainTest)
#include "main_test.moc"
