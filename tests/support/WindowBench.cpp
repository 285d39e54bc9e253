#include "tests/support/WindowBench.h"

#include <QApplication>
#include <QLabel>
#include <QStatusBar>
#include <QTest>
#include <QTimer>

WindowBench::WindowBench() : previousDirectory(QDir::currentPath())
{
    QDir::setCurrent(directory.path());
    window = std::make_unique<MainWindow>();
    window->show();
    if (!QTest::qWaitFor([this] { return named<QComboBox>("Port:")->count() > 0; }))
        qFatal("the first port scan brought no list");
}

WindowBench::~WindowBench()
{
    window.reset();
    QDir::setCurrent(previousDirectory);
}

QPushButton* WindowBench::button(const QString& text) const
{
    for (QPushButton* candidate : window->findChildren<QPushButton*>()) {
        if (candidate->text() == text)
            return candidate;
    }
    return nullptr;
}

QWidget* WindowBench::buddyOf(const QString& caption) const
{
    for (const QLabel* label : window->findChildren<QLabel*>()) {
        if (label->text() == caption)
            return label->buddy();
    }
    return nullptr;
}

QString WindowBench::figure(const QString& caption) const
{
    return named<QLabel>(caption)->text();
}

QString WindowBench::status() const
{
    return window->statusBar()->currentMessage();
}

QStringList WindowBench::log() const
{
    return logView()->toPlainText().split('\n');
}

bool WindowBench::connectTo(const QString& path)
{
    auto* ports = named<QComboBox>("Port:");
    ports->clear();
    ports->addItem("the module", path);
    QTest::mouseClick(button("Connect"), Qt::LeftButton);
    return QTest::qWaitFor([this] { return button("Disconnect") != nullptr; }) &&
           logHas("SUCCESS: Connected");
}

bool WindowBench::logHas(const QString& text) const
{
    return QTest::qWaitFor([&] { return logView()->toPlainText().contains(text); }, 20000);
}

QStringList WindowBench::eventFiles() const
{
    return QDir(directory.path()).entryList({"PacketTest_*.csv"}, QDir::Files, QDir::Name);
}

QStringList WindowBench::rowsOf(const QString& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
}

void WindowBench::withDialog(const std::function<void()>& act,
                             const std::function<void(QWidget*)>& handle)
{
    QTimer poll;
    bool handled = false;
    QObject::connect(&poll, &QTimer::timeout, &poll, [&] {
        QWidget* dialog = QApplication::activeModalWidget();
        if (dialog == nullptr)
            return;
        poll.stop();
        handled = true;
        handle(dialog);
        dialog->close();
    });
    poll.start(10);
    act();
    if (!QTest::qWaitFor([&] { return handled; }))
        QTest::qFail("no dialog was shown", __FILE__, __LINE__);
}
