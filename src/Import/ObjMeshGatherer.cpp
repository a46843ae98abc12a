// Face records and material state of a gathered OBJ file: a new material run starts only when
// the material or the number of libraries read changes, so runs stay few.

#include "ObjMeshGatherer.h"

namespace Vardune::Qel {

void ObjMeshGatherer::dropCorners(size_t firstCorner)
{
    // An index array that is stored holds one index per corner.
    _mesh.positionIndices.resize(firstCorner);
    if (!_mesh.texCoordIndices.empty())
        _mesh.texCoordIndices.resize(firstCorner);
    if (!_mesh.normalIndices.empty())
        _mesh.normalIndices.resize(firstCorner);
}

void ObjMeshGatherer::addFace(size_t firstCorner, qint64 line)
{
    const auto face = static_cast<quint32>(_mesh.cornerCounts.size());
    const ObjMaterialUse *lastUse = _mesh.materialUses.empty() ? nullptr : &_mesh.materialUses.back();
    if (!lastUse || lastUse->material != _material || lastUse->libraryCount != _libraryCount)
        _mesh.materialUses.push_back({ face, _material, _libraryCount });
    _mesh.cornerCounts.push_back(static_cast<quint32>(cornerTotal() - firstCorner));
    _mesh.faceLines.add(face, line);
}

void ObjMeshGatherer::addLibrary(const QString &absolutePath)
{
    _mesh.libraries.append(absolutePath);
    _libraryCount = static_cast<qint32>(_mesh.libraries.size());
}

void ObjMeshGatherer::useMaterial(const QString &name)
{
    const auto known = _materialNumbers.constFind(name);
    if (known != _materialNumbers.constEnd()) {
        _material = *known;
        return;
    }
    _material = static_cast<qint32>(_mesh.materialNames.size());
    _materialNumbers.insert(name, _material);
    _mesh.materialNames.append(name);
}

} // namespace Vardune::Qel
