// The ear test of one corner: convex (a positive cross product of the unit directions to its
// neighbours) and no other active corner inside its triangle or on the border. Without a tree the
// blocking test scans every corner, O(n); with one it tests only the corners that the tree finds
// near the triangle, about O(log n) for well-spread points. The per-corner test is the same either
// way, and so is the answer.

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
    Vector2f corner;
    Vector2f next;
    Vector2f prev;
    Vector2f edge0;
    Vector2f edge1;
    Vector2f edge2;

    // Whether `point` lies inside the triangle or on its border, compared through unit directions
    // so that the signs measure angles, not areas. A NaN compares false and blocks nothing. A
    // point repeating a corner's position, as where an outline runs to a hole and back along one
    // edge, does not block either.
    bool blocks(Vector2f point) const
    {
        if (point == corner || point == next || point == prev)
            return false;
        return cross(edge0, normalized(difference(point, corner))) >= 0.0f
            && cross(edge1, normalized(difference(point, next))) >= 0.0f
            && cross(edge2, normalized(difference(point, prev))) >= 0.0f;
    }
};

bool blockedByScan(const EarTriangle &ear, int i, int count, const Vector2f *points, const EarVertex *ring)
{
    for (int k = 0; k < count; ++k) {
        if (k != i && k != ring[i].prev && k != ring[i].next && ring[k].active && ear.blocks(points[k]))
            return true;
    }
    return false;
}

} // namespace

void UpdateEarState(int i, int count, const Vector2f *points, EarVertex *ring, const CornerTree *tree)
{
    EarVertex &vertex = ring[i];
    const Vector2f corner = points[i];
    const Vector2f nextCorner = points[vertex.next];
    const Vector2f prevCorner = points[vertex.prev];

    const Vector2f toNext = normalized(difference(nextCorner, corner));
    const Vector2f toPrev = normalized(difference(prevCorner, corner));
    vertex.cross = cross(toNext, toPrev);
    vertex.cosAngle = dot(toNext, toPrev);
    vertex.isEar = vertex.cross > 0.0f;
    if (!vertex.isEar)
        return;

    const EarTriangle ear { corner, nextCorner, prevCorner, toNext, normalized(difference(prevCorner, nextCorner)),
        normalized(difference(corner, prevCorner)) };
    if (tree) {
        // The tree holds the active corners only.
        const EarTriangleEdges edges { { corner, nextCorner, prevCorner }, { ear.edge0, ear.edge1, ear.edge2 } };
        vertex.isEar = !tree->anyCornerWithin(
            edges, [&](int k) { return k != i && k != vertex.prev && k != vertex.next && ear.blocks(points[k]); });
    } else
        vertex.isEar = !blockedByScan(ear, i, count, points, ring);
}

} // namespace Vardune::Qel
