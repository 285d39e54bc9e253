#include "tests/support/WindowBench.h"

#include "tests/support/contentsOf.h"

WindowBench::WindowBench()
{
    QDir::setCurrent(directory.path());
    QObject::connect(&watch, &QTimer::timeout, &watch, [this] { closeDialog(); });
    watch.start(2);
    window = std::make_unique<MainWindow>();
    window->show();
    if (!QTest::qWaitFor([this] { return named<QComboBox>("Port:")->count() > 0; }))
        qFatal("the first port scan brought no list");
}

WindowBench::~WindowBench()
{
    window.reset();
    if (!boxes.isEmpty())
        QTest::qFail(qPrintable("Unexpected: " + boxes.join('\n')), __FILE__, __LINE__);
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
    return ended && button("Start Test")->isEnabled() &&
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
    return QString::fromUtf8(contentsOf(fileName)).split('\n', Qt::SkipEmptyParts);
}

QStringList WindowBench::readmeTable(const QString& heading)
{
    static const QRegularExpression end("\n[^|]");
    return rowsOf(WINDOW_PAGE).join('\n').section(heading, 1).section(end, 0, 0).split('\n').mid(2);
}

QString WindowBench::status() const
{
    const auto* timer = window->statusBar()->findChild<QTimer*>();
    return window->statusBar()->currentMessage() +
           (timer == nullptr ? QString() : '|' + QString::number(timer->interval()));
}

QStringList WindowBench::boxesOf(const std::function<void()>& act,
                                 const std::function<void(QWidget*)>& look) const
{
    see = look;
    act();
    const bool seen = QTest::qWaitFor([&] { return !boxes.isEmpty() && !last; });
    see = nullptr;
    return seen ? std::exchange(boxes, {}) : QStringList{"no end"};
}

void WindowBench::closeDialog()
{
    QWidget* dialog = QApplication::activeModalWidget();
    if (dialog == nullptr || dialog == last)
        return;
    last = dialog;
    boxes += dialog->windowTitle();
    const auto* box = qobject_cast<const QMessageBox*>(dialog);
    if (box != nullptr && box->standardButtons() == QMessageBox::Ok)
        boxes.last() = QVariant::fromValue(box->icon()).toString() + '|' + boxes.constLast() + '|' +
                       box->text();
    if (see)
        see(dialog);
    dialog->close();
}
