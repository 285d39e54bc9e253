#include "console/MainWindow.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Varnott"));
    QCoreApplication::setApplicationName(QStringLiteral("PacketBrask"));
    QCoreApplication::setApplicationVersion(QStringLiteral("1.0"));

    MainWindow window;
    window.show();
    return QApplication::exec();
}
