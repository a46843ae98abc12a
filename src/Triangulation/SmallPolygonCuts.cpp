// Polygons of 5 to kBatchedPolygonCorners corners, the n-gons of a mesh, cut four of one corner
// count at a time. One such face alone is a chain of dependent steps: the normal's
// normalisation, the frame's two, the projection, then n(n − 1)/2 normalised differences for the
// ear tests, each a square root and two divisions, and the ear test of every corner. Done in
// lanes (PolygonLanes.h), four faces take about the time of one and give the one-face results to
// the bit; only the cutting, whose ear tests follow each face's own choices, stays one face at a
// time. Without SSE2 the faces are cut one by one.

#include "PolygonLanes.h"
#include "PolygonTriangulation.h"

namespace Vardune::Qel {

#if defined(QEL_HAS_VECTOR_LANES)

using namespace Lanes;

namespace {

constexpr int kMostCorners = kBatchedPolygonCorners;

// Four 2D vectors, one per lane.
struct Vector2
{
    __m128 x;
    __m128 y;
};

Vector2 select(__m128 mask, Vector2 whenSet, Vector2 otherwise)
{
    return { Lanes::select(mask, whenSet.x, otherwise.x), Lanes::select(mask, whenSet.y, otherwise.y) };
}

__m128 cross(Vector2 a, Vector2 b)
{
    return _mm_sub_ps(_mm_mul_ps(a.x, b.y), _mm_mul_ps(a.y, b.x));
}

__m128 dot(Vector2 a, Vector2 b)
{
    return _mm_add_ps(_mm_mul_ps(a.x, b.x), _mm_mul_ps(a.y, b.y));
}

__m128 samePoint(Vector2 a, Vector2 b)
{
    return _mm_and_ps(_mm_cmpeq_ps(a.x, b.x), _mm_cmpeq_ps(a.y, b.y));
}

// PolygonDirections of the four lanes' points: directions[a * kMostCorners + b] in lanes, and
// each lane's table in tables[f] (count × count entries). Half is computed and the other half
// negated, as PolygonDirections does. Returns the lanes in which two corners lie on one point.
__m128 laneDirections(int count, const Vector2 *points, Vector2 *directions, Vector2f *const tables[kWindingLanes])
{
    const __m128 signs = _mm_set1_ps(-0.0f);
    __m128 repeats = _mm_setzero_ps();
    for (int a = 0; a < count; ++a) {
        for (int b = a + 1; b < count; ++b) {
            repeats = _mm_or_ps(repeats, samePoint(points[a], points[b]));
            Vector2 unit { _mm_sub_ps(points[a].x, points[b].x), _mm_sub_ps(points[a].y, points[b].y) };
            normalizedCopy(unit.x, unit.y);
            directions[a * kMostCorners + b] = unit;
            directions[b * kMostCorners + a] = { _mm_xor_ps(unit.x, signs), _mm_xor_ps(unit.y, signs) };
            const int forward = a * count + b;
            const int backward = b * count + a;
            const __m128 forward01 = _mm_unpacklo_ps(unit.x, unit.y); // x0 y0 x1 y1
            const __m128 forward23 = _mm_unpackhi_ps(unit.x, unit.y);
            const __m128 backward01 = _mm_xor_ps(forward01, signs);
            const __m128 backward23 = _mm_xor_ps(forward23, signs);
            _mm_storel_pi(reinterpret_cast<__m64 *>(tables[0] + forward), forward01);
            _mm_storeh_pi(reinterpret_cast<__m64 *>(tables[1] + forward), forward01);
            _mm_storel_pi(reinterpret_cast<__m64 *>(tables[2] + forward), forward23);
            _mm_storeh_pi(reinterpret_cast<__m64 *>(tables[3] + forward), forward23);
            _mm_storel_pi(reinterpret_cast<__m64 *>(tables[0] + backward), backward01);
            _mm_storeh_pi(reinterpret_cast<__m64 *>(tables[1] + backward), backward01);
            _mm_storel_pi(reinterpret_cast<__m64 *>(tables[2] + backward), backward23);
            _mm_storeh_pi(reinterpret_cast<__m64 *>(tables[3] + backward), backward23);
        }
    }
    return repeats;
}

// The ear test of measureEar (EarTest.h) for every corner of the four faces' first rings, where
// every corner is active; every test of every corner is made and the answers combined, which
// gives what the one-face test's early exits give. A lane set in `reversed` walks its ring
// backwards, which swaps the neighbours but keeps the set of a corner's triangle. Nearly every
// face runs counterclockwise and repeats no point, so the general steps are compiled in only
// where a lane needs them (AnyReversed, AnyRepeats).
template<bool AnyReversed, bool AnyRepeats>
void laneFirstEars(
    int count, const Vector2 *points, const Vector2 *directions, __m128 reversed, FirstEars first[kWindingLanes])
{
    for (int f = 0; f < kWindingLanes; ++f)
        first[f].ears = 0;
    const auto direction = [directions](int a, int b) { return directions[a * kMostCorners + b]; };
    const auto pick = [reversed](Vector2 whenReversed, Vector2 otherwise) {
        return AnyReversed ? select(reversed, whenReversed, otherwise) : otherwise;
    };
    const __m128 zero = _mm_setzero_ps();
    for (int k = 0; k < count; ++k) {
        const int after = k + 1 == count ? 0 : k + 1;
        const int before = k == 0 ? count - 1 : k - 1;
        const Vector2 toNext = pick(direction(before, k), direction(after, k));
        const Vector2 toPrev = pick(direction(after, k), direction(before, k));
        const Vector2 prevToNext = pick(direction(after, before), direction(before, after));
        const Vector2 kToPrev = pick(direction(k, after), direction(k, before));

        __m128 blocked = zero;
        for (int other = 0; other < count; ++other) {
            if (other == k || other == after || other == before)
                continue;
            const Vector2 toNextCorner = pick(direction(other, before), direction(other, after));
            const Vector2 toPrevCorner = pick(direction(other, after), direction(other, before));
            __m128 inside = _mm_and_ps(_mm_cmpge_ps(cross(prevToNext, toNextCorner), zero),
                _mm_and_ps(_mm_cmpge_ps(cross(toNext, direction(other, k)), zero),
                    _mm_cmpge_ps(cross(kToPrev, toPrevCorner), zero)));
            if constexpr (AnyRepeats) {
                const __m128 repeats = _mm_or_ps(samePoint(points[other], points[k]),
                    _mm_or_ps(samePoint(points[other], points[after]), samePoint(points[other], points[before])));
                inside = _mm_andnot_ps(repeats, inside);
            }
            blocked = _mm_or_ps(blocked, inside);
        }
        const int ears = _mm_movemask_ps(_mm_andnot_ps(blocked, _mm_cmpgt_ps(cross(toNext, toPrev), zero)));
        alignas(16) float cosAngle[kWindingLanes];
        _mm_store_ps(cosAngle, dot(toNext, toPrev));
        for (int f = 0; f < kWindingLanes; ++f) {
            first[f].cosAngle[k] = cosAngle[f];
            first[f].ears |= uint64_t((ears >> f) & 1) << k;
        }
    }
}

} // namespace

void CutSmallPolygons(int count, const int *const faces[kWindingLanes], int faceCount, const float *positions,
    PolygonCut *const cuts[kWindingLanes])
{
    Vector3 p[kMostCorners];
    gatherCorners(count, faces, positions, p);
    __m128 x[kMostCorners];
    __m128 y[kMostCorners];
    projectToPlane(normalizedInPlace(newellSum(count, p)), count, p, x, y);
    const int clockwise = runClockwise(count, x, y);
    Vector2 points[kMostCorners];
    for (int k = 0; k < count; ++k)
        points[k] = { x[k], y[k] };

    Vector2 directions[kMostCorners * kMostCorners];
    Vector2f tableStore[kWindingLanes][kMostCorners * kMostCorners];
    Vector2f *const tables[kWindingLanes] = { tableStore[0], tableStore[1], tableStore[2], tableStore[3] };
    const bool anyRepeats = _mm_movemask_ps(laneDirections(count, points, directions, tables)) != 0;

    const __m128i laneBits = _mm_setr_epi32(1, 2, 4, 8);
    const __m128 reversed
        = _mm_castsi128_ps(_mm_cmpeq_epi32(_mm_and_si128(_mm_set1_epi32(clockwise), laneBits), laneBits));
    FirstEars first[kWindingLanes];
    if (clockwise != 0)
        laneFirstEars<true, true>(count, points, directions, reversed, first);
    else if (anyRepeats)
        laneFirstEars<false, true>(count, points, directions, reversed, first);
    else
        laneFirstEars<false, false>(count, points, directions, reversed, first);

    alignas(16) float xs[kMostCorners][kWindingLanes];
    alignas(16) float ys[kMostCorners][kWindingLanes];
    for (int k = 0; k < count; ++k) {
        _mm_store_ps(xs[k], points[k].x);
        _mm_store_ps(ys[k], points[k].y);
    }
    for (int f = 0; f < faceCount; ++f) {
        Vector2f facePoints[kMostCorners];
        for (int k = 0; k < count; ++k)
            facePoints[k] = { xs[k][f], ys[k][f] };
        cuts[f]->written
            = ClipSmallPolygon(count, facePoints, (clockwise >> f) & 1, tables[f], first[f], cuts[f]->corners);
    }
}

#else

void CutSmallPolygons(int count, const int *const faces[kWindingLanes], int faceCount, const float *positions,
    PolygonCut *const cuts[kWindingLanes])
{
    for (int f = 0; f < faceCount; ++f) {
        Vector2f points[kBatchedPolygonCorners];
        ProjectPolygonToPlane(ComputePolygonNormal(count, faces[f], positions), count, faces[f], positions, points);
        cuts[f]->written = ClipSmallPolygon(count, points, PolygonRunsClockwise(count, points), cuts[f]->corners);
    }
}

#endif

} // namespace Vardune::Qel
