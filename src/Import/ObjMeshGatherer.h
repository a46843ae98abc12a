#pragma once

#include "ObjMesh.h"

#include <QHash>

#include <algorithm>

namespace Vardune::Qel {

// Appends the lines of one OBJ file, as they are read, to an ObjMesh: values, face corners,
// libraries and material runs. Every reading path of the import goes through it, so that they
// gather alike. Corners go straight into the mesh's arrays; a face that turns out bad is taken
// back with dropCorners().
class ObjMeshGatherer
{
public:
    explicit ObjMeshGatherer(ObjMesh &mesh)
        : _mesh(mesh)
    { }

    ObjMeshGatherer(const ObjMeshGatherer &) = delete;
    ObjMeshGatherer &operator=(const ObjMeshGatherer &) = delete;

    // Three values for Vertex and Normal, two for TexCoord.
    void addValues(ObjLineType type, const float *values)
    {
        PodArray<float> &target = type == ObjLineType::Vertex ? _mesh.positions
            : type == ObjLineType::Normal                     ? _mesh.normals
                                                              : _mesh.texCoords;
        noteAttribute(type);
        if (target.empty() && type == ObjLineType::Normal)
            startIndices(_mesh.normalIndices, _mesh.normalIndicesArePositions);
        if (target.empty() && type == ObjLineType::TexCoord)
            startIndices(_mesh.texCoordIndices, _mesh.texCoordIndicesArePositions);
        target.append(values, type == ObjLineType::TexCoord ? 2 : 3);
    }

    // Lines of each kind so far: the counts that relative corner numbers resolve against.
    ObjLineCounts counts() const
    {
        return { qint32(_mesh.positions.size() / 3), qint32(_mesh.texCoords.size() / 2),
            qint32(_mesh.normals.size() / 3) };
    }

    // Corners of the face being read; a normal or texture coordinate counts only once a line of
    // that kind exists.
    size_t cornerTotal() const { return _mesh.positionIndices.size(); }
    void addCorner(quint32 position, quint32 texCoord, quint32 normal)
    {
        _mesh.positionIndices.push_back(position);
        if (!_mesh.texCoords.empty())
            addIndex(_mesh.texCoordIndices, _mesh.texCoordIndicesArePositions, texCoord, position);
        if (!_mesh.normals.empty())
            addIndex(_mesh.normalIndices, _mesh.normalIndicesArePositions, normal, position);
    }
    void dropCorners(size_t firstCorner);
    // Closes the face whose corners were added since `firstCorner`.
    void addFace(size_t firstCorner, qint64 line);

    void addLibrary(const QString &absolutePath);
    void useMaterial(const QString &name);

private:
    // The first line of a kind: the corners read before it get no index of that kind. Before
    // any corner, the kind's indices may follow the positions'.
    void startIndices(PodArray<quint32> &indices, bool &arePositions)
    {
        const size_t missing = cornerTotal();
        arePositions = missing == 0;
        indices.resize(missing);
        std::fill(indices.begin(), indices.end(), ObjCorner::kNoIndex);
    }
    // The index of the corner whose position was just added.
    void addIndex(PodArray<quint32> &indices, bool &arePositions, quint32 index, quint32 position)
    {
        if (arePositions) {
            if (index == position)
                return;
            _mesh.spellOut(indices, arePositions, cornerTotal() - 1);
        }
        indices.push_back(index);
    }
    void noteAttribute(ObjLineType type)
    {
        const unsigned bit = 1u << unsigned(type);
        if (!(_seenAttributes & bit)) {
            _seenAttributes |= bit;
            _mesh.attributeOrder.push_back(type);
        }
    }

    ObjMesh &_mesh;
    unsigned _seenAttributes = 0;
    qint32 _material = -1;
    qint32 _libraryCount = 0;
    QHash<QString, qint32> _materialNumbers;
};

} // namespace Vardune::Qel
