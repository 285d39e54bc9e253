#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <cstdint>
#include <span>

/**
 * What pings carry behind their number, the first 8 bytes. All but Random is one endless sequence,
 * which each ping continues where the one before it ended. One thread at a time.
 */
class Payload
{
public:
    enum class Kind {
        Random,      ///< each byte drawn anew
        Zeros,       ///< 0x00
        Ones,        ///< 0xFF
        Alternating, ///< 0x55 and 0xAA in turn
        Walking,     ///< a single 1 from bit 0 to bit 7, then a single 0
        Counting,    ///< 0x00 to 0xFF
        Prbs15,      ///< x^15 + x^14 + 1 of ITU-T O.150, inverted, first bit in bit 0
        Bytes,       ///< those given to the constructor
    };
    /** What a command line and a report call the kinds but the last, in their order. */
    static constexpr std::array names{"random",  "zeros",    "ones",  "alternating",
                                      "walking", "counting", "prbs15"};

    explicit Payload(Kind ofKind = Kind::Random) : kind(ofKind) {}
    /** Repeats `sequence`, which is not empty. */
    explicit Payload(const QByteArray& sequence) : kind(Kind::Bytes), bytes(sequence) {}

    /** Begins the sequence anew. */
    void restart();
    /** The sequence's next bytes, as many as `filler` has. */
    void fill(std::span<uint8_t> filler);

private:
    uint8_t next();
    uint8_t nextOfPrbs();

    Kind kind;
    QByteArray bytes;     ///< of Kind::Bytes
    qsizetype place = 0;  ///< bytes taken from the sequence
    uint32_t shifted = 0; ///< the last 15 bits of Kind::Prbs15, inverted as they are sent
};
