#pragma once

#include "ModelDataStream.h"

#include <QelGL/DrawElementsIndirectCommand.h>
#include <QelGL/InstanceData.h>

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSharedPointer>
#include <QString>

namespace Vardune::Qel {

class BufferObject;
class DrawBuffers;
class GPUModel;
class ModelDataArray;
class OpenGLDeviceContext;

// Collects one polygon mesh as modelling formats hold it and uploads it the way a GPU draws it.
//
// Input: named vertex attributes, each with its own values and one index per face corner;
// faces known by their corner counts; named material groups listing the faces they draw.
// Faces are numbered by the order in which their counts were added, and corners
// consecutively in face order. upload() rebuilds this into one GPU value stream per attribute
// sharing one index per corner, welds byte-identical vertices, triangulates every face and
// adds one indirect draw per material group to a GPUModel, batching groups by their masked
// flags.
//
// Every stream is made by the builder's allocator. Counts are elements (scalars, indices,
// faces), never vertices. Names are compared exactly and case-sensitively.
class QELMODEL_EXPORT ModelBuilder
{
public:
    struct VertexAttribute
    {
        QSharedPointer<ModelDataStream> values;
        QSharedPointer<ModelDataStream> indices;
        QSharedPointer<ModelDataStream> gpuValues;
        QSharedPointer<ModelDataStream> gpuIndices;
        int componentsPerVertex = 0;
    };

    struct MaterialGroup
    {
        InstanceData material;
        int id = 0;
        QSharedPointer<ModelDataStream> faces;
        size_t flags = 0;
        QString objectName;
    };

    // Without an allocator the builder makes its own ModelDataArrayAllocator. Groups whose
    // flags agree under `flagsMask` are drawn by one draw; the default mask batches them all.
    explicit ModelBuilder(QSharedPointer<ModelDataStreamAllocator> allocator = {}, size_t flagsMask = 0);
    ~ModelBuilder();

    ModelBuilder(const ModelBuilder &) = delete;
    ModelBuilder &operator=(const ModelBuilder &) = delete;
    ModelBuilder(ModelBuilder &&) = delete;
    ModelBuilder &operator=(ModelBuilder &&) = delete;

    // Creates or replaces an attribute with streams of `valueCount` zero values of `type` and
    // `indexCount` zero indices. Refused with a warning when `componentsPerVertex` is below 1
    // or `type` is not a scalar type code.
    void createVertexAttribute(const QString &name, int componentsPerVertex, unsigned int type, size_t valueCount,
                               size_t indexCount);
    // Creates or replaces a group, with no faces. A negative id becomes the number of groups
    // that existed before the call.
    void createMaterialGroup(const QString &name, const InstanceData &material, int id, size_t flags);
    // Appends values; ignored for an unknown attribute or a type other than the attribute's.
    void addValuesToVertexAttribute(const QString &name, size_t count, const void *values, unsigned int type);
    // Appends one index per corner; ignored for an unknown attribute.
    void addIndicesToVertexAttribute(const QString &name, size_t count, const unsigned int *indices);
    // Appends one corner count per new face.
    void addVertexCountsToFaces(size_t count, const unsigned int *cornerCounts);
    // Appends face numbers to a group; false for an unknown group. The group keeps the first
    // object name it is given and warns when faces of another object join it.
    bool addFacesToMaterialGroup(const QString &name, size_t count, const unsigned int *faces,
                                 const QString &objectName);

    bool hasMaterialGroup(const QString &name) const;
    bool hasVertexAttribute(const QString &name) const;
    // -1 when there is no such group.
    int materialGroupId(const QString &name) const;
    // 0 when there is no such group.
    size_t materialGroupFlags(const QString &name) const;
    // True with at least one group, one face and one attribute, and non-empty values and
    // indices in every attribute that has values.
    bool isValid() const;
    // Asks the next preparing upload to generate vertex normals under `name`.
    void generateNormals(const QString &name);
    // Back to the state of a new builder with the same allocator and mask. Streams are
    // released, not emptied: other holders keep their contents.
    void clear();
    // Kept for hosts that call them; the upload already welds identical vertices.
    void removeDuplicateVertices();
    void removeUnusedVertices();

    // Adds one draw per batch key to `model`, in the OpenGL context current on this thread.
    // The first upload prepares GPU streams, triangles and normals; later uploads reuse them.
    // `materialIdName`: null hands the groups' materials over as a material collection;
    // otherwise each group's id is written into its copy of `instanceData` under that name.
    void upload(GPUModel *model, const InstanceData &instanceData, const QString &positionAttributeName,
                const QString &materialIdName, unsigned int usage, unsigned int primitiveType);

private:
    friend struct ModelBuilderProbe; // the tests' window on the stages below
    friend struct ObjMeshHandOver; // the OBJ import moves its gathered arrays in without a copy
    friend struct ObjModelUpload; // and uploads its builder once, then discards it

    static constexpr unsigned int kIndexType = 0x1405; // GL_UNSIGNED_INT
    static constexpr int kIndexStride = 4;

