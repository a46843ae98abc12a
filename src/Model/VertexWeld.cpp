// Vertex weld: first-appearance numbering of byte-identical vertices.
//
// One open-addressing table of 32-bit vertex numbers, probed linearly, holds the first vertex of
// every distinct content; vertices themselves are never copied into keys. The table is allocated
// once at 1.5 slots per vertex but used, and touched, only as far as the distinct vertices need:
// it doubles (and is refilled from the survivor list) whenever it is half full, so a mesh with
// few distinct vertices keeps a small, cache-friendly table; when most vertices so far were
// distinct it grows to its largest size at once. All vertices are hashed over their bytes
// first, attribute by attribute in blocks of vertices (one tight loop per attribute), the
// hashes kept in the remap array until each vertex's turn; the home slot of a vertex a few
// places ahead is prefetched at every lookup, so that cache misses overlap instead of queueing.
// Refills prefetch the same way, which matters most when nearly every vertex is distinct and the
// refills place about as many vertices as the lookups.
// Below 2^24 vertices every slot also holds 8 bits of its vertex's hash, so that the probes pass
// over nearly every vertex of another content without the cache miss of reading its bytes.
// Cost: one hash and usually one probe per vertex, a byte comparison only against candidates in
// the probe sequence whose hash bits agree, and refills that add up to fewer than two insertions per distinct vertex
// (a few thousand in all when nearly every vertex is distinct);
// 6 bytes of memory per vertex.

#include "VertexWeld.h"
#include "Prefetch.h"
#include "WorkArray.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace Vardune::Qel {

namespace {

constexpr unsigned int kEmptySlot = ~0u;
// Below this many vertices a slot keeps 8 bits of its vertex's hash above the 24 bits of its
// number, so that a probe passes over most vertices of another content without reading their
// bytes, a cache miss each; no number reaches 0xFFFFFF, so no slot reads as empty.
constexpr size_t kTaggedVertexLimit = (size_t(1) << 24) - 1;
constexpr int kTagShift = 24;
constexpr unsigned int kNumberMask = (1u << kTagShift) - 1;
// How many vertices ahead the home slot is prefetched, a power of two (the refills keep a ring
// of pending hashes); the vertex found in it is prefetched at half that distance, once the slot
// has arrived.
constexpr size_t kLookahead = 16;
// Slots of the table before it first grows.
constexpr size_t kInitialCapacity = 4096;

template<typename Word>
inline Word load(const unsigned char *bytes)
{
    Word word;
    std::memcpy(&word, bytes, sizeof(Word));
    return word;
}

// The multiply does not depend on the running hash, so the words of a vertex are mixed in
// parallel and only a rotate and an xor chain them.
inline uint64_t mix(uint64_t hash, uint64_t word)
{
    return ((hash << 27) | (hash >> 37)) ^ (word * 0x9E3779B97F4A7C15ull);
}

// Mixes one vertex's bytes of one stream into the hash: 8-byte words, then a 4-byte word, then
// single bytes.
inline uint64_t mixBytes(uint64_t hash, const unsigned char *bytes, size_t remaining)
{
    for (; remaining >= 8; remaining -= 8, bytes += 8)
        hash = mix(hash, load<uint64_t>(bytes));
    if (remaining >= 4) {
        hash = mix(hash, load<uint32_t>(bytes));
        remaining -= 4;
        bytes += 4;
    }
    for (; remaining > 0; --remaining, ++bytes)
        hash = mix(hash, *bytes);
    return hash;
}

inline uint32_t finish(uint64_t hash)
{
    hash = (hash ^ (hash >> 31)) * 0xD6E8FEB86659FD93ull;
    return static_cast<uint32_t>(hash >> 32);
}

// One stream's bytes mixed into the hashes of `count` vertices. With a vertex size known at
// compile time (the usual ones) the compiler lays each vertex's words out.
template<typename VertexBytes>
void mixColumn(uint64_t *hashes, const unsigned char *bytes, size_t count, VertexBytes vertexBytes)
{
    for (size_t i = 0; i < count; ++i)
        hashes[i] = mixBytes(hashes[i], bytes + i * size_t(vertexBytes), vertexBytes);
}

template<size_t Bytes>
using VertexSize = std::integral_constant<size_t, Bytes>;

struct VertexHasher
{
    const VertexWeldStream *streams;
    size_t streamCount;

    // Well mixed in its high bits, which choose the slot.
    uint32_t hash(size_t vertex) const
    {
        uint64_t hash = 0;
        for (size_t s = 0; s < streamCount; ++s) {
            const size_t vertexBytes = streams[s].vertexBytes;
            const auto *bytes = static_cast<const unsigned char *>(streams[s].data) + vertex * vertexBytes;
            hash = mixBytes(hash, bytes, vertexBytes);
        }
        return finish(hash);
    }

