// Range check of every corner of a gathered OBJ file against the file's final value counts,
// so that no index outside its attribute ever reaches the builder. One pass over the corners;
// messages only for the faces that are skipped.

#include "ObjFaceSelection.h"

#include "BlockSearch.h"

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

bool isUsable(quint32 index, quint32 count)
{
    return index == ObjCorner::kNoIndex || index < count;
}

// An index array that does not exist (no line of its kind) gives no index to any corner.
quint32 cornerIndex(const PodArray<quint32> &indices, size_t corner)
{
    return indices.empty() ? ObjCorner::kNoIndex : indices[corner];
}

// The reason the face at corners [first, first + count) cannot be used; null when it can.
QString faceProblem(const ObjMesh &mesh, size_t first, quint32 count, const IndexKind &positions,
    const IndexKind &texCoords, const IndexKind &normals)
{
    for (quint32 i = 0; i < count; ++i) {
        const quint32 position = mesh.positionIndices[first + i];
        const quint32 texCoord = cornerIndex(mesh.texCoordIndexArray(), first + i);
        const quint32 normal = cornerIndex(mesh.normalIndexArray(), first + i);
        if (position == ObjCorner::kNoIndex)
            return QStringLiteral("corner %1 has no position index").arg(i + 1);
        if (position >= positions.count)
            return outsideReason(position, positions);
        if (!isUsable(texCoord, texCoords.count))
            return outsideReason(texCoord, texCoords);
        if (!isUsable(normal, normals.count))
            return outsideReason(normal, normals);
    }
    return QString();
}

// True when every index of the array is below `count`, or also kNoIndex where `noIndexUsable`:
// one vectorised pass, so that the usual file costs no per-face work. Adding 1 wraps kNoIndex to
// 0, below every count. (A running maximum would chain each step on the last, twice as slow
// without an unsigned vector maximum.)
bool allUsable(const PodArray<quint32> &indices, quint32 count, bool noIndexUsable)
{
    if (indices.empty())
        return true;
    if (count == 0 && !noIndexUsable)
        return false;
    const quint32 shift = noIndexUsable ? 1 : 0;
    const quint32 largestUsable = count - 1 + shift;
    const auto unusable = [shift, largestUsable](quint32 index) { return quint32(index + shift) > largestUsable; };
    return firstMatch(indices.data(), indices.size(), unusable) == indices.size();
}

} // namespace

void selectUsableObjFaces(const ObjMesh &mesh, const QString &fileName, std::vector<quint8> &kept)
{
    const IndexKind positions { "position", "positions", mesh.positionCount() };
    const IndexKind texCoords { "texture coordinate", "texture coordinates", mesh.texCoordCount() };
    const IndexKind normals { "normal", "normals", mesh.normalCount() };

    const size_t faceCount = mesh.cornerCounts.size();
    kept.assign(faceCount, 1);
    // kNoIndex is never below a count, so a missing position fails the first test too.
    if (positions.count < ObjCorner::kNoIndex && allUsable(mesh.positionIndices, positions.count, false)
        && allUsable(mesh.texCoordIndexArray(), texCoords.count, true)
        && allUsable(mesh.normalIndexArray(), normals.count, true))
        return;
    size_t corner = 0;
    quint64 skippedCount = 0;
    for (size_t face = 0; face < faceCount; ++face) {
        const quint32 cornerCount = mesh.cornerCounts[face];
        const QString problem = faceProblem(mesh, corner, cornerCount, positions, texCoords, normals);
        corner += cornerCount;
        if (problem.isNull())
            continue;
        kept[face] = 0;
        if (++skippedCount <= kMaxFaceWarnings) {
            QMessageLogger(nullptr, 0, nullptr)
                .warning("%s:%lld: face skipped: %s", qUtf8Printable(fileName),
                    static_cast<long long>(mesh.faceLines.lineOf(quint32(face))), qUtf8Printable(problem));
        }
    }
    if (skippedCount > kMaxFaceWarnings) {
        QMessageLogger(nullptr, 0, nullptr)
            .warning("%s: %llu more faces skipped", qUtf8Printable(fileName),
                static_cast<unsigned long long>(skippedCount - kMaxFaceWarnings));
    }
}

} // namespace Vardune::Qel
