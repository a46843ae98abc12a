#pragma once

// CutSmallPolygons for W faces of one corner count at a time (W lanes, VectorLanes.h). One such
// face alone is a chain of dependent steps: the normal's normalisation, the frame's two, the
// projection, then n(n − 1)/2 normalised differences for the ear tests, each a square root and
// two divisions, and the ear test of every corner. Done in lanes, W faces take about the time of
// one and give the one-face results to the bit; only the cutting, whose ear tests follow each
// face's own choices, stays one face at a time. Internal linkage, like VectorLanes.h.

#include "PolygonLanes.h"
#include "PolygonTriangulation.h"

#if defined(QEL_HAS_VECTOR_LANES)

namespace Vardune::Qel::Lanes {
namespace {

constexpr int kMostCorners = kBatchedPolygonCorners;

// W 2D vectors, one per lane.
template<int W>
struct Vector2
{
    Floats<W> x;
    Floats<W> y;
};

template<int W>
Vector2<W> select(Ints<W> mask, const Vector2<W> &whenSet, const Vector2<W> &otherwise)
{
    return { select<W>(mask, whenSet.x, otherwise.x), select<W>(mask, whenSet.y, otherwise.y) };
}

template<int W>
Floats<W> cross(const Vector2<W> &a, const Vector2<W> &b)
{
    return a.x * b.y - a.y * b.x;
}

template<int W>
Floats<W> dot(const Vector2<W> &a, const Vector2<W> &b)
{
    return a.x * b.x + a.y * b.y;
}

template<int W>
Ints<W> samePoint(const Vector2<W> &a, const Vector2<W> &b)
{
    return (a.x == b.x) & (a.y == b.y);
}

// PolygonDirections of the lanes' points: directions[a * kMostCorners + b] in lanes. Half is
// computed and the other half negated, as PolygonDirections does. Returns the lanes in which two
// corners lie on one point.
template<int W>
Ints<W> laneDirections(int count, const Vector2<W> *points, Vector2<W> *directions)
{
    Ints<W> repeats {};
    for (int a = 0; a < count; ++a) {
        for (int b = a + 1; b < count; ++b) {
            repeats |= samePoint<W>(points[a], points[b]);
            Vector2<W> unit { points[a].x - points[b].x, points[a].y - points[b].y };
            normalizedCopy<W>(unit.x, unit.y);
            directions[a * kMostCorners + b] = unit;
            directions[b * kMostCorners + a] = { -unit.x, -unit.y };
        }
    }
    return repeats;
}

// The ear test of measureEar (EarTest.h) for every corner of the faces' first rings, where every
// corner is active; every test of every corner is made and the answers combined, which gives
// what the one-face test's early exits give. A lane set in `reversed` walks its ring backwards,
// which swaps the neighbours but keeps the set of a corner's triangle. Nearly every face runs
// counterclockwise and repeats no point, so the general steps are compiled in only where a lane
// needs them (AnyReversed, AnyRepeats).
template<int W, bool AnyReversed, bool AnyRepeats>
void laneFirstEars(
    int count, const Vector2<W> *points, const Vector2<W> *directions, Ints<W> reversed, FirstEars *first)
{
    for (int f = 0; f < W; ++f)
        first[f].ears = 0;
    const auto direction = [directions](int a, int b) { return directions[a * kMostCorners + b]; };
    const auto pick = [reversed](const Vector2<W> &whenReversed, const Vector2<W> &otherwise) {
        return AnyReversed ? select<W>(reversed, whenReversed, otherwise) : otherwise;
    };
    for (int k = 0; k < count; ++k) {
        const int after = k + 1 == count ? 0 : k + 1;
        const int before = k == 0 ? count - 1 : k - 1;
        const Vector2<W> toNext = pick(direction(before, k), direction(after, k));
        const Vector2<W> toPrev = pick(direction(after, k), direction(before, k));
        const Vector2<W> prevToNext = pick(direction(after, before), direction(before, after));
        const Vector2<W> kToPrev = pick(direction(k, after), direction(k, before));

        Ints<W> blocked {};
        for (int other = 0; other < count; ++other) {
            if (other == k || other == after || other == before)
                continue;
            const Vector2<W> toNextCorner = pick(direction(other, before), direction(other, after));
            const Vector2<W> toPrevCorner = pick(direction(other, after), direction(other, before));
            Ints<W> inside = (cross<W>(prevToNext, toNextCorner) >= 0.0f)
                & ((cross<W>(toNext, direction(other, k)) >= 0.0f) & (cross<W>(kToPrev, toPrevCorner) >= 0.0f));
            if constexpr (AnyRepeats) {
                const Ints<W> repeats = samePoint<W>(points[other], points[k])
                    | samePoint<W>(points[other], points[after]) | samePoint<W>(points[other], points[before]);
                inside &= ~repeats;
            }
            blocked |= inside;
        }
        const int ears = Pack<W>::movemask(~blocked & (cross<W>(toNext, toPrev) > 0.0f));
        const Floats<W> cosAngle = dot<W>(toNext, toPrev);
        for (int f = 0; f < W; ++f) {
            first[f].cosAngle[k] = cosAngle[f];
            first[f].ears |= uint64_t((ears >> f) & 1) << k;
        }
    }
}

// CutSmallPolygons with W lanes.
template<int W>
void cutSmallPolygons(
    int count, const int *const *faces, int faceCount, const float *positions, PolygonCut *const *cuts)
{
    Vector3<W> p[kMostCorners];
    gatherCorners<W>(count, faces, positions, p);
    Floats<W> x[kMostCorners];
    Floats<W> y[kMostCorners];
    projectToPlane<W>(normalizedInPlace<W>(newellSum<W>(count, p)), count, p, x, y);
    const int clockwise = runClockwise<W>(count, x, y);
    Vector2<W> points[kMostCorners];
    for (int k = 0; k < count; ++k)
        points[k] = { x[k], y[k] };

    Vector2<W> directions[kMostCorners * kMostCorners];
    const bool anyRepeats = Pack<W>::movemask(laneDirections<W>(count, points, directions)) != 0;

    Ints<W> reversed;
    for (int f = 0; f < W; ++f)
        reversed[f] = (clockwise >> f) & 1 ? -1 : 0;
    FirstEars first[W];
    if (clockwise != 0)
        laneFirstEars<W, true, true>(count, points, directions, reversed, first);
    else if (anyRepeats)
        laneFirstEars<W, false, true>(count, points, directions, reversed, first);
    else
        laneFirstEars<W, false, false>(count, points, directions, reversed, first);

    for (int f = 0; f < faceCount; ++f) {
        Vector2f facePoints[kMostCorners];
        for (int k = 0; k < count; ++k)
            facePoints[k] = { x[k][f], y[k][f] };
        const LaneDirections faceDirections { reinterpret_cast<const float *>(directions) + f, W };
        cuts[f]->written
            = ClipSmallPolygon(count, facePoints, (clockwise >> f) & 1, faceDirections, first[f], cuts[f]->corners);
    }
}

} // namespace
} // namespace Vardune::Qel::Lanes

#endif
