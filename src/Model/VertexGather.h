#pragma once

#include <cstddef>

namespace Vardune::Qel {

// Packs the chosen vertices of a stream: vertex v of `target` becomes a copy of vertex
// order[v] of `source`, for v below `count`. A vertex is `vertexBytes` bytes in both;
// `target` holds `count` vertices. Copies go in order of v; `target` may overlap `source` only
// where no copy reads bytes that an earlier one wrote and none overlaps its own source.
void gatherVertices(void *target, const void *source, size_t vertexBytes, const unsigned int *order, size_t count);

// The same gather within one stream: vertex v becomes a copy of vertex survivors[v], for v below
// `count`, where the survivors rise and each lies at or after its new place (the survivors of a
// weld that numbers by first appearance). Vertices from `count` on are left as they were.
void compactVertices(void *data, size_t vertexBytes, const unsigned int *survivors, size_t count);

} // namespace Vardune::Qel
