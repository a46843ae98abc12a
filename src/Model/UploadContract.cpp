// What upload() checks before it reads a builder's streams.
//
// The input operations accept anything; the stages after them index raw arrays with the
// caller's numbers. One linear pass over the face counts, every index stream and every group's
// faces proves that each read will be in bounds and that every total fits the 32-bit arithmetic
// of the stages, so that no sequence of public calls can make upload() read or write out of
// bounds.

#include "BlockSearch.h"
#include "GLTypes.h"
#include "ModelBuilder.h"

#include <QVarLengthArray>

#include <algorithm>
#include <climits>
#include <limits>

namespace Vardune::Qel {

namespace {

constexpr quint64 kLargestTotal = INT_MAX;

quint64 triangleIndexCount(unsigned int cornerCount)
{
    return cornerCount >= 3 ? 3 * (quint64(cornerCount) - 2) : 0;
}

// The position of the first value at or above `limit`, or `count` when there is none.
size_t firstAtOrAbove(const unsigned int *values, size_t count, quint64 limit)
{
    if (limit > std::numeric_limits<unsigned int>::max())
        return count;
    const auto bound = static_cast<unsigned int>(limit);
    return firstMatch(values, count, [bound](unsigned int v) { return v >= bound; });
}

} // namespace

QString ModelBuilder::uploadContractViolation(const QString &positionAttributeName, bool preparing) const
{
    if (!preparing) {
        // Later uploads reuse the prepared streams: only attributes made since are unknown to them.
        for (auto it = _vertexAttributes.cbegin(); it != _vertexAttributes.cend(); ++it) {
            if (!it->gpuValues || !it->gpuIndices)
                return QStringLiteral("attribute '%1' was created after the first upload; clear() the builder and "
                                      "feed it again").arg(it.key());
        }
        return {};
    }

    const VertexAttribute positions = _vertexAttributes.value(positionAttributeName);
    if (!positions.values || positions.componentsPerVertex != 3 || positions.values->type() != GLType::Float)
        return QStringLiteral("position attribute '%1' must hold 3 GL_FLOAT components per vertex").arg(positionAttributeName);

    if (_verticesPerFace->type() != GLType::UnsignedInt)
        return QStringLiteral("face corner counts must be GL_UNSIGNED_INT, not 0x%1").arg(_verticesPerFace->type(), 0, 16);
    const size_t faceCount = _verticesPerFace->size();
    const auto *cornerCounts = static_cast<const unsigned int *>(_verticesPerFace->data(0));
    quint64 cornerTotal = 0;
    for (size_t f = 0; f < faceCount; ++f)
        cornerTotal += cornerCounts[f];
    if (cornerTotal > kLargestTotal)
        return QStringLiteral("%1 face corners are more than %2").arg(cornerTotal).arg(kLargestTotal);

    // Attributes may share an index stream (an OBJ import's "f 1/1/1"): once it is known to lie
    // below a vertex count, an attribute with at least as many vertices needs no scan of it.
    struct ScannedIndices
    {
        const void *indices;
        quint64 below;
    };
    QVarLengthArray<ScannedIndices, 8> scanned;
    for (auto it = _vertexAttributes.cbegin(); it != _vertexAttributes.cend(); ++it) {
        const VertexAttribute &attribute = *it;
        if (!attribute.values) {
            if (it.key() == _normalsAttributeName && attribute.gpuValues && attribute.gpuIndices)
                continue; // generated normals of an earlier preparation, made again below
            return QStringLiteral("attribute '%1' holds no values").arg(it.key());
        }
        // GPU streams of an earlier preparation are reused as they are; they must still match.
        if (attribute.gpuIndices && attribute.gpuIndices->size() != cornerTotal)
            return QStringLiteral("attribute '%1' was prepared for %2 face corners, the builder now has %3; clear() "
                                  "the builder and feed it again")
                .arg(it.key())
                .arg(attribute.gpuIndices->size())
                .arg(cornerTotal);
        if (!attribute.indices || attribute.indices->type() != GLType::UnsignedInt)
            return QStringLiteral("attribute '%1' must have GL_UNSIGNED_INT indices").arg(it.key());
        if (attribute.indices->size() != cornerTotal)
            return QStringLiteral("attribute '%1' has %2 indices for %3 face corners")
                .arg(it.key())
                .arg(attribute.indices->size())
                .arg(cornerTotal);
        const auto components = static_cast<quint64>(attribute.componentsPerVertex);
        if (cornerTotal * components > kLargestTotal)
            return QStringLiteral("attribute '%1' would need %2 values on the GPU, more than %3")
                .arg(it.key())
                .arg(cornerTotal * components)
                .arg(kLargestTotal);
        const quint64 vertexCount = attribute.values->size() / components;
        const auto *indices = static_cast<const unsigned int *>(attribute.indices->data(0));
        const auto known = std::find_if(scanned.begin(), scanned.end(),
            [indices](const ScannedIndices &earlier) { return earlier.indices == indices; });
        if (known != scanned.end() && known->below <= vertexCount)
            continue;
        const size_t corner = firstAtOrAbove(indices, cornerTotal, vertexCount);
        if (corner < cornerTotal)
            return QStringLiteral("attribute '%1' index %2 at corner %3 is outside its %4 vertices")
                .arg(it.key())
                .arg(indices[corner])
                .arg(corner)
                .arg(vertexCount);
        if (known != scanned.end())
            known->below = vertexCount;
        else
            scanned.append({ indices, vertexCount });
    }

    quint64 triangleIndexTotal = 0;
    for (auto it = _materialGroups.cbegin(); it != _materialGroups.cend(); ++it) {
        const MaterialGroup &group = *it;
        if (!group.faces || group.faces->type() != GLType::UnsignedInt)
            return QStringLiteral("material group '%1' must list its faces as GL_UNSIGNED_INT").arg(it.key());
        const size_t listed = group.faces->size();
        const auto *faces = static_cast<const unsigned int *>(group.faces->data(0));
        const size_t outside = firstAtOrAbove(faces, listed, faceCount);
        if (outside < listed)
            return QStringLiteral("material group '%1' lists face %2 at position %3, but there are %4 faces")
                .arg(it.key())
                .arg(faces[outside])
                .arg(outside)
                .arg(faceCount);
        for (size_t j = 0; j < listed; ++j)
            triangleIndexTotal += triangleIndexCount(cornerCounts[faces[j]]);
        if (triangleIndexTotal > kLargestTotal)
            return QStringLiteral("the material groups would make %1 triangle indices, more than %2")
                .arg(triangleIndexTotal)
                .arg(kLargestTotal);
    }
    return {};
}

} // namespace Vardune::Qel
