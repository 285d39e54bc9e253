#include "fuzz/Input.h"

#include <algorithm>

std::span<const uint8_t> Input::take(size_t length)
{
    const std::span<const uint8_t> taken = rest.first(std::min(length, rest.size()));
    rest = rest.subspan(taken.size());
    return taken;
}

uint8_t Input::byte()
{
    const std::span<const uint8_t> taken = take(1);
    return taken.empty() ? uint8_t{0} : taken.front();
}

uint16_t Input::word()
{
    const uint8_t low = byte();
    return static_cast<uint16_t>(low | (byte() << 8));
}

std::vector<uint8_t> Input::bytes(size_t length)
{
    const std::span<const uint8_t> taken = take(length);
    std::vector<uint8_t> all(taken.begin(), taken.end());
    all.resize(length);
    return all;
}

QString Input::text(size_t length, bool utf16)
{
    Input part(take(length));
    if (!utf16)
        return QString::fromUtf8(reinterpret_cast<const char*>(part.rest.data()),
                                 static_cast<qsizetype>(part.rest.size()));
    QString text;
    while (!part.isEmpty())
        text += QChar(part.word());
    return text;
}
