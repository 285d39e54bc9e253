#pragma once

#include <QString>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/**
 * The bytes that a fuzzer offers, read from front to back, so that an input means the same as far
 * as it goes when it is cut. Past the end every byte is 0. Does not own the bytes.
 */
class Input
{
public:
    explicit Input(std::span<const uint8_t> bytes) : rest(bytes), size(bytes.size()) {}

    bool isEmpty() const { return rest.empty(); }
    /** How many bytes have been read. */
    size_t position() const { return size - rest.size(); }

    uint8_t byte();
    /** Two bytes, low one first. */
    uint16_t word();
    /** The next `length` bytes. */
    std::vector<uint8_t> bytes(size_t length);
    /**
     * What the next `length` bytes say, at most what is left: read as UTF-8, or in pairs as UTF-16
     * with whatever they hold, surrogates without a partner included.
     */
    QString text(size_t length, bool utf16);

private:
    std::span<const uint8_t> take(size_t length);

    std::span<const uint8_t> rest;
    size_t size;
};
