#include "ModelBuilder.h"

namespace Vardune::Qel {

bool ModelBuilder::hasMaterialGroup(const QString &name) const
{
    return _materialGroups.contains(name);
}

bool ModelBuilder::hasVertexAttribute(const QString &name) const
{
    return _vertexAttributes.contains(name);
}

int ModelBuilder::materialGroupId(const QString &name) const
{
    const auto found = _materialGroups.constFind(name);
    return found == _materialGroups.constEnd() ? -1 : found->id;
}

size_t ModelBuilder::materialGroupFlags(const QString &name) const
{
    const auto found = _materialGroups.constFind(name);
    return found == _materialGroups.constEnd() ? 0 : found->flags;
}

bool ModelBuilder::isValid() const
{
    if (_materialGroups.isEmpty() || _verticesPerFace->isEmpty() || _vertexAttributes.isEmpty())
        return false;
    for (const VertexAttribute &attribute : _vertexAttributes) {
        // An attribute without values is one that normal generation created; it has no input.
        if (!attribute.values)
            continue;
        if (attribute.values->isEmpty() || !attribute.indices || attribute.indices->isEmpty())
            return false;
    }
    return true;
}

void ModelBuilder::generateNormals(const QString &name)
{
    _normalsAttributeName = name;
}

void ModelBuilder::clear()
{
    _materialGroups.clear();
    _verticesPerFace = newStream(kIndexType, 0);
    _vertexAttributes.clear();
    _normalsAttributeName = QString();
    _triangleIndices = newStream(kIndexType, 0);
    _drawCommands.clear();
    _drawGroupNames.clear();
}

void ModelBuilder::removeDuplicateVertices()
{
}

void ModelBuilder::removeUnusedVertices()
{
}

} // namespace Vardune::Qel
