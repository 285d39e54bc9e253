#include <QtTest>
#include <QtWidgets>

#include <csignal>

int windowMain(int argc, char* argv[]); // the program's

namespace {

QString& seen()
{
    static QString texts;
    return texts;
}

/** Called when the program's application is made; looks as soon as that waits, and ends it. */
void lookAndEnd()
{
    const auto look = [] {
        const QWidget* window =
            QApplication::topLevelAt(qApp->primaryScreen()->geometry().center());
        const bool fits = window->frameSize().width() <= window->screen()->availableSize().width();
        seen() = QStringList{qApp->organizationName(),   qApp->applicationName(),
                             qApp->applicationVersion(), qApp->desktopFileName(),
                             window->windowTitle(),      fits ? "fits" : "too wide"}
                     .join('|');
        std::raise(SIGTERM);
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
        QCOMPARE(seen(), "Varnott|PacketBrask|1.0|example.varnott.PacketBrask|"
                         "Varnott Packet Brask Testing Tool|fits");
    }
};

QTEST_APPLESS_MAIN(MainTest)
#include "main_test.moc"
