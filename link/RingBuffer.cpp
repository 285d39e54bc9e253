#include "link/RingBuffer.h"

#include <algorithm>
#include <cstring>

RingBuffer* RingBuffer::create(uint32_t capacity)
{
    return new RingBuffer{0, 0, new uint8_t[capacity], capacity};
}

void RingBuffer::destroy(RingBuffer* ring)
{
    if (ring == nullptr)
        return;
    delete[] ring->storage;
    delete ring;
}

bool RingBuffer::push(uint8_t byte)
{
    if (count() == capacity)
        return false;
    storage[head % capacity] = byte;
    ++head;
    return true;
}

bool RingBuffer::pop(uint8_t& out)
{
    return peek(0, out) && discard(1);
}

bool RingBuffer::discard(uint32_t length)
{
    if (length > count())
        return false;
    tail += length;
    return true;
}

bool RingBuffer::peek(uint32_t offset, uint8_t& out) const
{
    if (isEmpty())
        return false;
    out = storage[(tail + offset) % capacity];
    return true;
}

void RingBuffer::peekRun(uint32_t offset, uint32_t length, uint8_t* out) const
{
    const auto start = static_cast<uint32_t>((tail + offset) % capacity);
    const uint32_t beforeWrap = std::min(length, capacity - start);
    std::memcpy(out, storage + start, beforeWrap);
    std::memcpy(out + beforeWrap, storage, length - beforeWrap);
}
