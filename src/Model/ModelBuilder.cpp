#include "ModelBuilder.h"

#include "GLTypes.h"
#include "ModelDataArray.h"
#include "VertexGather.h"

#include <QelGL/InstanceDataPlan.h>
#include <QelGL/InstanceDataRegistry.h>

#include <QMessageLogger>

#include <typeinfo>

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

    _verticesPerFace = newStream(kIndexType, 0);
    _triangleIndices = newStream(kIndexType, 0);
}

ModelBuilder::~ModelBuilder() = default;

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
    return QSharedPointer<ModelDataStream>(new ModelDataArray(type, count, Qt::Uninitialized));
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
    attribute.values.reset(new ModelDataArray(type, std::move(values)));
    attribute.indices.reset(new ModelDataArray(kIndexType, std::move(indices)));
    attribute.gpuValues.reset();
    attribute.gpuIndices.reset();
    attribute.componentsPerVertex = componentsPerVertex;
}

void ModelBuilder::adoptVertexCountsOfFaces(QByteArray &&cornerCounts)
{
    _verticesPerFace.reset(new ModelDataArray(kIndexType, std::move(cornerCounts)));
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
