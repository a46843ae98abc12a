// The ear test of one corner: convex (a positive cross product of the unit directions to its
// neighbours) and no other active corner inside its triangle or on the border. Without a tree the
// blocking test scans every corner, O(n); with one it tests only the corners that the tree finds
// near the triangle, about O(log n) for well-spread points. The per-corner test is the same either
// way, and so is the answer. Every unit direction the test uses is that between two corners, so a
// small polygon reads them from a table made once (n² normalisations instead of several for each
// corner scanned at each cut); the table holds the values the test would compute, up to signs the
// test cannot see (see PolygonDirections).

#include "CornerTree.h"
#include "PolygonTriangulation.h"

namespace Vardune::Qel {

namespace {

Vector2f difference(Vector2f a, Vector2f b)
{
    return { a.x - b.x, a.y - b.y };
}

float cross(Vector2f a, Vector2f b)
{
    return a.x * b.y - a.y * b.x;
}

float dot(Vector2f a, Vector2f b)
{
    return a.x * b.x + a.y * b.y;
}

bool operator==(Vector2f a, Vector2f b)
{
    return a.x == b.x && a.y == b.y;
}

// The triangle corner → next → prev of an ear candidate and its unit edge directions.
struct EarTriangle
{
    int corners[3]; // corner, next, prev
    Vector2f corner;
    Vector2f next;
    Vector2f prev;
    Vector2f edge0;
    Vector2f edge1;
    Vector2f edge2;

    bool isCorner(int k) const { return k == corners[0] || k == corners[1] || k == corners[2]; }

    // Whether corner k lies inside the triangle or on its border, compared through unit
    // directions so that the signs measure angles, not areas. A NaN compares false and blocks
    // nothing. A point repeating a corner's position, as where an outline runs to a hole and back
    // along one edge, does not block either.
    template<typename UnitDifference>
    bool blocks(int k, const Vector2f *points, UnitDifference unitDifference) const
    {
        const Vector2f point = points[k];
        if (point == corner || point == next || point == prev)
            return false;
        return cross(edge0, unitDifference(k, corners[0])) >= 0.0f
            && cross(edge1, unitDifference(k, corners[1])) >= 0.0f
            && cross(edge2, unitDifference(k, corners[2])) >= 0.0f;
    }
};

template<typename UnitDifference>
bool blockedByScan(const EarTriangle &ear, int count, const Vector2f *points, const EarVertex *ring,
    UnitDifference unitDifference)
{
    for (int k = 0; k < count; ++k) {
        if (!ear.isCorner(k) && ring[k].active && ear.blocks(k, points, unitDifference))
            return true;
    }
    return false;
}

} // namespace

// Half the table is computed and the other half negated: swapping the points negates the
// difference, and its length is the same. A negated entry can differ from a fresh computation
// only in the sign of a zero or of a NaN, which the ear tests, made of products, sums and
// comparisons, cannot see.
void PolygonDirections(int count, const Vector2f *points, Vector2f *directions)
{
    for (int a = 0; a < count; ++a) {
        directions[a * count + a] = normalized(difference(points[a], points[a]));
        for (int b = a + 1; b < count; ++b) {
            const Vector2f d = normalized(difference(points[a], points[b]));
            directions[a * count + b] = d;
            directions[b * count + a] = { -d.x, -d.y };
        }
    }
}

void UpdateEarState(
    int i, int count, const Vector2f *points, EarVertex *ring, const CornerTree *tree, const Vector2f *directions)
{
    EarVertex &vertex = ring[i];
    // normalized(points[a] − points[b]), from the table when there is one.
    const auto unitDifference = [&](int a, int b) {
        return directions ? directions[a * count + b] : normalized(difference(points[a], points[b]));
    };

    const Vector2f toNext = unitDifference(vertex.next, i);
    const Vector2f toPrev = unitDifference(vertex.prev, i);
    vertex.cross = cross(toNext, toPrev);
    vertex.cosAngle = dot(toNext, toPrev);
    vertex.isEar = vertex.cross > 0.0f;
    if (!vertex.isEar)
        return;

    const EarTriangle ear { { i, vertex.next, vertex.prev }, points[i], points[vertex.next], points[vertex.prev], toNext,
        unitDifference(vertex.prev, vertex.next), unitDifference(i, vertex.prev) };
    if (tree) {
        // The tree holds the active corners only.
        const EarTriangleEdges edges { { ear.corner, ear.next, ear.prev }, { ear.edge0, ear.edge1, ear.edge2 } };
        vertex.isEar = !tree->anyCornerWithin(edges, [&](int k) {
            return !ear.isCorner(k) && ear.blocks(k, points, unitDifference);
        });
    } else
        vertex.isEar = !blockedByScan(ear, count, points, ring, unitDifference);
}

} // namespace Vardune::Qel
