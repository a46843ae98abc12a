#include "ObjScanDifference.h"

#include "ObjTextScanner.h"
#include "ReferenceObjReader.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstring>

namespace Vardune::Qel {

namespace {

template<typename Array>
bool sameBytes(const Array &a, const Array &b)
{
    return a.size() == b.size() && (a.size() == 0 || std::memcmp(a.data(), b.data(), a.size() * sizeof(a[0])) == 0);
}

QString meshDifference(const ObjMesh &a, const ObjMesh &b)
{
    if (!sameBytes(a.positions, b.positions))
        return QStringLiteral("positions");
    if (!sameBytes(a.normals, b.normals))
        return QStringLiteral("normals");
    if (!sameBytes(a.texCoords, b.texCoords))
        return QStringLiteral("texture coordinates");
    if (a.attributeOrder != b.attributeOrder)
        return QStringLiteral("attribute order");
    if (!sameBytes(a.cornerCounts, b.cornerCounts) || !(a.faceLines == b.faceLines))
        return QStringLiteral("faces");
    if (!sameBytes(a.positionIndices, b.positionIndices) || !sameBytes(a.normalIndexArray(), b.normalIndexArray())
        || !sameBytes(a.texCoordIndexArray(), b.texCoordIndexArray()))
        return QStringLiteral("corner indices");
    if (a.libraries != b.libraries || a.materialNames != b.materialNames)
        return QStringLiteral("libraries or material names");
    if (a.materialUses.size() != b.materialUses.size()
        || !std::equal(a.materialUses.begin(), a.materialUses.end(), b.materialUses.begin(),
            [](const ObjMaterialUse &x, const ObjMaterialUse &y) {
                return x.firstFace == y.firstFace && x.material == y.material && x.libraryCount == y.libraryCount;
            }))
        return QStringLiteral("material runs");
    return QString();
}

} // namespace

QString objScanDifference(const QString &path)
{
    ObjMesh reference;
    if (!Reference::readObjMesh(path, reference))
        return QStringLiteral("reference did not open the file");
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return QStringLiteral("file did not open");
    ObjMesh scanned;
    scanObjFile(file, QFileInfo(path).dir().absolutePath(), scanned);
    return meshDifference(scanned, reference);
}

} // namespace Vardune::Qel
