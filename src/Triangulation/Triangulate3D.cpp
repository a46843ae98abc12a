// Triangulation of one planar polygon given in 3D: projection onto its plane, a winding measure
// that decides the walking direction, then fixed patterns or ear clipping on corner numbers, which
// are finally mapped to vertex numbers. Polygons of up to 16 corners, nearly every face of a real
// mesh, work in stack buffers; larger ones reuse per-thread buffers, so no call allocates
// except to grow the output list, and the raw form writes into room its caller sized once.

#include "Triangulate3D.h"

#include "PolygonTriangulation.h"

#include <algorithm>
#include <vector>

namespace Vardune::Qel {

namespace {

template<typename Index>
void appendVertexNumbers(const int *corners, int cornerCount, const int *indices, QList<Index> &out)
{
    // Only called with triangles: a failed polygon leaves the list untouched, not even detached.
    // Room for this polygon, growing geometrically so that a caller appending face after face to
    // one list does not copy it at every call.
    const qsizetype needed = out.size() + cornerCount;
    if (needed > out.capacity())
        out.reserve(std::max(needed, 2 * out.capacity()));
    out.resize(needed);
    Index *destination = out.data() + (needed - cornerCount);
    for (int k = 0; k < cornerCount; ++k)
        destination[k] = static_cast<Index>(indices[corners[k]]);
}

// Hands the corner numbers of the polygon's triangles, from a stack or per-thread buffer, to
// `take(corners, cornerCount)`; a failed polygon hands nothing.
template<typename Take>
void triangulate(const QVector3D &normal, int count, const int *indices, const float *positions, Take take)
{
    // Up to this many corners, the faces of nearly every mesh, the buffers live on the stack.
    constexpr int kSmallCount = 16;
    if (count <= 0) {
        // There is nothing to project and the lists may be null: only the warning remains.
        TriangulatePolygon2D(count, nullptr, false, nullptr);
        return;
    }

    Vector2f smallPoints[kSmallCount];
    int smallCorners[3 * (kSmallCount - 2)];
    Vector2f *points = smallPoints;
    int *corners = smallCorners;
    if (count > kSmallCount) {
        thread_local std::vector<Vector2f> pointBuffer;
        thread_local std::vector<int> cornerBuffer;
        pointBuffer.resize(count);
        cornerBuffer.resize(3 * static_cast<size_t>(count - 2));
        points = pointBuffer.data();
        corners = cornerBuffer.data();
    }

    ProjectPolygonToPlane(normal, count, indices, positions, points);
    const int cornerCount = TriangulatePolygon2D(count, points, PolygonRunsClockwise(count, points), corners);
    if (cornerCount > 0)
        take(corners, cornerCount);
}

template<typename Index>
void triangulate(const QVector3D &normal, int count, const int *indices, const float *positions, QList<Index> &out)
{
    triangulate(normal, count, indices, positions,
        [&](const int *corners, int cornerCount) { appendVertexNumbers(corners, cornerCount, indices, out); });
}

} // namespace

// Twice the signed area with the opposite sign: positive when the points run clockwise. A NaN sum
// also counts as clockwise.
bool PolygonRunsClockwise(int count, const Vector2f *points)
{
    float sum = 0.0f;
    for (int k = 0; k < count; ++k) {
        const Vector2f previous = points[k == 0 ? count - 1 : k - 1];
        sum += (points[k].x - previous.x) * (points[k].y + previous.y);
    }
    return !(sum <= 0.0f);
}

void Triangulate3D(
    const QVector3D &normal, int count, const int *indices, const float *positions, QList<unsigned short> &out)
{
    triangulate(normal, count, indices, positions, out);
}

void Triangulate3D(
    const QVector3D &normal, int count, const int *indices, const float *positions, QList<unsigned int> &out)
{
    triangulate(normal, count, indices, positions, out);
}

void Triangulate3D(int count, const int *indices, const float *positions, QList<unsigned short> &out)
{
    triangulate(ComputePolygonNormal(count, indices, positions), count, indices, positions, out);
}

void Triangulate3D(int count, const int *indices, const float *positions, QList<unsigned int> &out)
{
    triangulate(ComputePolygonNormal(count, indices, positions), count, indices, positions, out);
}

int TriangulatePolygon3D(int count, const int *indices, const float *positions, unsigned int *out)
{
    int written = 0;
    triangulate(ComputePolygonNormal(count, indices, positions), count, indices, positions,
        [&](const int *corners, int cornerCount) {
            for (int k = 0; k < cornerCount; ++k)
                out[k] = static_cast<unsigned int>(indices[corners[k]]);
            written = cornerCount;
        });
    return written;
}

} // namespace Vardune::Qel
