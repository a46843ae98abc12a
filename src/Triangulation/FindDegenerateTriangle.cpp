// Search for the first degenerate triangle in a 2D triangle list. Edge directions are compared as
// unit vectors, so the test is an angular tolerance independent of the triangle's size. Linear in
// the number of triangles scanned.

#include "FindDegenerateTriangle.h"

#include "VectorNormalization.h"

#include <QtGlobal>

#include <cmath>

namespace Vardune::Qel {

namespace {

Vector2f pointOf(const float *positions, unsigned int vertex)
{
    const float *p = positions + 2 * static_cast<size_t>(vertex);
    return { p[0], p[1] };
}

Vector2f unitDirection(Vector2f from, Vector2f to)
{
    return normalized(Vector2f { to.x - from.x, to.y - from.y });
}

// A zero direction matches nothing, and a NaN fails the comparison.
bool isParallel(Vector2f a, Vector2f b)
{
    return 1.0f - std::abs(a.x * b.x + a.y * b.y) < kNormalizationTolerance;
}

} // namespace

int FindDegenerateTriangle(int count, const unsigned int *indices, const float *positions, int start)
{
    for (qint64 k = start; k + 2 < count; k += 3) {
        const Vector2f p0 = pointOf(positions, indices[k]);
        const Vector2f p1 = pointOf(positions, indices[k + 1]);
        const Vector2f p2 = pointOf(positions, indices[k + 2]);
        const Vector2f e0 = unitDirection(p0, p1);
        const Vector2f e1 = unitDirection(p1, p2);
        const Vector2f e2 = unitDirection(p2, p0);
        if (isParallel(e0, e1) || isParallel(e2, e1) || isParallel(e0, e2))
            return static_cast<int>(k);
    }
    return -1;
}

} // namespace Vardune::Qel
