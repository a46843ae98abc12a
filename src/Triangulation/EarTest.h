#pragma once

// The ear test of one corner, shared by the two ways ear clipping keeps its ring (records and a
// k-d tree for large polygons, bit sets for small ones): convex, a positive cross product of the
// unit directions to its neighbours, and no other active corner inside its triangle or on the
// border. The callers decide which corners to offer to the blocking test and where the unit
// directions come from; the test itself, and so its answer, is one. Internal; not installed.

#include "VectorNormalization.h"

namespace Vardune::Qel {

inline Vector2f difference(Vector2f a, Vector2f b)
{
    return { a.x - b.x, a.y - b.y };
}

inline float cross(Vector2f a, Vector2f b)
{
    return a.x * b.y - a.y * b.x;
}

inline float dot(Vector2f a, Vector2f b)
{
    return a.x * b.x + a.y * b.y;
}

inline bool samePoint(Vector2f a, Vector2f b)
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

    // Whether corner k, not one of the triangle's, lies inside the triangle or on its border,
    // compared through unit directions so that the signs measure angles, not areas.
    // unitDifference(a, b) is normalized(points[a] − points[b]). A NaN compares false and blocks
    // nothing. A point repeating a corner's position, as where an outline runs to a hole and back
    // along one edge, does not block either.
    // The side tests come first: nearly every corner fails one, and then the point comparisons,
    // which cannot change a false answer, are never made. The side of the edge next → prev, the
    // one the ear's cut adds, comes first of them: in the convex parts of a polygon every other
    // corner lies beyond it, and then one test settles the corner.
    template<typename UnitDifference>
    bool blocks(int k, const Vector2f *points, UnitDifference unitDifference) const
    {
        if (!(cross(edge1, unitDifference(k, corners[1])) >= 0.0f && cross(edge0, unitDifference(k, corners[0])) >= 0.0f
                && cross(edge2, unitDifference(k, corners[2])) >= 0.0f))
            return false;
        const Vector2f point = points[k];
        return !samePoint(point, corner) && !samePoint(point, next) && !samePoint(point, prev);
    }
};

// What the ear test finds for one corner.
struct EarMeasure
{
    float cross;
    float cosAngle;
    bool isEar;
};

// The ear test of corner i between `next` and `prev`. anyBlocks(triangle) says whether some
// other active corner blocks the triangle (EarTriangle::blocks); it is asked only of a convex
// corner.
template<typename UnitDifference, typename AnyBlocks>
EarMeasure measureEar(int i, int next, int prev, const Vector2f *points, UnitDifference unitDifference,
    AnyBlocks anyBlocks)
{
    const Vector2f toNext = unitDifference(next, i);
    const Vector2f toPrev = unitDifference(prev, i);
    EarMeasure measure { cross(toNext, toPrev), dot(toNext, toPrev), false };
    if (!(measure.cross > 0.0f))
        return measure; // reflex or straight; a NaN is no ear either
    const EarTriangle ear { { i, next, prev }, points[i], points[next], points[prev], toNext,
        unitDifference(prev, next), unitDifference(i, prev) };
    measure.isEar = !anyBlocks(ear);
    return measure;
}

} // namespace Vardune::Qel
