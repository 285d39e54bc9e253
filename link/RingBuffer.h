#pragma once

#include <cstdint>

/**
 * A byte queue of fixed capacity: pushed at the head, popped at the tail.
 *
 * `head` and `tail` count every byte ever pushed and popped and are never reduced; a counter
 * addresses the storage modulo the capacity. They are 64 bits wide because the capacity need not be
 * a power of two: counters that wrapped would make positions jump.
 *
 * Not locked: one thread at a time. Allocates in create() only.
 */
struct RingBuffer
{
    uint64_t head;
    uint64_t tail;
    uint8_t* storage;
    uint32_t capacity;

    /** A new, empty ring of `capacity` bytes, at least 1. The caller owns it: see destroy(). */
    static RingBuffer* create(uint32_t capacity);
    /** Frees the storage and then `ring` itself; null is allowed. */
    static void destroy(RingBuffer* ring);

    /** Bytes buffered now, 0 to `capacity`. */
    uint32_t count() const { return static_cast<uint32_t>(head - tail); }
    bool isEmpty() const { return head == tail; }

    /** Appends one byte. False, and the byte is dropped, when the ring is full. */
    bool push(uint8_t byte);
    /** Removes the oldest byte into `out`. False, and `out` untouched, when the ring is empty. */
    bool pop(uint8_t& out);
    /** Removes the `length` oldest bytes. False, and nothing removed, when fewer are buffered. */
    bool discard(uint32_t length);
    /**
     * Reads the byte `offset` places behind the oldest one and leaves it there; `offset` must be
     * below count(). False, and `out` untouched, when the ring is empty.
     */
    bool peek(uint32_t offset, uint8_t& out) const;

    /** Copies `length` bytes, from `offset` on, to `out`; offset + length must not pass count(). */
    void peekRun(uint32_t offset, uint32_t length, uint8_t* out) const;
};
