// Merges GPU vertices that are equal byte for byte in every attribute at once.
//
// The weld numbers the vertices by first appearance; the shared index stream is rewritten in
// place to those numbers and every value stream is packed in place to the survivors. Cost:
// one weld over the vertices, one pass over the corners and one block copy per moved vertex per
// attribute. Memory: 4 bytes per vertex for the survivor list, 4 more for the old-to-new map
// unless the index stream can take it, besides the weld's own 6.

#include "ModelBuilder.h"

#include "Diagnostics.h"
#include "GLTypes.h"
#include "VertexWeld.h"
#include "WeldStatistics.h"
#include "WorkArray.h"

#include <QVarLengthArray>

#include <algorithm>

namespace Vardune::Qel {

namespace {

// The rebuild without index merging leaves every corner its own vertex; the weld's numbering is
// then the new index stream itself and needs no separate map or renumbering pass.
bool cornersAreVertices(ModelDataStream &indices, int vertexCount)
{
    if (indices.type() != GL_UNSIGNED_INT || indices.size() != size_t(qMax(vertexCount, 0)))
        return false;
    // Blocks without an early exit inside, so that the compiler vectorises the comparison.
    constexpr size_t kBlock = 4096;
    const auto *vertex = static_cast<const unsigned int *>(indices.data(0));
    const size_t count = indices.size();
    for (size_t start = 0; start < count; start += kBlock) {
        const size_t end = std::min(count, start + kBlock);
        unsigned int mismatch = 0;
        for (size_t k = start; k < end; ++k)
            mismatch |= vertex[k] ^ unsigned(k);
        if (mismatch != 0)
            return false;
    }
    return true;
}

// A narrower index stream is reported and left alone: reading it as 32-bit values would
// overrun it.
void renumberCorners(ModelDataStream *oldIndices, const unsigned int *oldToNew)
{
    QEL_CHECK(oldIndices->type() == GL_UNSIGNED_INT, 851, "Index not uint32 0x%X", oldIndices->type());
    if (oldIndices->type() != GL_UNSIGNED_INT)
        return;
    auto *vertex = static_cast<unsigned int *>(oldIndices->data(0));
    const size_t cornerCount = oldIndices->size();
    for (size_t k = 0; k < cornerCount; ++k)
        vertex[k] = oldToNew[vertex[k]];
}

} // namespace

void ModelBuilder::optimizeGPUStreams()
{
    // Only attributes that the rebuild made from values share its index stream.
    QVarLengthArray<VertexAttribute *, 8> attributes;
    QVarLengthArray<VertexWeldStream, 8> streams;
    QSharedPointer<ModelDataStream> oldIndices;
    int vertexCount = 0;
    for (VertexAttribute &attribute : _vertexAttributes) {
        if (attribute.values.isNull())
            continue;
        attributes.append(&attribute);
        streams.append(
            { attribute.gpuValues->data(0), vertexBytes(*attribute.gpuValues, attribute.componentsPerVertex) });
        oldIndices = attribute.gpuIndices;
        vertexCount = int(attribute.gpuValues->size()) / attribute.componentsPerVertex;
    }
    if (attributes.isEmpty())
        return;

    const size_t weldCount = size_t(qMax(vertexCount, 0));
    const bool renumberInWeld = cornersAreVertices(*oldIndices, vertexCount);
    const WorkArray separateOldToNew(renumberInWeld ? 0 : weldCount);
    unsigned int *oldToNew = renumberInWeld ? static_cast<unsigned int *>(oldIndices->data(0)) : separateOldToNew.get();
    const WorkArray newToOld(weldCount);
    const int newVertexCount
        = int(weldVertices(oldToNew, newToOld.get(), weldCount, streams.data(), size_t(streams.size())));
    QEL_CHECK(newVertexCount <= vertexCount, 807, "%d <= %d", newVertexCount, vertexCount);

    if (!renumberInWeld)
        renumberCorners(oldIndices.data(), oldToNew);

    // The value streams are the rebuild's own, held by nothing else: they are packed in place.
    for (VertexAttribute *attribute : attributes) {
        packGPUVertices(*attribute, newToOld.get(), size_t(newVertexCount));
        attribute->gpuIndices = oldIndices;
    }

    logWeldStatistics(this, vertexCount, newVertexCount, int(ModelDataStream::typeSize(oldIndices->type())));
}

} // namespace Vardune::Qel
