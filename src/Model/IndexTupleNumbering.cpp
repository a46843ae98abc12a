// Index tuple numbering: first-appearance numbering of the corners' tuples of attribute indices.
//
// Real meshes are local in their indices: a corner's tuple is usually one met a few corners
// before, and the few tuples that share a position index differ only at seams. So instead of
// hashing whole tuples into a table probed at random, the tuples are chained by one attribute's
// index, the key: `head` holds, per value of the key attribute, the latest tuple with that
// index, and each tuple a link to the one before it beside its own indices.
// Tuples are made in order of first appearance, so the entries of neighbouring corners' tuples
// are neighbours in memory and a lookup costs one read of `head` and usually one recent tuple.
// The key is the attribute with the most values (the shortest chains), among those with no more
// values than corners, so that `head` stays within the memory the corners take.
//
// Chains can be long on purpose-built input (two attributes of a thousand values in every
// combination); once the walks have cost a few steps per corner on average, the numbering
// starts over with the hash weld, as it does for a key index outside its attribute's values.
// Both give the same numbers, so the fallback changes only the time, at most about twice.
// Cost: 4 bytes per key value (filled once) and 4 bytes per distinct tuple for the chain links
// besides the tuples' own indices; one sequential read of every index.

#include "IndexTupleNumbering.h"
#include "Prefetch.h"

#include "VertexWeld.h"
#include "WorkArray.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>

