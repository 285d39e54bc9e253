#include "fuzz/Input.h"
#include "fuzz/disagree.h"
#include "link/ModuleVersion.h"

#include <array>

namespace {

/** The character's value as a hexadecimal digit, -1 for every other one and past the end. */
int digit(const QString& text, qsizetype index)
{
    const char16_t c = index < text.size() ? text[index].unicode() : u'\0';
    if (c >= u'0' && c <= u'9')
        return c - u'0';
    if (c >= u'a' && c <= u'f')
        return c - u'a' + 10;
    return c >= u'A' && c <= u'F' ? c - u'A' + 10 : -1;
}

/** The three characters of the model as a number, with ASCII blanks and a sign allowed; else 0. */
int modelNumber(const QString& text)
{
    const auto isBlank = [](QChar c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); };
    QString digits = text.sliced(3, 3);
    while (!digits.isEmpty() && isBlank(digits.back()))
        digits.chop(1);
    while (!digits.isEmpty() && isBlank(digits.front()))
        digits.remove(0, 1);
    const int sign = digits.startsWith(u'-') ? -1 : 1;
    if (sign < 0 || digits.startsWith(u'+'))
        digits.remove(0, 1);
    int number = 0;
    for (const QChar c : digits) {
        if (c < u'0' || c > u'9')
            return 0;
        number = number * 10 + c.unicode() - u'0';
    }
    return sign * number;
}

int family(int model, int major, int minor)
{
    switch (model) {
    case 101:
        return 0x8;
    case 102:
        return 0x10;
    case 103:
        return 0x20;
    case 104:
        return major * 16 + minor < 0x21 ? 0x40 : 0x80;
    case 105:
        return 0x100;
    case 106:
        return major == 0 || minor < 4 ? 0x200 : minor == 4 ? 0x400 : 0x800;
    case 107:
        return 0x1000;
    case 108:
        return 0x2000;
    default:
        return 0;
    }
}

/** A second reading of the rules; shares no code with the first. */
ModuleVersion expected(const QString& text)
{
    qsizetype colon = 0;
    while (colon < text.size() && text[colon] != u':')
        ++colon;
    bool hasPrefix = false;
    for (qsizetype i = 2; i < text.size(); ++i)
        hasPrefix |= text[i - 2] == u'V' && text[i - 1] == u'N' && text[i] == u'A';
    if (!hasPrefix || colon < 5 || colon == text.size())
        return {};

    ModuleVersion version{true,
                          modelNumber(text),
                          digit(text, colon + 2),
                          digit(text, colon + 4),
                          digit(text, colon + 7),
                          digit(text, colon + 9),
                          0};
    if (version.model < 1 || version.versionAMajor < 0 || version.versionAMinor < 0 ||
        version.versionBMajor < 0 || version.versionBMinor < 0)
        return {};
    version.familyFlag = family(version.model, version.versionBMajor, version.versionBMinor);
    return version;
}

/** Every field, for a comparison and for the line that tells of it. */
QString fields(const ModuleVersion& version)
{
    return QString::asprintf("valid %d model %d A %d.%d B %d.%d family %x", version.valid,
                             version.model, version.versionAMajor, version.versionAMinor,
                             version.versionBMajor, version.versionBMinor,
                             static_cast<unsigned>(version.familyFlag));
}

/** Any text; or a correct one, some characters of which are replaced or its end cut off. */
QString makeText(Input& input)
{
    const uint8_t kind = input.byte();
    if (kind % 4 < 2)
        return input.text(96, kind % 4 == 1);
    const int known = input.byte(); // leads to every model in the table and around it
    QString text = QString::asprintf("VNA%d:H1.2 F%d.%d and more", 100 + known % 10, known / 10 % 4,
                                     known / 40);
    text.truncate(text.size() - kind / 4 % 32);
    while (!input.isEmpty() && !text.isEmpty()) {
        const qsizetype index = input.byte() % text.size();
        text[index] = QChar(kind % 4 == 2 ? input.byte() : input.word());
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    Input input({bytes, size});
    const QString text = makeText(input);
    ModuleVersion version{true, 101, 1, 2, 3, 4, 0x8}; // what a failed parse has to clear
    const bool result = version.parse(text);
    const ModuleVersion wanted = expected(text);
    if (fields(version) != fields(wanted))
        disagree(fields(version) + QStringLiteral(", expected ") + fields(wanted));
    if (result != version.valid)
        disagree(QStringLiteral("parsed: %1, valid: %2").arg(result).arg(version.valid));
    const int most = version.model >= 101 && version.model <= 104 ? 22 : 124;
    if (version.maxDataLength() != most)
        disagree(QStringLiteral("%1 data bytes at most, expected %2")
                     .arg(version.maxDataLength())
                     .arg(most));
    return 0;
}
