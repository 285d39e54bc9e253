#include "soak/csvRecord.h"

namespace {

/** The field in front of the next comma or line end, which stays; nothing when it is malformed. */
std::optional<QString> takeField(QStringView& text)
{
    QString field;
    if (!text.startsWith(u'"')) {
        while (!text.isEmpty() && text.front() != u',' && text.front() != u'\n') {
            field += text.front();
            text = text.sliced(1);
        }
        return field.contains(u'"') ? std::nullopt : std::optional(field);
    }
    text = text.sliced(1);
    for (;;) {
        const qsizetype quote = text.indexOf(u'"');
        if (quote < 0)
            return std::nullopt;
        field += text.first(quote);
        text = text.sliced(quote + 1);
        if (!text.startsWith(u'"'))
            return field;
        field += u'"'; // two in a row stand for one
        text = text.sliced(1);
    }
}

} // namespace

std::optional<QStringList> takeCsvRecord(QStringView& text)
{
    QStringView rest = text;
    QStringList fields;
    for (;;) {
        const std::optional<QString> field = takeField(rest);
        if (!field || rest.isEmpty())
            return std::nullopt;
        fields += *field;
        const QChar end = rest.front();
        rest = rest.sliced(1);
        if (end == u'\n')
            break;
        if (end != u',')
            return std::nullopt;
    }
    text = rest;
    return fields;
}
