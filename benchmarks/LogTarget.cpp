#include "benchmarks/LogTarget.h"

#include <QScrollBar>
#include <QTest>
#include <QTextCursor>

namespace {

constexpr int maximumLines = 10000;
constexpr int trimmedLines = 1000;

} // namespace

BareLog::BareLog()
{
    edit.document()->setUndoRedoEnabled(false);
    edit.setLineWrapMode(QTextEdit::NoWrap);
    edit.resize(880, 250);
    edit.show();
}

void BareLog::add(const QString& type, const QString& msg)
{
    edit.append("<font color='red'>[12:34:56.789] " + type + ": " + msg + "</font>");
    edit.verticalScrollBar()->setValue(edit.verticalScrollBar()->maximum());
    if (edit.document()->blockCount() <= maximumLines)
        return;
    QTextCursor cursor(edit.document());
    cursor.movePosition(QTextCursor::Down, QTextCursor::KeepAnchor, trimmedLines);
    cursor.removeSelectedText();
}

LogTarget::LogTarget(const QString& kind, LineSource& source)
{
    if (kind == "window") {
        bench = std::make_unique<WindowBench>();
        // By name: it is a private slot. Qt compares signatures without the blank that the format
        // wants in them.
        // clang-format off
        QObject::connect(&source, SIGNAL(line(QString,QString)), bench->window.get(),
                         SLOT(onLogMessage(QString,QString)));
        // clang-format on
    } else {
        bare = std::make_unique<BareLog>();
        QObject::connect(&source, &LineSource::line, bare.get(), &BareLog::add);
    }
    if (!QTest::qWaitForWindowExposed(view()->window()))
        qFatal("the log was not shown");
}

QTextEdit* LogTarget::view() const
{
    return bench ? bench->logView() : bare->view();
}

#include "moc_LogTarget.cpp"
