// One material group to triangle indices and one indirect draw command.
//
// Every face of the group is triangulated over the GPU vertex numbers of its corners; the
// triangles are written straight into the builder's one triangle index stream, grown once by
// the most the group can give (3 × (n − 2) per face of n >= 3 corners) and cut back to what
// the faces gave, and the command covers
// exactly the stretch this group appended. Commands are filed under the group's batch key
// (flags & mask), beside the group's name at the same position.

#include "Diagnostics.h"
#include "GLTypes.h"
#include "ModelBuilder.h"
#include "PolygonTriangulation.h"

namespace Vardune::Qel {

void ModelBuilder::prepareMaterialGroupForUpload(const QString &name, const MaterialGroup &group,
                                                 const QSharedPointer<ModelDataStream> &positions,
                                                 const QSharedPointer<ModelDataStream> &cornerVertices,
                                                 const QList<unsigned int> &faceStarts)
{
    const auto *corners = static_cast<const int *>(cornerVertices->data(0));
    QEL_CHECK(GL_UNSIGNED_INT == _verticesPerFace->type(), 926, "Wrong Face type 0x%X, needs to be 0x%X",
              _verticesPerFace->type(), GL_UNSIGNED_INT);
    // Corner counts of another width cannot be read as 32-bit values: such a group draws nothing.
    const bool countsReadable = _verticesPerFace->type() == GL_UNSIGNED_INT;
    const auto *cornerCounts = static_cast<const unsigned int *>(_verticesPerFace->data(0));
    const auto *points = static_cast<const float *>(positions->data(0));
    const auto *faces = static_cast<const unsigned int *>(group.faces->data(0));
    const size_t faceCount = countsReadable ? group.faces->size() : 0;

    size_t mostIndices = 0;
    for (size_t j = 0; j < faceCount; ++j) {
        const unsigned int cornerCount = cornerCounts[faces[j]];
        mostIndices += cornerCount >= 3 ? 3 * size_t(cornerCount - 2) : 0;
    }

    if (_triangleIndices->isEmpty())
        _triangleIndices = newStream(kIndexType, 0);
    const size_t firstIndex = _triangleIndices->size();
    growStreamToOverwrite(*_triangleIndices, firstIndex + mostIndices);
    auto *const triangles = static_cast<unsigned int *>(_triangleIndices->data(firstIndex));
    const size_t indexCount
        = TriangulateFaces(faceCount, faces, cornerCounts, faceStarts.constData(), corners, points, triangles);
    _triangleIndices->resize(firstIndex + indexCount);

    DrawElementsIndirectCommand command;
    command.count = static_cast<uint32_t>(indexCount);
    command.instanceCount = 1;
    command.firstIndex = static_cast<uint32_t>(firstIndex);
    command.baseVertex = 0;
    command.baseInstance = 0;

    const size_t key = group.flags & _flagsMask;
    if (!_drawCommands.contains(key)) {
        _drawCommands[key] = {};
        _drawGroupNames[key] = {};
    }
    _drawCommands[key].append(command);
    _drawGroupNames[key].append(name);
}

} // namespace Vardune::Qel
