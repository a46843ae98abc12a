#pragma once

#include <cstddef>

namespace Vardune::Qel {

// One attribute of a vertex run: vertex i occupies `vertexBytes` bytes at data + i * vertexBytes.
struct VertexWeldStream
{
    const void *data;
    size_t vertexBytes;
};

// Numbers `vertexCount` vertices so that vertices whose bytes are equal in every stream share a
// number, and returns how many distinct vertices there are.
//
// Numbers follow the order of first appearance: vertex 0 gets 0, and each vertex unlike all
// before it gets the next number. Bytes are compared exactly, so 0.0 and -0.0 stay apart and
// equal NaN bit patterns merge. On return remap[i] is the number of vertex i and
// survivors[n], for n below the result, the first vertex numbered n. Both arrays hold
// `vertexCount` entries and lie outside the streams (remap holds the vertices' hashes until
// their turn); `vertexCount` must be below 2^31.
//
// Working memory: one table of 6 bytes per vertex, allocated once and freed on return; only the
// part that the distinct vertices need (at most 16 bytes per distinct vertex, 16 KiB to start)
// is ever touched.
size_t weldVertices(unsigned int *remap, unsigned int *survivors, size_t vertexCount, const VertexWeldStream *streams,
    size_t streamCount);

} // namespace Vardune::Qel
