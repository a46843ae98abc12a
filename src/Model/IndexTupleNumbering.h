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
// The numbers are exactly those of weldVertices over the index streams as 4-byte vertices: in
// the order of first appearance, remap[k] the number of corner k. For each tuple n below the
// result and each stream s, tupleIndices[s * cornerCount + n] receives the tuple's index in
// that stream. `remap` holds `cornerCount` entries and `tupleIndices` `streamCount *
// cornerCount`, of which only the entries of the distinct tuples are touched; `cornerCount` must
// be below 2^31. Indices at or above their stream's `valueCount` are allowed.
//
// `remap` may be one of the streams' own index arrays: the numbers then replace its indices,
// which saves a corner-sized array where the caller no longer needs them.
//
// Working memory: 4 bytes per value of one attribute and 4 bytes per distinct tuple; more only
// when the numbering falls back to the hash weld.
size_t numberIndexTuples(unsigned int *remap, unsigned int *tupleIndices, size_t cornerCount,
    const IndexTupleStream *streams, size_t streamCount);

} // namespace Vardune::Qel