    // hash() of every vertex, computed stream by stream over blocks of vertices: each stream's
    // loop then runs over one vertex size, without a branch per vertex on the streams' sizes.
    void hashAll(unsigned int *hashes, size_t vertexCount) const
    {
        constexpr size_t kBlock = 256;
        uint64_t block[kBlock];
        for (size_t first = 0; first < vertexCount; first += kBlock) {
            const size_t count = std::min(kBlock, vertexCount - first);
            std::fill(block, block + count, uint64_t(0));
            for (size_t s = 0; s < streamCount; ++s) {
                const size_t vertexBytes = streams[s].vertexBytes;
                const auto *bytes = static_cast<const unsigned char *>(streams[s].data) + first * vertexBytes;
                switch (vertexBytes) {
                case 4:
                    mixColumn(block, bytes, count, VertexSize<4>());
                    break;
                case 8:
                    mixColumn(block, bytes, count, VertexSize<8>());
                    break;
                case 12:
                    mixColumn(block, bytes, count, VertexSize<12>());
                    break;
                case 16:
                    mixColumn(block, bytes, count, VertexSize<16>());
                    break;
                default:
                    mixColumn(block, bytes, count, vertexBytes);
                }
            }
            for (size_t i = 0; i < count; ++i)
                hashes[first + i] = finish(block[i]);
        }
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

// Multiply-shift maps a hash onto [0, capacity) without a power-of-two table.
inline size_t slotOf(uint32_t hash, size_t capacity)
{
    return static_cast<size_t>((uint64_t(hash) * capacity) >> 32);
}

// What a slot holds for a vertex: its number, with the low bits of its hash above it when the
// slots are tagged. The slot is chosen by the hash's high bits.
struct SlotFormat
{
    bool tagged;

    unsigned int entry(unsigned int vertex, uint32_t hash) const
    {
        return tagged ? vertex | (hash << kTagShift) : vertex;
    }
    unsigned int vertex(unsigned int entry) const { return tagged ? entry & kNumberMask : entry; }
    // False when the entry's vertex cannot hold the same bytes as a vertex of this hash.
    bool mayMatch(unsigned int entry, uint32_t hash) const
    {
        return !tagged || (entry >> kTagShift) == (hash & 0xFFu);
    }
};

// Refills the first `capacity` slots with the distinct vertices found so far; they are all
// different, so no comparison is needed.
void rehash(unsigned int *table, size_t capacity, const VertexHasher &hasher, SlotFormat format,
    const unsigned int *survivors, size_t survivorCount)
{
    std::memset(table, 0xFF, capacity * sizeof(unsigned int));
    uint32_t pendingHashes[kLookahead];
    for (size_t n = 0; n < kLookahead && n < survivorCount; ++n) {
        pendingHashes[n] = hasher.hash(survivors[n]);
        prefetch(&table[slotOf(pendingHashes[n], capacity)]);
    }
    for (size_t n = 0; n < survivorCount; ++n) {
        uint32_t &pending = pendingHashes[n % kLookahead];
        size_t slot = slotOf(pending, capacity);
        const unsigned int entry = format.entry(survivors[n], pending);
        if (n + kLookahead < survivorCount) {
            pending = hasher.hash(survivors[n + kLookahead]);
            prefetch(&table[slotOf(pending, capacity)]);
        }
        while (table[slot] != kEmptySlot) {
            if (++slot == capacity)
                slot = 0;
        }
        table[slot] = entry;
    }
}

} // namespace

size_t weldVertices(unsigned int *remap, unsigned int *survivors, size_t vertexCount, const VertexWeldStream *streams,
    size_t streamCount)
{
    if (vertexCount == 0)
        return 0;

    const VertexHasher hasher { streams, streamCount };
    const SlotFormat format { vertexCount <= kTaggedVertexLimit };
    // Allocated once at its largest size but touched only as far as it has grown: fresh pages
    // cost more than the probes themselves.
    const size_t maxCapacity = vertexCount + vertexCount / 2;
    const WorkArray table(maxCapacity);
    size_t capacity = std::min(maxCapacity, kInitialCapacity);
    std::memset(table.get(), 0xFF, capacity * sizeof(unsigned int));

    // Every vertex's hash waits in its remap entry until the vertex's turn.
    hasher.hashAll(remap, vertexCount);
    for (size_t vertex = 0; vertex < kLookahead && vertex < vertexCount; ++vertex)
        prefetch(&table[slotOf(remap[vertex], capacity)]);

    size_t distinctCount = 0;
    for (size_t vertex = 0; vertex < vertexCount; ++vertex) {
        const uint32_t hash = remap[vertex];
        size_t slot = slotOf(hash, capacity);
        if (vertex + kLookahead < vertexCount)
            prefetch(&table[slotOf(remap[vertex + kLookahead], capacity)]);
        // Written out here: GCC drops calls to a function whose only effect is a prefetch.
        if (vertex + kLookahead / 2 < vertexCount) {
            const uint32_t candidateHash = remap[vertex + kLookahead / 2];
            const unsigned int candidateEntry = table[slotOf(candidateHash, capacity)];
            if (candidateEntry != kEmptySlot && format.mayMatch(candidateEntry, candidateHash)) {
                const unsigned int candidate = format.vertex(candidateEntry);
                for (size_t s = 0; s < streamCount; ++s)
                    prefetch(static_cast<const unsigned char *>(streams[s].data) + candidate * streams[s].vertexBytes);
                prefetch(&remap[candidate]);
            }
        }

        for (;;) {
            const unsigned int entry = table[slot];
            if (entry == kEmptySlot) {
                table[slot] = format.entry(static_cast<unsigned int>(vertex), hash);
                survivors[distinctCount] = static_cast<unsigned int>(vertex);
                remap[vertex] = static_cast<unsigned int>(distinctCount++);
                if (distinctCount * 2 > capacity && capacity < maxCapacity) {
                    // Mostly distinct so far (the tuple vertices of a rebuild): take the largest
                    // table at once rather than refilling it at every doubling.
                    const bool mostlyDistinct = distinctCount * 2 > vertex + 1;
                    capacity = mostlyDistinct ? maxCapacity : std::min(maxCapacity, capacity * 2);
                    rehash(table.get(), capacity, hasher, format, survivors, distinctCount);
                }
                break;
            }
            const unsigned int first = format.vertex(entry);
            if (format.mayMatch(entry, hash) && hasher.equal(first, vertex)) {
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
