#include "command/Program.h"
#include "command/SignalWatch.h"
#include "console/MainWindow.h"
#include "console/windowHabits.h"

#include <QApplication>
#include <QIcon>

int main(int argc, char* argv[])
{
    Program::prepare();
    SignalWatch::block();
    const QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Varnott"));
    QCoreApplication::setApplicationName(QStringLiteral("PacketBrask"));
    QCoreApplication::setApplicationVersion(QStringLiteral("1.0"));
    // Name of the installed desktop entry; the desktop uses it to find the icon and the title.
    QGuiApplication::setDesktopFileName(QStringLiteral("example.varnott.PacketBrask"));
    QGuiApplication::setWindowIcon(QIcon::fromTheme(QGuiApplication::desktopFileName()));

    MainWindow window;
    const SignalWatch watch;
    QObject::connect(&watch, &SignalWatch::endRequested, qApp, &QCoreApplication::quit);
    fitToScreen(&window);
    window.show();
    return QApplication::exec();
}
