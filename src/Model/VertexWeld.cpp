// Vertex weld: first-appearance numbering of byte-identical vertices.
//
// One open-addressing table of 32-bit vertex numbers, sized once to 1.5 slots per vertex and
// probed linearly, holds the first vertex of every distinct content; vertices themselves are
// never copied into keys. Each vertex is hashed over its bytes, attribute by attribute, a few
// vertices ahead of the one being looked up, and its home slot is prefetched then, so that the
// cache misses of a table far larger than the cache overlap instead of queueing. Cost: one hash
// and usually one probe per vertex, a byte comparison only against candidates in the probe
// sequence; 6 bytes of working memory per vertex.

#include "VertexWeld.h"

#include <cstdint>
#include <cstring>
#include <memory>

namespace Vardune::Qel {

namespace {

constexpr unsigned int kEmptySlot = ~0u;
// How many vertices ahead the home slot is prefetched; a power of two.
constexpr size_t kLookahead = 16;

inline void prefetch(const void *address)
{
#if defined(__GNUC__)
    __builtin_prefetch(address);
#else
    (void)address;
#endif
}

template<typename Word>
inline Word load(const unsigned char *bytes)
{
    Word word;
    std::memcpy(&word, bytes, sizeof(Word));
    return word;
}

inline uint64_t mix(uint64_t hash, uint64_t word)
{
    hash = (hash ^ word) * 0x9E3779B97F4A7C15ull;
    return hash ^ (hash >> 29);
}

struct VertexHasher
{
    const VertexWeldStream *streams;
    size_t streamCount;

    // Well mixed in its high bits, which choose the slot.
    uint32_t hash(size_t vertex) const
    {
        uint64_t hash = 0;
        for (size_t s = 0; s < streamCount; ++s) {
            size_t remaining = streams[s].vertexBytes;
            const unsigned char *bytes = static_cast<const unsigned char *>(streams[s].data) + vertex * remaining;
            for (; remaining >= 8; remaining -= 8, bytes += 8)
                hash = mix(hash, load<uint64_t>(bytes));
            if (remaining >= 4) {
                hash = mix(hash, load<uint32_t>(bytes));
                remaining -= 4;
                bytes += 4;
            }
            for (; remaining > 0; --remaining, ++bytes)
                hash = mix(hash, *bytes);
        }
        return static_cast<uint32_t>((hash * 0xD6E8FEB86659FD93ull) >> 32);
    }

    bool equal(size_t a, size_t b) const
    {
        for (size_t s = 0; s < streamCount; ++s) {
            size_t remaining = streams[s].vertexBytes;
            const unsigned char *base = static_cast<const unsigned char *>(streams[s].data);
            const unsigned char *bytesA = base + a * remaining;
            const unsigned char *bytesB = base + b * remaining;
            uint64_t difference = 0;
            for (; remaining >= 8; remaining -= 8, bytesA += 8, bytesB += 8)
                difference |= load<uint64_t>(bytesA) ^ load<uint64_t>(bytesB);
            for (; remaining > 0; --remaining, ++bytesA, ++bytesB)
                difference |= *bytesA ^ *bytesB;
            if (difference != 0)
                return false;
        }
        return true;
    }
};

} // namespace

size_t weldVertices(unsigned int *remap, unsigned int *survivors, size_t vertexCount, const VertexWeldStream *streams,
                    size_t streamCount)
{
    if (vertexCount == 0)
        return 0;

    const VertexHasher hasher { streams, streamCount };
    const size_t capacity = vertexCount + vertexCount / 2;
    const std::unique_ptr<unsigned int[]> table(new unsigned int[capacity]);
    std::memset(table.get(), 0xFF, capacity * sizeof(unsigned int));

    // Multiply-shift maps the hash onto [0, capacity) without a power-of-two table.
    const auto homeSlot = [&](size_t vertex) {
        const size_t slot = static_cast<size_t>((uint64_t(hasher.hash(vertex)) * capacity) >> 32);
        prefetch(&table[slot]);
        return slot;
    };

    size_t pendingSlots[kLookahead];
    for (size_t vertex = 0; vertex < kLookahead && vertex < vertexCount; ++vertex)
        pendingSlots[vertex] = homeSlot(vertex);

    size_t distinctCount = 0;
    for (size_t vertex = 0; vertex < vertexCount; ++vertex) {
        size_t &pending = pendingSlots[vertex % kLookahead];
        size_t slot = pending;
        if (vertex + kLookahead < vertexCount)
            pending = homeSlot(vertex + kLookahead);

        for (;;) {
            const unsigned int first = table[slot];
            if (first == kEmptySlot) {
                table[slot] = static_cast<unsigned int>(vertex);
                survivors[distinctCount] = static_cast<unsigned int>(vertex);
                remap[vertex] = static_cast<unsigned int>(distinctCount++);
                break;
            }
            if (hasher.equal(first, vertex)) {
                remap[vertex] = remap[first];
                break;
            }
            if (++slot == capacity)
                slot = 0;
        }
    }
    return distinctCount;
}

} // namespace Vardune::Qel
