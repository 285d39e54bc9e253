#include "simulator/program/TerminalView.h"

#include "simulator/SimulatedModule.h"

#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int refreshMs = 125;
constexpr int countsPerLine = 3;

/** Replaces characters that could control a terminal with a dot. */
QString printable(QString row)
{
    std::replace_if(
        row.begin(), row.end(), [](QChar c) { return c < u' ' || c > u'~'; }, u'.');
    return row;
}

void put(const QString& text)
{
    std::fputs(text.toUtf8().constData(), stdout);
    std::fflush(stdout);
}

} // namespace

TerminalView::TerminalView(const SimulatedModule& shown, QObject* parent)
    : QObject(parent), module(shown)
{
    put(QStringLiteral("\033[?25l"));
    refresh();
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &TerminalView::refresh);
    timer->start(refreshMs);
}

TerminalView::~TerminalView()
{
    refresh();
    put(QStringLiteral("\033[?25h"));
}

void TerminalView::refresh()
{
    const QString now = text();
    if (now == lastText)
        return;
    const qsizetype linesUp = lastText.count(u'\n');
    put(linesUp > 0 ? QStringLiteral("\033[%1A%2").arg(linesUp).arg(now) : now);
    lastText = now;
}

QString TerminalView::text() const
{
    const QString edge = u'+' + QString(ModuleScreen::columnCount, u'-') + QStringLiteral("+\n");
    QString lines = edge;
    for (const QString& row : module.screen())
        lines += u'|' + printable(row) + QStringLiteral("|\n");
    lines += edge;

    const ModuleCounts counts = module.counts();
    int column = 0;
    for (const ModuleCountField& field : moduleCountFields) {
        lines += QStringLiteral("%1 %2")
                     .arg(QLatin1String(field.name), -14)
                     .arg(counts.*field.value, -10);
        column = (column + 1) % countsPerLine;
        if (column == 0)
            lines += u'\n';
    }
    return column == 0 ? lines : lines + u'\n';
}

#include "moc_TerminalView.cpp"