namespace Vardune::Qel {

namespace {

constexpr unsigned int kNoTuple = ~0u;
// Record visits allowed per corner on average before the hash weld takes over, and on top of
// them for small meshes (a fan of a few hundred corners around a pole with its own texture
// coordinates per triangle).
constexpr size_t kStepsPerCorner = 4;
constexpr size_t kStepAllowance = 4096;
// How many corners ahead the key's head entry is prefetched.
constexpr size_t kLookahead = 16;

// The stream with the most values among those with no more values than corners; streamCount
// when there is none.
size_t keyStreamOf(const IndexTupleStream *streams, size_t streamCount, size_t cornerCount)
{
    size_t key = streamCount;
    for (size_t s = 0; s < streamCount; ++s) {
        if (streams[s].valueCount <= cornerCount
            && (key == streamCount || streams[s].valueCount > streams[key].valueCount))
            key = s;
    }
    return key;
}

// Where the numbering writes each tuple's indices, and what it reads them from.
struct TupleColumns
{
    const unsigned int *keys;
    size_t keyCount;
    unsigned int *keyOfTuple;
    const unsigned int *const *others; // per other stream, its index per corner
    unsigned int *const *otherOfTuple; // per other stream, its index per tuple
};

// The chained numbering; false when it gave up (a key out of range or chains too long), with
// `numbered` corners numbered. `OtherCount` is a compile-time constant for the common counts.
template<typename OtherCount>
bool numberByKey(unsigned int *remap, size_t cornerCount, const TupleColumns &columns, OtherCount otherCount,
    size_t &tupleCount, size_t &numbered)
{
    const size_t keyCount = columns.keyCount;
    const unsigned int *keys = columns.keys;
    const WorkArray head(keyCount);
    std::memset(head.get(), 0xFF, keyCount * sizeof(unsigned int));
    // Per tuple, the previous tuple with the same key.
    const WorkArray previous(cornerCount);

    size_t stepsLeft = kStepsPerCorner * cornerCount + kStepAllowance;
    size_t count = 0;
    for (size_t k = 0; k < cornerCount; ++k) {
        numbered = k;
        if (k + kLookahead < cornerCount && keys[k + kLookahead] < keyCount)
            prefetch(&head[keys[k + kLookahead]]);
        // Every index of corner k is read before remap[k], which may be one of them, is written.
        const unsigned int keyIndex = keys[k];
        if (keyIndex >= keyCount)
            return false;

        unsigned int tuple = head[keyIndex];
        for (; tuple != kNoTuple; tuple = previous[tuple]) {
            if (stepsLeft-- == 0)
                return false;
            bool same = true;
            for (size_t a = 0; a < size_t(otherCount); ++a)
                same &= columns.otherOfTuple[a][tuple] == columns.others[a][k];
            if (same)
                break;
        }
        if (tuple == kNoTuple) {
            tuple = static_cast<unsigned int>(count++);
            previous[tuple] = head[keyIndex];
            head[keyIndex] = tuple;
            columns.keyOfTuple[tuple] = keyIndex;
            for (size_t a = 0; a < size_t(otherCount); ++a)
                columns.otherOfTuple[a][tuple] = columns.others[a][k];
        }
        remap[k] = tuple;
    }
    numbered = cornerCount;
    tupleCount = count;
    return true;
}

bool numberByKey(unsigned int *remap, unsigned int *tupleIndices, size_t cornerCount, const IndexTupleStream *streams,
    size_t streamCount, size_t keyStream, size_t &tupleCount, size_t &numbered)
{
    const size_t otherCount = streamCount - 1;
    const std::unique_ptr<const unsigned int *[]> others(new const unsigned int *[otherCount + 1]);
    const std::unique_ptr<unsigned int *[]> otherOfTuple(new unsigned int *[otherCount + 1]);
    for (size_t s = 0, a = 0; s < streamCount; ++s) {
        if (s != keyStream) {
            others[a] = streams[s].indices;
            otherOfTuple[a++] = tupleIndices + s * cornerCount;
        }
    }
    const TupleColumns columns { streams[keyStream].indices, streams[keyStream].valueCount,
        tupleIndices + keyStream * cornerCount, others.get(), otherOfTuple.get() };
    switch (otherCount) {
    case 0:
        return numberByKey(remap, cornerCount, columns, std::integral_constant<size_t, 0>(), tupleCount, numbered);
    case 1:
        return numberByKey(remap, cornerCount, columns, std::integral_constant<size_t, 1>(), tupleCount, numbered);
    case 2:
        return numberByKey(remap, cornerCount, columns, std::integral_constant<size_t, 2>(), tupleCount, numbered);
    default:
        return numberByKey(remap, cornerCount, columns, otherCount, tupleCount, numbered);
    }
}

// The stream whose index array `remap` is, or streamCount when it is none of them.
size_t streamHeldIn(const unsigned int *remap, const IndexTupleStream *streams, size_t streamCount)
{
    size_t s = 0;
    while (s < streamCount && streams[s].indices != remap)
        ++s;
    return s;
}

// The hash weld reads earlier corners' indices while it numbers later ones, so it numbers into
// an array of its own when `remap` holds one of the streams.
size_t weldIndexTuples(unsigned int *remap, unsigned int *tupleIndices, size_t cornerCount,
    const IndexTupleStream *streams, size_t streamCount)
{
    const std::unique_ptr<VertexWeldStream[]> weldStreams(new VertexWeldStream[streamCount + 1]);
    for (size_t s = 0; s < streamCount; ++s)
        weldStreams[s] = { streams[s].indices, sizeof(unsigned int) };
    const bool remapIsAStream = streamHeldIn(remap, streams, streamCount) < streamCount;
    const WorkArray ownNumbers(remapIsAStream ? cornerCount : 0);
    unsigned int *numbers = remapIsAStream ? ownNumbers.get() : remap;
    const WorkArray firstCorner(cornerCount);
    const size_t count = weldVertices(numbers, firstCorner.get(), cornerCount, weldStreams.get(), streamCount);
    for (size_t s = 0; s < streamCount; ++s) {
        unsigned int *ofTuple = tupleIndices + s * cornerCount;
        for (size_t n = 0; n < count; ++n)
            ofTuple[n] = streams[s].indices[firstCorner[n]];
    }
    if (remapIsAStream)
        std::memcpy(remap, numbers, cornerCount * sizeof(unsigned int));
    return count;
}

} // namespace

size_t numberIndexTuples(unsigned int *remap, unsigned int *tupleIndices, size_t cornerCount,
    const IndexTupleStream *streams, size_t streamCount)
{
    if (cornerCount == 0) // and the arrays may all be null
        return 0;
    const size_t keyStream = keyStreamOf(streams, streamCount, cornerCount);
    size_t tupleCount = 0;
    size_t numbered = 0;
    if (keyStream < streamCount
        && numberByKey(remap, tupleIndices, cornerCount, streams, streamCount, keyStream, tupleCount, numbered))
        return tupleCount;
    // Put back the indices that the numbers of the corners done so far replaced.
    const size_t held = streamHeldIn(remap, streams, streamCount);
    if (held < streamCount) {
        const unsigned int *ofTuple = tupleIndices + held * cornerCount;
        for (size_t k = 0; k < numbered; ++k)
            remap[k] = ofTuple[remap[k]];
    }
    return weldIndexTuples(remap, tupleIndices, cornerCount, streams, streamCount);
}

} // namespace Vardune::Qel
