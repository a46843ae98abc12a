#pragma once

#include "ObjLineWords.h"
#include "PodArray.h"

#include <QStringList>
#include <QtGlobal>

#include <algorithm>
#include <iterator>
#include <vector>

namespace Vardune::Qel {

// A run of consecutive faces read under one material state: the material named by the last
// "usemtl" line and the number of "mtllib" lines read before them.
struct ObjMaterialUse
{
    quint32 firstFace = 0;
    qint32 material = -1; // index into ObjMesh::materialNames; -1 before any "usemtl"
    qint32 libraryCount = 0;
};

// The 1-based line number of every face, kept as runs of faces on consecutive lines: the faces of
// a file mostly follow one another line after line, so a few runs stand for all of them, where a
// number per face was as large as a triangle mesh's corner counts. Faces are added in order.
class ObjFaceLines
{
public:
    void add(quint32 face, qint64 line)
    {
        if (_runs.empty() || line != _runs.back().firstLine + (face - _runs.back().firstFace))
            _runs.push_back({ face, line });
    }

    // The line of a face that was added.
    qint64 lineOf(quint32 face) const
    {
        const auto after = std::upper_bound(
            _runs.begin(), _runs.end(), face, [](quint32 f, const Run &run) { return f < run.firstFace; });
        return std::prev(after)->firstLine + (face - std::prev(after)->firstFace);
    }

    bool operator==(const ObjFaceLines &other) const
    {
        return _runs.size() == other._runs.size()
            && std::equal(_runs.begin(), _runs.end(), other._runs.begin(),
                [](const Run &a, const Run &b) { return a.firstFace == b.firstFace && a.firstLine == b.firstLine; });
    }

private:
    struct Run
    {
        quint32 firstFace;
        qint64 firstLine;
    };
    std::vector<Run> _runs;
};

// An OBJ file gathered into flat arrays, as read, before any check against the whole file.
//
// Corners hold the indices the reader resolved, one array per kind; a normal or
// texture-coordinate index of a face read before the first line of that kind is kNoIndex.
// The normal and texture-coordinate index arrays stay empty for as long as no line of their
// kind has been read (most files have no normals or no texture coordinates at all), and hold
// one index per corner from then on. Many files give every corner one number for all its kinds
// ("f 1/1/1"): an index array whose every index so far repeats the position index is not
// stored either, and its flag `...ArePositions` is set; the array is spelled out at the first
// corner that differs. Read the arrays through texCoordIndexArray() and normalIndexArray().
// Nothing here is range-checked.
struct ObjMesh
{
    PodArray<float> positions; // x, y, z per "v" line
    PodArray<float> normals; // x, y, z per "vn" line
    PodArray<float> texCoords; // u, v per "vt" line
    std::vector<ObjLineType> attributeOrder; // Vertex, Normal, TexCoord in order of first line
    PodArray<quint32> cornerCounts; // per face
    PodArray<quint32> positionIndices; // per corner, face after face
    PodArray<quint32> normalIndices; // per corner, or empty while there are no normals
    PodArray<quint32> texCoordIndices; // per corner, or empty while there are no texture coordinates
    ObjFaceLines faceLines;
    QStringList libraries; // absolute paths of the "mtllib" lines, in order
    QStringList materialNames; // distinct "usemtl" names, in order of first use
    std::vector<ObjMaterialUse> materialUses; // runs covering every face, in order

    bool texCoordIndicesArePositions = false;
    bool normalIndicesArePositions = false;

    const PodArray<quint32> &texCoordIndexArray() const
    {
        return texCoordIndicesArePositions ? positionIndices : texCoordIndices;
    }
    const PodArray<quint32> &normalIndexArray() const
    {
        return normalIndicesArePositions ? positionIndices : normalIndices;
    }
    // Stores the index arrays that repeat the position indices.
    void spellOutIndices()
    {
        spellOut(texCoordIndices, texCoordIndicesArePositions, positionIndices.size());
        spellOut(normalIndices, normalIndicesArePositions, positionIndices.size());
    }
    // Stores one array that repeats the first `count` position indices.
    void spellOut(PodArray<quint32> &indices, bool &arePositions, size_t count)
    {
        if (!arePositions)
            return;
        indices.append(positionIndices.data(), count);
        arePositions = false;
    }

    quint32 positionCount() const { return static_cast<quint32>(positions.size() / 3); }
    quint32 normalCount() const { return static_cast<quint32>(normals.size() / 3); }
    quint32 texCoordCount() const { return static_cast<quint32>(texCoords.size() / 2); }
};

} // namespace Vardune::Qel
