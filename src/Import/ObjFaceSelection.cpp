// Range check of every corner of a gathered OBJ file against the file's final value counts,
// so that no index outside its attribute ever reaches the builder. One pass over the corners;
// messages only for the faces that are skipped.

#include "ObjFaceSelection.h"

#include <QMessageLogger>

namespace Vardune::Qel {

namespace {

constexpr int kMaxFaceWarnings = 20;

struct IndexKind
{
    const char *singular;
    const char *plural;
    quint32 count;
};

QString outsideReason(quint32 index, const IndexKind &kind)
{
    // The file's own 1-based numbering; a relative number that reached before the first line
    // shows as 0 or below.
    const qint64 number = static_cast<qint64>(static_cast<qint32>(index)) + 1;
    return QStringLiteral("%1 index %2 is outside the %3 %4 of the file")
        .arg(QLatin1StringView(kind.singular))
        .arg(number)
        .arg(kind.count)
        .arg(QLatin1StringView(kind.plural));
}

// The reason the face at corners [first, first + count) cannot be used; null when it can.
QString faceProblem(const ObjCorner *corners, quint32 count, const IndexKind &positions, const IndexKind &texCoords,
    const IndexKind &normals)
{
    for (quint32 i = 0; i < count; ++i) {
        const ObjCorner &corner = corners[i];
        if (corner.position == ObjCorner::kNoIndex)
            return QStringLiteral("corner %1 has no position index").arg(i + 1);
        if (corner.position >= positions.count)
            return outsideReason(corner.position, positions);
        if (corner.texCoord != ObjCorner::kNoIndex && corner.texCoord >= texCoords.count)
            return outsideReason(corner.texCoord, texCoords);
        if (corner.normal != ObjCorner::kNoIndex && corner.normal >= normals.count)
            return outsideReason(corner.normal, normals);
    }
    return QString();
}

} // namespace

void selectUsableObjFaces(const ObjMesh &mesh, const QString &fileName, std::vector<quint8> &kept)
{
    const IndexKind positions { "position", "positions", mesh.positionCount() };
    const IndexKind texCoords { "texture coordinate", "texture coordinates", mesh.texCoordCount() };
    const IndexKind normals { "normal", "normals", mesh.normalCount() };

    const size_t faceCount = mesh.cornerCounts.size();
    kept.assign(faceCount, 1);
    const ObjCorner *corners = mesh.corners.data();
    quint64 skippedCount = 0;
    for (size_t face = 0; face < faceCount; ++face) {
        const quint32 cornerCount = mesh.cornerCounts[face];
        const QString problem = faceProblem(corners, cornerCount, positions, texCoords, normals);
        corners += cornerCount;
        if (problem.isNull())
            continue;
        kept[face] = 0;
        if (++skippedCount <= kMaxFaceWarnings) {
            QMessageLogger(nullptr, 0, nullptr)
                .warning("%s:%lld: face skipped: %s", qUtf8Printable(fileName),
                    static_cast<long long>(mesh.faceLines[face]), qUtf8Printable(problem));
        }
    }
    if (skippedCount > kMaxFaceWarnings) {
        QMessageLogger(nullptr, 0, nullptr)
            .warning("%s: %llu more faces skipped", qUtf8Printable(fileName),
                static_cast<unsigned long long>(skippedCount - kMaxFaceWarnings));
    }
}

} // namespace Vardune::Qel
