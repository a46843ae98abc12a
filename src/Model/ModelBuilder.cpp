#include "ModelBuilder.h"

#include "GLTypes.h"
#include "HugePages.h"
#include "ModelDataArray.h"
#include "VertexGather.h"

#include <QelGL/InstanceDataPlan.h>
#include <QelGL/InstanceDataRegistry.h>

#include <QMessageLogger>

#include <typeinfo>
#include <utility>

namespace Vardune::Qel {

namespace {

void registerInstanceInfoPlan()
{
    auto *plan = new InstanceDataPlan(QStringLiteral("InstanceInfo"));
    plan->addMember(InstanceDataPlan::Mat4, QStringLiteral("ModelMatrix"));
    plan->addMember(InstanceDataPlan::Mat4, QStringLiteral("ModelNormalMatrix"));
    InstanceDataRegistry::Instance().registerPlan(plan);
}

} // namespace

ModelBuilder::ModelBuilder(QSharedPointer<ModelDataStreamAllocator> allocator, size_t flagsMask)
    : _allocator(allocator ? std::move(allocator) : QSharedPointer<ModelDataStreamAllocator>(new ModelDataArrayAllocator))
    , _flagsMask(flagsMask)
{
    // Concurrent first constructions wait here until the one that registers is done.
    static const bool planRegistered = (registerInstanceInfoPlan(), true);
    Q_UNUSED(planRegistered);

    _spareBlock = QSharedPointer<SpareBlock>::create();
    _verticesPerFace = newStream(kIndexType, 0);
    _triangleIndices = newStream(kIndexType, 0);
}

ModelBuilder::~ModelBuilder()
{
    keepFreedBlocks(false);
}

void ModelBuilder::keepFreedBlocks(bool keep) const
{
    _spareBlock->keeping = keep && _releasesUsedStreams;
    if (!keep)
        freeSpareBlock();
}

void ModelBuilder::freeSpareBlock() const
{
    _spareBlock->bytes = QByteArray();
}

QSharedPointer<ModelDataStream> ModelBuilder::ownArray(ModelDataArray *array) const
{
    return QSharedPointer<ModelDataStream>(array, [spare = _spareBlock](ModelDataStream *stream) {
        auto *freed = static_cast<ModelDataArray *>(stream);
        // A block shared with a copy would be copied on its first write.
        if (spare->keeping && freed->_data.isDetached() && size_t(freed->_data.size()) >= kSmallestHugePageArrayBytes)
            spare->bytes = std::move(freed->_data);
        delete freed;
    });
}

QByteArray ModelBuilder::spareOrFreshBytes(unsigned int type, size_t count) const
{
    const auto length = qsizetype(ModelDataStream::typeSize(type) * count);
    QByteArray bytes = std::exchange(_spareBlock->bytes, QByteArray());
    if (size_t(length) < kSmallestHugePageArrayBytes || bytes.capacity() < length)
        return hugePageBytes(length);
    resizeWithinBlock(bytes, length);
    return bytes;
}

QSharedPointer<ModelDataStream> ModelBuilder::newStream(unsigned int type, size_t count) const
{
    // The default deleter destroys through ModelDataStream's virtual destructor.
    return QSharedPointer<ModelDataStream>(_allocator->alloc(type, count));
}

void ModelBuilder::growStreamToOverwrite(ModelDataStream &stream, size_t count)
{
    if (typeid(stream) == typeid(ModelDataArray))
        static_cast<ModelDataArray &>(stream).resizeUninitialised(count);
    else
        stream.resize(count);
}

bool ModelBuilder::makesModelDataArrays() const
{
    // Exactly the default allocator: a derived one may make other streams.
    const ModelDataStreamAllocator &allocator = *_allocator;
    return typeid(allocator) == typeid(ModelDataArrayAllocator);
}

QSharedPointer<ModelDataStream> ModelBuilder::newStreamToOverwrite(unsigned int type, size_t count) const
{
    if (!makesModelDataArrays())
        return newStream(type, count);
    return ownArray(new ModelDataArray(type, spareOrFreshBytes(type, count)));
}

size_t ModelBuilder::vertexBytes(const ModelDataStream &values, int componentsPerVertex)
{
    return ModelDataStream::typeSize(values.type()) * size_t(componentsPerVertex);
}

void ModelBuilder::packGPUVertices(VertexAttribute &attribute, const unsigned int *survivors, size_t count)
{
    ModelDataStream &values = *attribute.gpuValues;
    compactVertices(values.data(0), vertexBytes(values, attribute.componentsPerVertex), survivors, count);
    values.resize(count * size_t(attribute.componentsPerVertex));
}

void ModelBuilder::adoptVertexAttribute(const QString &name, int componentsPerVertex, unsigned int type,
                                        QByteArray &&values, QByteArray &&indices)
{
    VertexAttribute &attribute = _vertexAttributes[name];
    attribute.values = ownArray(new ModelDataArray(type, std::move(values)));
    attribute.indices = ownArray(new ModelDataArray(kIndexType, std::move(indices)));
    attribute.gpuValues.reset();
    attribute.gpuIndices.reset();
    attribute.componentsPerVertex = componentsPerVertex;
}

void ModelBuilder::adoptVertexCountsOfFaces(QByteArray &&cornerCounts)
{
    _verticesPerFace = ownArray(new ModelDataArray(kIndexType, std::move(cornerCounts)));
}

void ModelBuilder::createVertexAttribute(const QString &name, int componentsPerVertex, unsigned int type,
                                         size_t valueCount, size_t indexCount)
{
    if (componentsPerVertex < 1) {
        QMessageLogger().warning("createVertexAttribute: attribute '%s' refused: %d components per vertex",
                                 qUtf8Printable(name), componentsPerVertex);
        return;
    }
    if (ModelDataStream::typeSize(type) == 0) {
        QMessageLogger().warning("createVertexAttribute: attribute '%s' refused: 0x%X is not a scalar type code",
                                 qUtf8Printable(name), type);
        return;
    }
    VertexAttribute &attribute = _vertexAttributes[name];
    attribute.values = newStream(type, valueCount);
    attribute.indices = newStream(kIndexType, indexCount);
    attribute.gpuValues.reset();
    attribute.gpuIndices.reset();
    attribute.componentsPerVertex = componentsPerVertex;
}

void ModelBuilder::createMaterialGroup(const QString &name, const InstanceData &material, int id, size_t flags)
{
    if (id < 0)
        id = static_cast<int>(_materialGroups.size());
    MaterialGroup &group = _materialGroups[name];
    group.material = material;
    group.id = id;
    group.faces = newStream(kIndexType, 0);
    group.flags = flags;
    group.objectName = QString();
}

void ModelBuilder::addValuesToVertexAttribute(const QString &name, size_t count, const void *values,
                                              unsigned int type)
{
    const auto found = _vertexAttributes.find(name);
    if (found == _vertexAttributes.end() || !found->values || found->values->type() != type)
        return;
    found->values->append(count, values);
}

void ModelBuilder::addIndicesToVertexAttribute(const QString &name, size_t count, const unsigned int *indices)
{
    const auto found = _vertexAttributes.find(name);
    if (found == _vertexAttributes.end() || !found->indices)
        return;
    found->indices->append(count, indices);
}

void ModelBuilder::addVertexCountsToFaces(size_t count, const unsigned int *cornerCounts)
{
    _verticesPerFace->append(count, cornerCounts);
}

bool ModelBuilder::addFacesToMaterialGroup(const QString &name, size_t count, const unsigned int *faces,
                                           const QString &objectName)
{
    const auto found = _materialGroups.find(name);
    if (found == _materialGroups.end())
        return false;
    MaterialGroup &group = *found;
    if (group.objectName.isNull())
        group.objectName = objectName;
    if (group.objectName != objectName) {
        QMessageLogger(nullptr, 0, nullptr)
            .warning("adding object '%s'' to material group for object '%s'", objectName.toLocal8Bit().constData(),
                     group.objectName.toLocal8Bit().constData());
    }
    group.faces->append(count, faces);
    return true;
}

} // namespace Vardune::Qel
