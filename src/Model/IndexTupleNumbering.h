#pragma once

#include <cstddef>

namespace Vardune::Qel {

// One attribute's index per corner: corner k refers to value indices[k], and the attribute has
// `valueCount` values.
struct IndexTupleStream
{
    const unsigned int *indices;
    size_t valueCount;
};

// Numbers the `cornerCount` corners so that corners whose indices are equal in every stream
// share a number, and returns how many distinct index tuples there are.
//
// The result is exactly weldVertices over the index streams as 4-byte vertices: numbers follow
// the order of first appearance, remap[k] is the number of corner k and firstCorner[n], for n
// below the result, the first corner numbered n. Both arrays hold `cornerCount` entries;
// `cornerCount` must be below 2^31. Indices at or above their stream's `valueCount` are allowed.
//
// Working memory: 4 bytes per value of one attribute, and 4 bytes per stream per corner
// allocated, of which only the part that the distinct tuples need is touched.
size_t numberIndexTuples(unsigned int *remap, unsigned int *firstCorner, size_t cornerCount,
    const IndexTupleStream *streams, size_t streamCount);

} // namespace Vardune::Qel
