// Index tuple numbering: first-appearance numbering of the corners' tuples of attribute indices.
//
// Real meshes are local in their indices: a corner's tuple is usually one met a few corners
// before, and the few tuples that share a position index differ only at seams. So instead of
// hashing whole tuples into a table probed at random, the tuples are chained by one attribute's
// index, the key: `head` holds, per value of the key attribute, the latest tuple with that
// index, and each tuple a link to the one before it and a compact copy of its other indices.
// Tuples are made in order of first appearance, so the records of neighbouring corners are
// neighbours in memory and a lookup costs one read of `head` and usually one record.
// The key is the attribute with the most values (the shortest chains), among those with no more
// values than corners, so that `head` stays within the memory the corners take.
//
// Chains can be long on purpose-built input (two attributes of a thousand values in every
// combination); once the walks have cost a few steps per corner on average, the numbering
// starts over with the hash weld, as it does for a key index outside its attribute's values.
// Both give the same numbers, so the fallback changes only the time, at most about twice.
// Cost: 4 bytes per key value (filled once) and 4 bytes per stream per corner allocated, of
// which the distinct tuples touch 4 bytes per stream each; one sequential read of every index.

#include "IndexTupleNumbering.h"
#include "Prefetch.h"

#include "VertexWeld.h"

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

// The chained numbering; false when it gave up (a key out of range or chains too long), leaving
// the outputs partly written. `OtherCount` is a compile-time constant for the common counts.
template<typename OtherCount>
bool numberByKey(unsigned int *remap, unsigned int *firstCorner, size_t cornerCount, const IndexTupleStream &key,
    const unsigned int *const *others, OtherCount otherCount, size_t &tupleCount)
{
    const size_t keyCount = key.valueCount;
    const unsigned int *keys = key.indices;
    const std::unique_ptr<unsigned int[]> head(new unsigned int[keyCount]);
    std::memset(head.get(), 0xFF, keyCount * sizeof(unsigned int));
    // Per tuple: the previous tuple with the same key, then its other indices.
    const size_t stride = 1 + size_t(otherCount);
    const std::unique_ptr<unsigned int[]> records(new unsigned int[cornerCount * stride]);

    size_t stepsLeft = kStepsPerCorner * cornerCount + kStepAllowance;
    size_t count = 0;
    for (size_t k = 0; k < cornerCount; ++k) {
        if (k + kLookahead < cornerCount && keys[k + kLookahead] < keyCount)
            prefetch(&head[keys[k + kLookahead]]);
        const unsigned int keyIndex = keys[k];
        if (keyIndex >= keyCount)
            return false;

        unsigned int tuple = head[keyIndex];
        for (; tuple != kNoTuple; tuple = records[tuple * stride]) {
            if (stepsLeft-- == 0)
                return false;
            const unsigned int *record = &records[tuple * stride + 1];
            bool same = true;
            for (size_t a = 0; a < size_t(otherCount); ++a)
                same &= record[a] == others[a][k];
            if (same)
                break;
        }
        if (tuple == kNoTuple) {
            tuple = static_cast<unsigned int>(count++);
            unsigned int *record = &records[tuple * stride];
            record[0] = head[keyIndex];
            for (size_t a = 0; a < size_t(otherCount); ++a)
                record[1 + a] = others[a][k];
            head[keyIndex] = tuple;
            firstCorner[tuple] = static_cast<unsigned int>(k);
        }
        remap[k] = tuple;
    }
    tupleCount = count;
    return true;
}

bool numberByKey(unsigned int *remap, unsigned int *firstCorner, size_t cornerCount, const IndexTupleStream *streams,
    size_t streamCount, size_t keyStream, size_t &tupleCount)
{
    const size_t otherCount = streamCount - 1;
    const std::unique_ptr<const unsigned int *[]> others(new const unsigned int *[otherCount + 1]);
    for (size_t s = 0, a = 0; s < streamCount; ++s) {
        if (s != keyStream)
            others[a++] = streams[s].indices;
    }
    const IndexTupleStream &key = streams[keyStream];
    switch (otherCount) {
    case 0:
        return numberByKey(
            remap, firstCorner, cornerCount, key, others.get(), std::integral_constant<size_t, 0>(), tupleCount);
    case 1:
        return numberByKey(
            remap, firstCorner, cornerCount, key, others.get(), std::integral_constant<size_t, 1>(), tupleCount);
    case 2:
        return numberByKey(
            remap, firstCorner, cornerCount, key, others.get(), std::integral_constant<size_t, 2>(), tupleCount);
    default:
        return numberByKey(remap, firstCorner, cornerCount, key, others.get(), otherCount, tupleCount);
    }
}

size_t weldIndexTuples(unsigned int *remap, unsigned int *firstCorner, size_t cornerCount,
    const IndexTupleStream *streams, size_t streamCount)
{
    const std::unique_ptr<VertexWeldStream[]> weldStreams(new VertexWeldStream[streamCount + 1]);
    for (size_t s = 0; s < streamCount; ++s)
        weldStreams[s] = { streams[s].indices, sizeof(unsigned int) };
    return weldVertices(remap, firstCorner, cornerCount, weldStreams.get(), streamCount);
}

} // namespace

size_t numberIndexTuples(unsigned int *remap, unsigned int *firstCorner, size_t cornerCount,
    const IndexTupleStream *streams, size_t streamCount)
{
    const size_t keyStream = keyStreamOf(streams, streamCount, cornerCount);
    size_t tupleCount = 0;
    if (keyStream < streamCount
        && numberByKey(remap, firstCorner, cornerCount, streams, streamCount, keyStream, tupleCount))
        return tupleCount;
    return weldIndexTuples(remap, firstCorner, cornerCount, streams, streamCount);
}

} // namespace Vardune::Qel
