#pragma once

namespace Vardune::Qel {

// The statistics line of a vertex weld, at debug level and always: vertices before and after,
// the difference, the share kept in percent (0 for no vertices) and the bytes per index.
void logWeldStatistics(const void *builder, int vertexCount, int newVertexCount, int indexBytes);

} // namespace Vardune::Qel
