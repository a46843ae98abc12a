#pragma once

#include "ModelBuilder.h"

namespace Vardune::Qel {

// The tests' window on a builder's private state and stages.
struct ModelBuilderProbe
{
    using VertexAttribute = ModelBuilder::VertexAttribute;
    using MaterialGroup = ModelBuilder::MaterialGroup;

    static QSharedPointer<ModelDataStreamAllocator> allocator(const ModelBuilder &b) { return b._allocator; }
    static QHash<QString, MaterialGroup> &materialGroups(ModelBuilder &b) { return b._materialGroups; }
    static QSharedPointer<ModelDataStream> &verticesPerFace(ModelBuilder &b) { return b._verticesPerFace; }
    static QHash<QString, VertexAttribute> &vertexAttributes(ModelBuilder &b) { return b._vertexAttributes; }
    static QString normalsAttributeName(const ModelBuilder &b) { return b._normalsAttributeName; }
    static QSharedPointer<ModelDataStream> &triangleIndices(ModelBuilder &b) { return b._triangleIndices; }
    static QHash<size_t, QList<DrawElementsIndirectCommand>> &drawCommands(ModelBuilder &b) { return b._drawCommands; }
    static QHash<size_t, QList<QString>> &drawGroupNames(ModelBuilder &b) { return b._drawGroupNames; }
    static size_t flagsMask(const ModelBuilder &b) { return b._flagsMask; }
    static unsigned int indexType() { return ModelBuilder::kIndexType; }
    static int indexStride() { return ModelBuilder::kIndexStride; }

    static void buildGPUFriendlyStreams(ModelBuilder &b, bool mergeByIndices) { b.buildGPUFriendlyStreams(mergeByIndices); }
    static void optimizeGPUStreams(ModelBuilder &b) { b.optimizeGPUStreams(); }
    static QString uploadContractViolation(const ModelBuilder &b, const QString &positionAttributeName, bool preparing)
    {
        return b.uploadContractViolation(positionAttributeName, preparing);
    }
    static void prepareMaterialGroupForUpload(ModelBuilder &b, const QString &name, const QList<unsigned int> &faceStarts,
                                              const QString &positionAttributeName)
    {
        const VertexAttribute &positions = b._vertexAttributes[positionAttributeName];
        b.prepareMaterialGroupForUpload(name, b._materialGroups[name], positions.gpuValues, positions.gpuIndices,
                                        faceStarts);
    }
};

} // namespace Vardune::Qel
