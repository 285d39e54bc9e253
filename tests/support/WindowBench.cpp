#include "tests/support/WindowBench.h"

#include <QApplication>
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

bool WindowBench::connectTo(const QString& path) const
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

void WindowBench::startRun(int packetsPerSecond, int timeoutMs) const
{
    named<QSpinBox>("Packets/Second:")->setValue(packetsPerSecond);
    named<QSpinBox>("Timeout:")->setValue(timeoutMs);
    button("Start Test")->click();
}

bool WindowBench::stops() const
{
    for (int click = 0; click < 2; ++click)
        button("Stop Test")->click();
    const bool ended = logHas("INFO: Test completed");
    const int lost = figure("Packets Lost:").section(' ', 0, 0).toInt();
    return ended && button("Start Test")->isEnabled() && !button("Stop Test")->isEnabled() &&
           log().filter("INFO: Waiting for final replies...").size() == 1 &&
           log().filter("INFO: Test completed").size() == 1 &&
           figure("Packets Sent:").toInt() == received() + lost;
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
    QObject::connect(&poll, &QTimer::timeout, &poll, [&] {
        if (QWidget* dialog = QApplication::activeModalWidget()) {
            poll.stop();
            handle(dialog);
            dialog->close();
        }
    });
    poll.start(10);
    act();
    if (!QTest::qWaitFor([&] { return !poll.isActive(); }))
        QTest::qFail("no dialog was shown", __FILE__, __LINE__);
}
