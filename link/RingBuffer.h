#pragma once

#include <cstdint>

/**
 * A byte queue of fixed capacity: bytes are added at the head and removed at the tail.
 *
 * `head` and `tail` count all bytes ever added and removed and never decrease. The position in the
 * storage is the counter modulo the capacity. The counters have 64 bits because the capacity need
 * not be a power of two: if they wrapped, positions would jump.
 *
 * Not locked: one thread at a time. Only create() allocates memory.
 */
struct RingBuffer
{
    uint64_t head;
    uint64_t tail;
    uint8_t* storage;
    uint32_t capacity;

    /**
     * Returns a new, empty ring of `capacity` bytes, at least 1. The caller owns it and frees it
     * with destroy().
     */
    static RingBuffer* create(uint32_t capacity);
    /** Frees the storage and then `ring` itself; null is allowed. */
    static void destroy(RingBuffer* ring);

    /** Bytes buffered now, 0 to `capacity`. */
    uint32_t count() const { return static_cast<uint32_t>(head - tail); }
    bool isEmpty() const { return head == tail; }

    /** Appends one byte. False when the ring is full; the byte is then dropped. */
    bool push(uint8_t byte);
    /**
     * Removes the oldest byte into `out`. False when the ring is empty; `out` is then unchanged.
     */
    bool pop(uint8_t& out);
    /**
     * Removes the `length` oldest bytes. False when fewer are buffered; nothing is then removed.
     */
    bool discard(uint32_t length);
    /**
     * Copies the byte `offset` places after the oldest one to `out` without removing it. `offset`
     * must be below count(). False when the ring is empty; `out` is then unchanged.
     */
    bool peek(uint32_t offset, uint8_t& out) const;

    /** Copies `length` bytes from `offset` on to `out`; offset + length must not exceed count(). */
    void peekRun(uint32_t offset, uint32_t length, uint8_t* out) const;
};
