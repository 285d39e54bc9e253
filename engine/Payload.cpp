#include "engine/Payload.h"

#include <QRandomGenerator>

void Payload::restart()
{
    place = 0;
    shifted = 0;
}

void Payload::fill(std::span<uint8_t> filler)
{
    for (uint8_t& byte : filler)
        byte = next();
}

uint8_t Payload::next()
{
    const qsizetype at = place++;
    switch (kind) {
    case Kind::Zeros:
        return 0x00;
    case Kind::Ones:
        return 0xFF;
    case Kind::Alternating:
        return at % 2 == 0 ? 0x55 : 0xAA;
    case Kind::Walking:
        return static_cast<uint8_t>((1U << at % 8) ^ (at % 16 < 8 ? 0x00U : 0xFFU));
    case Kind::Counting:
        return static_cast<uint8_t>(at);
    case Kind::Prbs15:
        return nextOfPrbs();
    case Kind::Bytes:
        return static_cast<uint8_t>(bytes[at % bytes.size()]);
    case Kind::Random:
        break;
    }
    return static_cast<uint8_t>(QRandomGenerator64::global()->bounded(256));
}

uint8_t Payload::nextOfPrbs()
{
    uint32_t byte = 0;
    for (uint32_t bit = 0; bit < 8; ++bit) {
        // The register starts with ones; it is kept inverted, as its output is.
        const uint32_t sent = 1U ^ ((shifted >> 14U ^ shifted >> 13U) & 1U);
        shifted = (shifted << 1U | sent) & 0x7FFFU;
        byte |= sent << bit;
    }
    return static_cast<uint8_t>(byte);
}
