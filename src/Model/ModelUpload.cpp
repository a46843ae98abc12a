// Hands a prepared builder to a GPUModel.
//
// The first upload prepares (GPU streams, weld, triangles, normals); every upload then makes
// one index buffer, one vertex buffer per attribute and, per batch key, one vertex array and
// one DrawBuffers whose indirect commands draw the key's material groups from the shared
// buffers. Nothing is made unless every read of the builder's streams is in bounds, and no
// buffer when no group has a face to draw.

#include "GLTypes.h"
#include "ModelBuilder.h"

#include <QelGL/DrawBuffers.h>
#include <QelGL/GPUModel.h>
#include <QelGL/InstanceDataCollection.h>
#include <QelGL/OpenGLDeviceContext.h>

#include <QMessageLogger>

#include <algorithm>
#include <memory>

namespace Vardune::Qel {

namespace {

// Narrows the triangle indices to 16 bits when every vertex number fits, which halves the
// index buffer; 65,535 itself is kept free (it is the usual primitive-restart index).
constexpr int kLargestShortIndexVertexCount = 65535;

} // namespace

void ModelBuilder::upload(GPUModel *model, const InstanceData &instanceData, const QString &positionAttributeName,
                          const QString &materialIdName, unsigned int usage, unsigned int primitiveType)
{
    if (!model || !isValid() || !hasVertexAttribute(positionAttributeName))
        return;
    const QSharedPointer<OpenGLDeviceContext> context = OpenGLDeviceContext::current();
    if (!context)
        return;

    const bool preparing = _triangleIndices->isEmpty();
    const QString violation = uploadContractViolation(positionAttributeName, preparing);
    if (!violation.isEmpty()) {
        QMessageLogger(nullptr, 0, nullptr).warning("upload refused: %s", qUtf8Printable(violation));
        return;
    }
    if (preparing) {
        // A builder uploaded once and then discarded keeps nothing for later: with no face to
        // draw, the weld's statistics line is all that is left to write.
        const bool anyFaceToDraw = std::any_of(_materialGroups.cbegin(), _materialGroups.cend(),
                                               [](const MaterialGroup &group) { return !group.faces->isEmpty(); });
        if (_releasesUsedStreams && !anyFaceToDraw) {
            buildGPUFriendlyStreams(false, RebuildOutput::StatisticsOnly);
            return;
        }
        // Most arrays of the preparation are made right after another is freed: up to the index
        // buffer, the block freed last serves the next one.
        keepFreedBlocks(true);
        prepareForUpload(positionAttributeName);
    }
    // Without a draw to hold them, the buffers would be deleted on return, unused.
    if (_drawCommands.isEmpty()) {
        keepFreedBlocks(false);
        return;
    }

    const VertexAttribute &positions = _vertexAttributes[positionAttributeName];
    const auto vertexCount = static_cast<int>(positions.gpuValues->size()
                                              / static_cast<quint64>(positions.componentsPerVertex));
    const QSharedPointer<BufferObject> indexBuffer = uploadIndexBuffer(*context, vertexCount, usage);
    const unsigned int indexType = vertexCount >= kLargestShortIndexVertexCount ? _triangleIndices->type()
                                                                                 : GLType::UnsignedShort;
    const auto indexCount = static_cast<int>(_triangleIndices->size());
    releaseUsedStream(_triangleIndices);

    QHash<QString, QSharedPointer<BufferObject>> vertexBuffers;
    for (auto it = _vertexAttributes.begin(); it != _vertexAttributes.end(); ++it) {
        const QSharedPointer<BufferObject> buffer = context->createBufferObject();
        buffer->setTarget(GLType::ArrayBuffer);
        buffer->bind();
        uploadStream(*buffer, it->gpuValues, usage);
        buffer->unbind();
        vertexBuffers[it.key()] = buffer;
        releaseUsedStream(it->gpuValues);
    }

    for (auto it = _drawCommands.cbegin(); it != _drawCommands.cend(); ++it) {
        auto *draw = new DrawBuffers(nullptr);
        draw->setVAO(context->createVertexArrayObject());
        draw->setIndexedDraw(indexBuffer, indexCount, indexType);
        draw->setVertexCount(static_cast<unsigned int>(vertexCount));
        draw->setPrimitiveType(primitiveType);
        draw->setDrawElementsIndirectCommands(it->constData(), static_cast<int>(it->size()));
        for (auto buffer = vertexBuffers.cbegin(); buffer != vertexBuffers.cend(); ++buffer) {
            const VertexAttribute &attribute = _vertexAttributes[buffer.key()];
            draw->VAO()->registerBO(buffer.key(), buffer.value(), attribute.componentsPerVertex,
                                    attribute.gpuValues->type());
        }
        addDraw(model, draw, it.key(), instanceData, materialIdName);
    }
}

void ModelBuilder::prepareForUpload(const QString &positionAttributeName)
{
    buildGPUFriendlyStreams(false);
    // The weld's and the triangulation's arrays come next; only generated normals would take
    // the block freed last.
    if (_normalsAttributeName.isNull())
        freeSpareBlock();
    for (VertexAttribute &attribute : _vertexAttributes) {
        releaseUsedStream(attribute.values);
        releaseUsedStream(attribute.indices);
    }
    const VertexAttribute &positions = _vertexAttributes[positionAttributeName];

    const size_t faceCount = _verticesPerFace->size();
    const auto *cornerCounts = static_cast<const unsigned int *>(_verticesPerFace->data(0));
    QList<unsigned int> faceStarts;
    faceStarts.reserve(static_cast<qsizetype>(faceCount));
    unsigned int start = 0;
    for (size_t f = 0; f < faceCount; ++f) {
        faceStarts.append(start);
        start += cornerCounts[f];
    }

    for (auto it = _materialGroups.cbegin(); it != _materialGroups.cend(); ++it) {
        if (!it->faces->isEmpty())
            prepareMaterialGroupForUpload(it.key(), *it, positions.gpuValues, positions.gpuIndices, faceStarts);
    }
    if (!_normalsAttributeName.isNull())
        installGeneratedNormals(positions);
    for (VertexAttribute &attribute : _vertexAttributes)
        releaseUsedStream(attribute.gpuIndices);
}

void ModelBuilder::uploadStream(BufferObject &buffer, const QSharedPointer<ModelDataStream> &stream,
                                unsigned int usage) const
{
    const auto count = static_cast<int>(stream->size());
    const unsigned long long elementSize = ModelDataStream::typeSize(stream->type());
    // A stream released once used has no other reader: the buffer may draw from it in place.
    if (_releasesUsedStreams)
        buffer.uploadSharedData(std::shared_ptr<const void>(stream->data(0), [stream](const void *) {}), count, usage,
                                elementSize);
    else
        buffer.uploadArbitraryData(stream->data(0), count, usage, elementSize);
}

void ModelBuilder::releaseUsedStream(QSharedPointer<ModelDataStream> &stream) const
{
    if (_releasesUsedStreams && stream)
        stream = newStream(stream->type(), 0);
}

QSharedPointer<BufferObject> ModelBuilder::uploadIndexBuffer(OpenGLDeviceContext &context, int vertexCount,
                                                             unsigned int usage) const
{
    const QSharedPointer<BufferObject> buffer = context.createBufferObject();
    buffer->setTarget(GLType::ElementArrayBuffer);
    buffer->bind();
    const size_t indexCount = _triangleIndices->size();
    const auto *indices = static_cast<const unsigned int *>(_triangleIndices->data(0));
    // The buffers come next: no block is kept while they are made.
    if (vertexCount >= kLargestShortIndexVertexCount) {
        keepFreedBlocks(false);
        uploadStream(*buffer, _triangleIndices, usage);
    } else {
        const QSharedPointer<ModelDataStream> narrow = newStreamToOverwrite(GLType::UnsignedShort, indexCount);
        keepFreedBlocks(false);
        auto *shortIndices = static_cast<unsigned short *>(narrow->data(0));
        for (size_t i = 0; i < indexCount; ++i)
            shortIndices[i] = static_cast<unsigned short>(indices[i]);
        uploadStream(*buffer, narrow, usage);
    }
    buffer->unbind();
    return buffer;
}

void ModelBuilder::addDraw(GPUModel *model, DrawBuffers *draw, size_t key, const InstanceData &instanceData,
                           const QString &materialIdName)
{
    const QList<QString> names = _drawGroupNames[key];
    QList<InstanceData> instances;
    QList<InstanceData> materials;
    instances.reserve(names.size());
    for (const QString &name : names) {
        const MaterialGroup &group = _materialGroups[name];
        instances.append(instanceData);
        if (materialIdName.isNull())
            materials.append(group.material);
        else
            instances.last().set(materialIdName, &group.id, sizeof group.id);
    }
    auto *materialCollection
        = materials.isEmpty() ? nullptr : new InstanceDataCollection(materials.first().name(), materials);
    auto *instanceCollection
        = instances.isEmpty() ? nullptr : new InstanceDataCollection(instanceData.name(), instances);
    const unsigned long long drawKey = key;
    const int index = model->add(draw, 1, materialCollection, instanceCollection, drawKey);
    for (int i = 0; i < names.size(); ++i) {
        model->addMaterialName(index, i, names[i]);
        model->addObjectName(index, i, _materialGroups[names[i]].objectName);
    }
}

} // namespace Vardune::Qel
