#pragma once

#include <cstddef>

namespace Vardune::Qel {

// Packs the chosen vertices of a stream: vertex v of `target` becomes a copy of vertex
// order[v] of `source`, for v below `count`. A vertex is `vertexBytes` bytes in both;
// `target` holds `count` vertices and does not overlap `source`.
void gatherVertices(void *target, const void *source, size_t vertexBytes, const unsigned int *order, size_t count);

} // namespace Vardune::Qel
