#include "WeldStatistics.h"

#include <QMessageLogger>

namespace Vardune::Qel {

void logWeldStatistics(const void *builder, int vertexCount, int newVertexCount, int indexBytes)
{
    // Widened so that large meshes do not overflow; an empty mesh shows 0.
    const int percentage = vertexCount > 0 ? int(qint64(newVertexCount) * 100 / vertexCount) : 0;
    QMessageLogger(nullptr, 0, nullptr)
        .debug("%p Vertices Map %8d -> %8d d %8d (%3d %%) %d", builder, vertexCount, newVertexCount,
            vertexCount - newVertexCount, percentage, indexBytes);
}

} // namespace Vardune::Qel