    QSharedPointer<ModelDataStream> newStream(unsigned int type, size_t count) const;
    // For a stream the caller overwrites in full right away: with the default allocator its
    // elements are not zeroed first.
    QSharedPointer<ModelDataStream> newStreamToOverwrite(unsigned int type, size_t count) const;
    // Grows `stream` to `count` elements that the caller overwrites right away: the new elements
    // of a ModelDataArray are not zeroed first.
    static void growStreamToOverwrite(ModelDataStream &stream, size_t count);
    // Packs an attribute's GPU values in place to the weld's survivors (rising, each at or
    // after its new place) and cuts them to `count` vertices: for the streams the rebuild made
    // and nothing else holds.
    static void packGPUVertices(VertexAttribute &attribute, const unsigned int *survivors, size_t count);
    // Bytes of one vertex of `values`, which hold `componentsPerVertex` elements per vertex.
    static size_t vertexBytes(const ModelDataStream &values, int componentsPerVertex);
    // True when the allocator is exactly the default one, whose streams are ModelDataArrays.
    bool makesModelDataArrays() const;
    // Creates or replaces an attribute whose values and indices are `values` and `indices`,
    // taken without a copy (lengths in bytes, multiples of the element sizes). Only for a
    // builder that makesModelDataArrays(), so that every stream is still one of its allocator's.
    void adoptVertexAttribute(const QString &name, int componentsPerVertex, unsigned int type, QByteArray &&values,
                              QByteArray &&indices);
    // Likewise the corner counts of every face, for a builder that has no face yet.
    void adoptVertexCountsOfFaces(QByteArray &&cornerCounts);

    // What a rebuild leaves: the GPU streams, or, for an upload that keeps nothing, only the
    // statistics line of the weld by bytes (mergeByIndices false).
    enum class RebuildOutput { Streams, StatisticsOnly };
    void buildGPUFriendlyStreams(bool mergeByIndices, RebuildOutput output = RebuildOutput::Streams);
    void optimizeGPUStreams();
    void prepareMaterialGroupForUpload(const QString &name, const MaterialGroup &group,
                                       const QSharedPointer<ModelDataStream> &positions,
                                       const QSharedPointer<ModelDataStream> &cornerVertices,
                                       const QList<unsigned int> &faceStarts);
    void installGeneratedNormals(const VertexAttribute &positions);

    // Empty when upload() may read every stream it needs, else what is wrong and where.
    QString uploadContractViolation(const QString &positionAttributeName, bool preparing) const;
    void prepareForUpload(const QString &positionAttributeName);
    QSharedPointer<BufferObject> uploadIndexBuffer(OpenGLDeviceContext &context, int vertexCount,
                                                   unsigned int usage) const;
    void addDraw(GPUModel *model, DrawBuffers *draw, size_t key, const InstanceData &instanceData,
                 const QString &materialIdName);
    // Stores a stream's elements in the buffer bound by the caller.
    void uploadStream(BufferObject &buffer, const QSharedPointer<ModelDataStream> &stream, unsigned int usage) const;
    // Frees a stream's elements if this builder releases streams once used; its type stays.
    void releaseUsedStream(QSharedPointer<ModelDataStream> &stream) const;

    QSharedPointer<ModelDataStreamAllocator> _allocator;
    QHash<QString, MaterialGroup> _materialGroups;
    QSharedPointer<ModelDataStream> _verticesPerFace;
    QHash<QString, VertexAttribute> _vertexAttributes;
    QString _normalsAttributeName;
    QSharedPointer<ModelDataStream> _triangleIndices;
    QHash<size_t, QList<DrawElementsIndirectCommand>> _drawCommands;
    QHash<size_t, QList<QString>> _drawGroupNames;
    size_t _flagsMask;
    // For a builder uploaded once and then discarded: the upload frees each stream as soon as it
    // has no further use, so that peak memory is not the sum of every stage's streams.
    bool _releasesUsedStreams = false;
    // The block of the array that a single-use upload freed last, kept for the next array it
    // makes: its pages are in memory already, a fresh block's are not. One block at most, and
    // only between stages that make their arrays right after freeing others, so that peak
    // memory stays that of freeing at once.
    struct SpareBlock
    {
        bool keeping = false;
        QByteArray bytes;
    };
    QSharedPointer<SpareBlock> _spareBlock;
    // A stream that hands its block to _spareBlock when it is destroyed while blocks are kept.
    QSharedPointer<ModelDataStream> ownArray(ModelDataArray *array) const;
    // Uninitialised bytes for `count` elements: the spare block when it is large enough.
    QByteArray spareOrFreshBytes(unsigned int type, size_t count) const;
    // Starts keeping freed blocks, in a single-use upload; or stops, freeing the one kept.
    void keepFreedBlocks(bool keep) const;
    // Frees the block kept, if any, for a stage that will make no array soon.
    void freeSpareBlock() const;
};

} // namespace Vardune::Qel
