#include "engine/EventRow.h"
#include "fuzz/Input.h"
#include "fuzz/disagree.h"
#include "tests/support/csvRecord.h"

#include <QDateTime>
#include <QTimeZone>

#include <array>

namespace {

// The engine's wordings that tell figures: i a ping's number, s its size, l its latency, which may
// be negative, n any other number. Marked by %, as is nothing else in them.
constexpr std::array wordings{
    u"Packet %i: %lms",
    u"Sent packet %i (%s bytes)",
    u"Failed to send packet %i",
    u"Packet %i timeout after %nms",
    u"Packet %i lost (final timeout)",
    u"Packet %i: Data mismatch! Expected %s bytes, got %n",
    u"Received reply for unknown sequence ID: %i",
};

/** The number columns of a row: SequenceID, DataSize and Latency(ms). */
using Figures = std::array<QString, 3>;

/** Reads `message` by one wording; false, and `figures` of no use, when it is not that one. */
bool readBy(QStringView wording, QStringView message, Figures& figures)
{
    while (!wording.isEmpty()) {
        if (wording.front() != u'%') {
            if (message.isEmpty() || message.front() != wording.front())
                return false;
            message = message.sliced(1);
            wording = wording.sliced(1);
            continue;
        }
        const QChar what = wording[1];
        wording = wording.sliced(2);
        const qsizetype sign = what == u'l' && message.startsWith(u'-') ? 1 : 0;
        qsizetype length = sign;
        while (length < message.size() && message[length] >= u'0' && message[length] <= u'9')
            ++length;
        if (length == sign)
            return false;
        const qsizetype column = QStringView(u"isl").indexOf(what);
        if (column >= 0)
            figures[static_cast<size_t>(column)] = message.first(length).toString();
        message = message.sliced(length);
    }
    return message.isEmpty();
}

Figures expectedFigures(const QString& message)
{
    for (const char16_t* const wording : wordings) {
        Figures figures;
        if (readBy(wording, message, figures))
            return figures;
    }
    return {};
}

/** Any text; or one of the wordings with numbers in it, changed here and there. */
QString makeMessage(Input& input)
{
    const uint8_t kind = input.byte();
    if (kind % 2 == 0)
        return input.text(120, kind % 4 == 2);
    QString message;
    for (QStringView rest(wordings[kind / 2 % wordings.size()]); !rest.isEmpty();) {
        const bool isNumber = rest.front() == u'%';
        message += isNumber ? QString::number(static_cast<int16_t>(input.word())) : rest.first(1);
        rest = rest.sliced(isNumber ? 2 : 1);
    }
    if (kind >= 0xC0)
        message += u'\n'; // what a pattern may take for the end of the text
    while (!input.isEmpty()) {
        const qsizetype index = input.byte() % (message.size() + 1);
        const qsizetype replaced = input.byte() % 2;
        message.replace(index, replaced, input.text(input.byte() % 4, false));
    }
    return message;
}

/** How long the field is in the file, with the quotes that it needs. */
qsizetype lengthInFile(const QString& field)
{
    qsizetype quotes = 0;
    bool isQuoted = false;
    for (const QChar c : field) {
        quotes += c == u'"' ? 1 : 0;
        isQuoted |= QStringView(u",\"\r\n").contains(c);
    }
    return field.size() + quotes + (isQuoted ? 2 : 0);
}

QDateTime makeTime(Input& input)
{
    const QDate date = QDate(1970, 1, 1).addDays(input.word());
    // In UTC, where every time of the day exists.
    return {date, QTime::fromMSecsSinceStartOfDay(input.word() * 1318 + input.byte()),
            QTimeZone::utc()};
}

QString timestamp(const QDateTime& time)
{
    const QDate date = time.date();
    const QTime clock = time.time();
    return QString::asprintf("%04d-%02d-%02d %02d:%02d:%02d.%03d", date.year(), date.month(),
                             date.day(), clock.hour(), clock.minute(), clock.second(),
                             clock.msec());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    Input input({bytes, size});
    const QDateTime time = makeTime(input);
    const uint8_t typeLength = input.byte();
    const QString type = input.text(typeLength % 32, typeLength >= 128);
    const QString message = makeMessage(input);
    const auto [id, dataSize, latency] = expectedFigures(message);
    const QStringList expected{timestamp(time), id, type, dataSize, latency, message};

    const QString row = eventRow(time, type, message);
    QStringView rest(row);
    const std::optional<QStringList> fields = takeCsvRecord(rest);
    if (!fields || !rest.isEmpty())
        disagree(QStringLiteral("not one record, %1 characters left over").arg(rest.size()));
    if (fields->size() != expected.size())
        disagree(QStringLiteral("%1 fields").arg(fields->size()));
    qsizetype length = 0;
    for (qsizetype i = 0; i < expected.size(); ++i) {
        if (fields->at(i) != expected[i])
            disagree(QStringLiteral("field %1 is %2, expected %3")
                         .arg(i)
                         .arg(fields->at(i).toUtf8().toPercentEncoding(" :"),
                              expected[i].toUtf8().toPercentEncoding(" :")));
        length += lengthInFile(expected[i]) + 1;
    }
    if (row.size() != length)
        disagree(
            QStringLiteral("%1 characters with quotes, expected %2").arg(row.size()).arg(length));
    return 0;
}
