#include <QApplication>
#include <QMainWindow>
#include <QTextEdit>

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    QMainWindow window;
    window.resize(900, 700);
    window.setCentralWidget(new QTextEdit);
    window.show();
    return QApplication::exec();
}
