// Projection of a planar polygon given in 3D onto its own plane, so that ear clipping can work in
// 2D. The normal, when the caller has none, is the sum of the cross products of consecutive
// absolute positions (twice the vector area), which needs no choice of a reference corner and
// stays stable for slightly non-planar faces. Both passes are linear in the corner count.

#include "PolygonTriangulation.h"

namespace Vardune::Qel {

namespace {

Vector3f positionOf(const float *positions, int vertex)
{
    const float *p = positions + 3 * static_cast<qsizetype>(vertex);
    return { p[0], p[1], p[2] };
}

Vector3f cross(Vector3f a, Vector3f b)
{
    return { a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x };
}

float dot(Vector3f a, Vector3f b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

} // namespace

QVector3D ComputePolygonNormal(int count, const int *indices, const float *positions)
{
    Vector3f normal { 0.0f, 0.0f, 0.0f };
    for (int k = 0; k < count; ++k) {
        const Vector3f previous = positionOf(positions, indices[k == 0 ? count - 1 : k - 1]);
        const Vector3f term = cross(previous, positionOf(positions, indices[k]));
        normal.x += term.x;
        normal.y += term.y;
        normal.z += term.z;
    }
    normalize(normal);
    return QVector3D(normal.x, normal.y, normal.z);
}

void ProjectPolygonToPlane(
    const QVector3D &normal, int count, const int *indices, const float *positions, Vector2f *points)
{
    const Vector3f n { normal.x(), normal.y(), normal.z() };
    // Near the y axis, y × n would be too short to give a stable direction; z is then far enough.
    const Vector3f yAxis { 0.0f, 1.0f, 0.0f };
    const Vector3f reference = std::abs(dot(n, yAxis)) > 0.9f ? Vector3f { 0.0f, 0.0f, 1.0f } : yAxis;
    const Vector3f u = normalized(cross(reference, n));
    const Vector3f v = normalized(cross(n, u));

    const Vector3f origin = positionOf(positions, indices[0]);
    points[0] = { 0.0f, 0.0f };
    for (int k = 1; k < count; ++k) {
        const Vector3f p = positionOf(positions, indices[k]);
        const Vector3f d { p.x - origin.x, p.y - origin.y, p.z - origin.z };
        points[k] = { dot(d, u), dot(d, v) };
    }
}

} // namespace Vardune::Qel
