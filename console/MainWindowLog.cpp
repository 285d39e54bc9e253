#include "console/MainWindow.h"

#include "engine/timing/wallTime.h"

#include <QFile>
#include <QFileDialog>
#include <QMessageBox>
#include <QScrollBar>
#include <QStatusBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextEdit>
#include <QThread>

namespace {

constexpr int maximumLines = 10000;
constexpr int trimmedLines = 1000;
constexpr int savedMessageMs = 3000;

QString lineColour(const QString& type)
{
    if (type == u"SUCCESS")
        return QStringLiteral("green");
    if (type == u"ERROR")
        return QStringLiteral("red");
    if (type == u"TIMEOUT" || type == u"WARNING")
        return QStringLiteral("orange");
    return QStringLiteral("black");
}

/** Writes all of `bytes` and closes the file. Returns the error; empty after success. */
QString writeFault(QFile& file, QByteArray bytes)
{
    while (!bytes.isEmpty()) {
        // When the disk gets full, one write is partial and only the next one reports the reason.
        const qint64 taken = file.write(bytes);
        if (taken <= 0)
            return file.errorString();
        bytes.remove(0, taken);
    }
    file.close(); // some file systems report an error only here
    return file.error() == QFileDevice::NoError ? QString() : file.errorString();
}

/** Saves `text` as `fileName`. Returns the error; empty after success. */
QString saveFault(const QString& fileName, const QString& text)
{
    constexpr auto mode = QIODevice::WriteOnly | QIODevice::Text | QIODevice::Unbuffered;
    QFile file(fileName);
    const bool isNew = file.open(mode | QIODevice::NewOnly);
    if (!isNew && !file.open(mode))
        return file.errorString();
    QString fault = writeFault(file, text.toUtf8());
    if (!fault.isEmpty() && isNew)
        file.remove();
    return fault;
}

} // namespace

void MainWindow::createLogView()
{
    logView = new QTextEdit;
    logView->setAccessibleName(QStringLiteral("Log")); // there is no caption to name it
    logView->setReadOnly(true);
    logView->setMaximumHeight(250);
    logView->setPlaceholderText(QStringLiteral("Log messages will appear here..."));
    // With undo on, the document would keep every trimmed line in memory.
    logView->document()->setUndoRedoEnabled(false);
    // A log line must be one visual line, because the trim counts visual lines.
    logView->setLineWrapMode(QTextEdit::NoWrap);
    // The text colours are fixed, so the background must not follow a dark theme.
    QPalette colours = logView->palette();
    colours.setColor(QPalette::Base, Qt::white);
    colours.setColor(QPalette::Text, Qt::black);
    colours.setColor(QPalette::PlaceholderText, Qt::darkGray);
    logView->setPalette(colours);
    // A log that was scrolled to its end stays there when its view shrinks.
    QScrollBar* bar = logView->verticalScrollBar();
    connect(bar, &QScrollBar::rangeChanged, bar, [bar, end = 0](int, int maximum) mutable {
        if (bar->value() >= end)
            bar->setValue(maximum);
        end = maximum;
    });
}

void MainWindow::appendLog(const QString& type, const QString& msg)
{
    const QString time = wallTime().toString(QStringLiteral("hh:mm:ss.zzz"));
    // All arguments in one call: a message may itself contain a %1.
    logView->append(QStringLiteral("<font color='%1'>[%2] %3: %4</font>")
                        .arg(lineColour(type), time, type, msg));
    logView->verticalScrollBar()->setValue(logView->verticalScrollBar()->maximum());
    if (logView->document()->lineCount() > maximumLines)
        trimLog();
}

void MainWindow::trimLog()
{
    QTextCursor cursor = logView->textCursor();
    cursor.movePosition(QTextCursor::Start);
    cursor.movePosition(QTextCursor::Down, QTextCursor::KeepAnchor, trimmedLines);
    cursor.removeSelectedText();
}

void MainWindow::onLogMessage(QString type, QString msg)
{
    appendLog(type, msg);
    eventFile.append(wallTime(), type, msg);
}

void MainWindow::onErrorOccurred(QString error)
{
    appendLog(QStringLiteral("ERROR"), error);
    // The engine refuses to start a test without a connection.
    if (isTestRunning && !isConnected) {
        setTestRunning(false);
        endRecording();
    }
    // If the engine's thread has finished, the window is being destroyed.
    if (workerThread->isFinished())
        return;
    QMessageBox::critical(this, QStringLiteral("Error"), error);
}

void MainWindow::saveLog()
{
    const QString fileName =
        QFileDialog::getSaveFileName(this, QStringLiteral("Save Log File"), QString(),
                                     QStringLiteral("Text Files (*.txt);;All Files (*)"));
    if (fileName.isEmpty())
        return;
    const QString fault = saveFault(fileName, logView->toPlainText());
    if (!fault.isEmpty()) {
        QMessageBox::warning(this, QStringLiteral("Save Failed"),
                             QStringLiteral("Could not save log file: ") + fault);
        return;
    }
    statusBar()->showMessage(QStringLiteral("Log saved to: ") + fileName, savedMessageMs);
}
