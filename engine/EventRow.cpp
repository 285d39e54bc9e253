#include "engine/EventRow.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <array>

namespace {

/** The figures that a log line contains about one ping; empty if it contains none. */
struct PingFigures
{
    QString sequenceId;
    QString dataSize;
    QString latencyMs;
};

PingFigures figuresIn(const QString& message)
{
    static const std::array wordings{
        QRegularExpression(QStringLiteral(R"(\APacket (?<id>\d+): (?<latency>-?\d+)ms\z)")),
        QRegularExpression(QStringLiteral(R"(\ASent packet (?<id>\d+) \((?<size>\d+) bytes\)\z)")),
        QRegularExpression(QStringLiteral(R"(\AFailed to send packet (?<id>\d+)\z)")),
        QRegularExpression(QStringLiteral(R"(\APacket (?<id>\d+) timeout after \d+ms\z)")),
        QRegularExpression(QStringLiteral(R"(\APacket (?<id>\d+) lost \(final timeout\)\z)")),
        QRegularExpression(QStringLiteral(
            R"(\APacket (?<id>\d+): Data mismatch! Expected (?<size>\d+) bytes, got \d+\z)")),
        QRegularExpression(
            QStringLiteral(R"(\AReceived reply for unknown sequence ID: (?<id>\d+)\z)")),
    };
    for (const QRegularExpression& wording : wordings) {
        const QRegularExpressionMatch match = wording.match(message);
        if (match.hasMatch())
            return {match.captured(u"id"), match.captured(u"size"), match.captured(u"latency")};
    }
    return {};
}

QString csvField(const QString& text)
{
    const bool mustBeQuoted = std::any_of(text.begin(), text.end(), [](QChar c) {
        return c == u',' || c == u'"' || c == u'\n' || c == u'\r';
    });
    if (!mustBeQuoted)
        return text;
    QString doubled = text;
    doubled.replace(u'"', QStringLiteral("\"\""));
    return u'"' + doubled + u'"';
}

} // namespace

QString eventHeader()
{
    return QStringLiteral("Timestamp,SequenceID,Event,DataSize,Latency(ms),Details\n");
}

QString eventRow(const QDateTime& time, const QString& type, const QString& message)
{
    const PingFigures figures = figuresIn(message);
    const QStringList fields{time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")),
                             figures.sequenceId,
                             csvField(type),
                             figures.dataSize,
                             figures.latencyMs,
                             csvField(message)};
    return fields.join(u',') + u'\n';
}
