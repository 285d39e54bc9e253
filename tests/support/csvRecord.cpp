#include "tests/support/csvRecord.h"

std::optional<QStringList> takeCsvRecord(QStringView& text)
{
    enum { Start, Plain, Quoted, Closed } field = Start;
    QStringList fields{QString()};
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (field == Quoted && c != u'"') {
            fields.back() += c;
        } else if (c == u'"' && field != Plain) {
            if (field == Closed) // two in a row stand for one
                fields.back() += c;
            field = field == Quoted ? Closed : Quoted;
        } else if (c == u',') {
            fields += QString();
            field = Start;
        } else if (c == u'\n') {
            text = text.sliced(i + 1);
            return fields;
        } else if (c == u'"' || field == Closed) {
            return std::nullopt;
        } else {
            fields.back() += c;
            field = Plain;
        }
    }
    return std::nullopt;
}
