// Rebuilds independently indexed attributes into GPU streams: one value stream per attribute,
// vertex after vertex, and one index stream with an element per face corner shared by all.
//
// Without merging, every corner becomes a GPU vertex; with merging, every distinct tuple of
// attribute indices does, numbered by its first corner and taking its values from that corner
// (the tuples are welded like vertices whose attributes are their 4-byte indices). Either way
// the stream optimisation then merges GPU vertices that are equal byte for byte. Cost: one
// block copy per GPU vertex per attribute, plus one weld over the corners when merging.

#include "ModelBuilder.h"

#include "VertexGather.h"
#include "VertexWeld.h"

#include <QVarLengthArray>

#include <cstdint>
#include <memory>
#include <numeric>

namespace Vardune::Qel {

namespace {

using VertexAttribute = ModelBuilder::VertexAttribute;

// An attribute without values holds GPU streams made after the rebuild (generated normals):
// there is nothing to rebuild it from, so it is left as it is.
bool isBuiltFromValues(const VertexAttribute &attribute)
{
    return !attribute.values.isNull();
}

bool needsRebuild(const QHash<QString, VertexAttribute> &attributes)
{
    for (const VertexAttribute &attribute : attributes) {
        if (isBuiltFromValues(attribute) && (attribute.gpuValues.isNull() || attribute.gpuIndices.isNull()))
            return true;
    }
    return false;
}

// Corner counts are summed as 32-bit values: larger totals are beyond what the streams hold.
uint32_t cornerCount(ModelDataStream &verticesPerFace)
{
    const auto *counts = static_cast<const uint32_t *>(verticesPerFace.data(0));
    return std::accumulate(counts, counts + verticesPerFace.size(), uint32_t(0));
}

} // namespace

void ModelBuilder::buildGPUFriendlyStreams(bool mergeByIndices)
{
    if (!needsRebuild(_vertexAttributes))
        return;

    const uint32_t faceCornerCount = cornerCount(*_verticesPerFace);
    QVarLengthArray<VertexAttribute *, 8> attributes;
    for (VertexAttribute &attribute : _vertexAttributes) {
        if (isBuiltFromValues(attribute))
            attributes.append(&attribute);
    }

    const QSharedPointer<ModelDataStream> cornerVertices = newStream(kIndexType, faceCornerCount);
    auto *cornerVertex = static_cast<unsigned int *>(cornerVertices->data(0));
    std::unique_ptr<unsigned int[]> firstCorner; // per GPU vertex, when merging
    size_t vertexCount = faceCornerCount;
    if (mergeByIndices) {
        QVarLengthArray<VertexWeldStream, 8> indexTuples;
        for (VertexAttribute *attribute : attributes)
            indexTuples.append({ attribute->indices->data(0), size_t(kIndexStride) });
        firstCorner.reset(new unsigned int[faceCornerCount]);
        vertexCount = weldVertices(
            cornerVertex, firstCorner.get(), faceCornerCount, indexTuples.data(), size_t(indexTuples.size()));
    } else {
        std::iota(cornerVertex, cornerVertex + faceCornerCount, 0u);
    }

    // The value number that each GPU vertex copies, per attribute; without merging it is
    // the attribute's own index stream.
    std::unique_ptr<unsigned int[]> valueOfVertex(mergeByIndices ? new unsigned int[vertexCount] : nullptr);
    for (VertexAttribute *attribute : attributes) {
        const unsigned int type = attribute->values->type();
        const size_t componentCount = size_t(attribute->componentsPerVertex);
        const auto *indices = static_cast<const unsigned int *>(attribute->indices->data(0));
        const unsigned int *order = indices;
        if (mergeByIndices) {
            for (size_t v = 0; v < vertexCount; ++v)
                valueOfVertex[v] = indices[firstCorner[v]];
            order = valueOfVertex.get();
        }
        const QSharedPointer<ModelDataStream> gpuValues = newStream(type, vertexCount * componentCount);
        gatherVertices(gpuValues->data(0), attribute->values->data(0), ModelDataStream::typeSize(type) * componentCount,
            order, vertexCount);
        attribute->gpuValues = gpuValues;
        attribute->gpuIndices = cornerVertices;
    }

    optimizeGPUStreams();
}

} // namespace Vardune::Qel
