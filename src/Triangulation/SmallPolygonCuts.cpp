// Polygons of 5 to kBatchedPolygonCorners corners, the n-gons of a mesh, cut four of one corner
// count at a time. One such face alone is a chain of dependent steps: the normal's
// normalisation, the frame's two, the projection, then n(n − 1)/2 normalised differences for the
// ear tests, each a square root and two divisions. Done in lanes (PolygonLanes.h), four faces
// take about the time of one and give the one-face results to the bit; only the ear clipping
// itself, which branches on every test, stays one face at a time. Without SSE2 the faces are cut
// one by one.

#include "PolygonLanes.h"
#include "PolygonTriangulation.h"

namespace Vardune::Qel {

#if defined(QEL_HAS_VECTOR_LANES)

using namespace Lanes;

namespace {

constexpr int kMostCorners = kBatchedPolygonCorners;

// PolygonDirections of the four lanes' points, into tables[f] (count × count entries each).
// Half the table is computed and the other half negated, as PolygonDirections does.
void laneDirections(int count, const __m128 *x, const __m128 *y, Vector2f *const tables[kWindingLanes])
{
    const __m128 signs = _mm_set1_ps(-0.0f);
    for (int a = 0; a < count; ++a) {
        for (int b = a + 1; b < count; ++b) {
            __m128 unitX = _mm_sub_ps(x[a], x[b]);
            __m128 unitY = _mm_sub_ps(y[a], y[b]);
            normalizedCopy(unitX, unitY);
            const __m128 forward01 = _mm_unpacklo_ps(unitX, unitY); // x0 y0 x1 y1
            const __m128 forward23 = _mm_unpackhi_ps(unitX, unitY);
            const __m128 backward01 = _mm_xor_ps(forward01, signs);
            const __m128 backward23 = _mm_xor_ps(forward23, signs);
            const int forward = a * count + b;
            const int backward = b * count + a;
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

    Vector2f tableStore[kWindingLanes][kMostCorners * kMostCorners];
    Vector2f *const tables[kWindingLanes] = { tableStore[0], tableStore[1], tableStore[2], tableStore[3] };
    laneDirections(count, x, y, tables);

    alignas(16) float xs[kMostCorners][kWindingLanes];
    alignas(16) float ys[kMostCorners][kWindingLanes];
    for (int k = 0; k < count; ++k) {
        _mm_store_ps(xs[k], x[k]);
        _mm_store_ps(ys[k], y[k]);
    }
    for (int f = 0; f < faceCount; ++f) {
        Vector2f points[kMostCorners];
        for (int k = 0; k < count; ++k)
            points[k] = { xs[k][f], ys[k][f] };
        cuts[f]->written = ClipSmallPolygon(count, points, (clockwise >> f) & 1, tables[f], cuts[f]->corners);
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
