// The winding of four triangles or four quadrilaterals at once, as Triangulate3D measures it for
// one polygon without a given normal: the polygon's own normal, its projection onto its plane and
// the sign of the winding sum, in lanes (PolygonLanes.h). Triangles and quadrilaterals need
// nothing else to be cut, and these steps are most of their cost: three normalisations in a
// chain, each several divisions and a square root. Without SSE2 the faces are measured one by
// one.
//
// Most faces need none of the normalisations: a polygon projected onto the plane of its own
// normal runs counterclockwise, and where margins prove that rounding cannot turn the sign of
// the winding sum, that is the answer the float steps would give too (certainlyCounterclockwise).

#include "PolygonLanes.h"
#include "PolygonTriangulation.h"

namespace Vardune::Qel {

#if defined(QEL_HAS_VECTOR_LANES)

using namespace Lanes;

namespace {

constexpr int kMostCorners = 4;

// Whether all four faces certainly run counterclockwise through the steps below, given their
// points and their Newell sum `newell` (the normal before normalisation).
//
// The winding sum is Σ (x_k − x_{k−1})(y_k + y_{k−1}) over the points projected onto the frame
// (u, v) that the normal n gives. In exact arithmetic on those very points and that frame it is
// −N · (u × v), N the exact Newell sum of the face: the projection of any polygon, planar or not,
// has the area of N along the normal of the plane it is projected onto. u and v are near-unit
// and near-perpendicular to n, so u × v lies within 1e-5 of n's direction, scaled by 1 ± 1e-4;
// with n within 60 degrees of N the exact sum is then about −0.5 |N| or less. The rounding of the
// projection and of the sum moves it by at most about 300 u D² (u = 2^−24, D the largest distance
// from the first corner), and the test asks for |N| ≥ 1.25e-4 D², a margin of 3. N is computed
// from the differences to the first corner, within 20 u D² of the exact one: 1 % of its length at
// most here, which the cosine bound of 0.55 instead of 0.5 covers. A normal too short to
// normalise gives a zero frame and a zero sum, which is no clockwise run either. The ranges keep
// every square normal and finite, and a NaN fails every comparison.
bool certainlyCounterclockwise(int count, const Vector3 *p, Vector3 newell)
{
    const __m128 zero = _mm_setzero_ps();
    Vector3 d[kMostCorners];
    __m128 reach = zero; // D²
    for (int k = 1; k < count; ++k) {
        d[k] = difference(p[k], p[0]);
        reach = _mm_max_ps(reach, dot(d[k], d[k]));
    }
    const Vector3 area = count == 3 ? cross(d[1], d[2]) : cross(d[2], difference(d[3], d[1]));
    const __m128 areaSquared = dot(area, area);
    const __m128 newellSquared = dot(newell, newell);
    const __m128 along = dot(newell, area);

    const __m128 inRange = _mm_and_ps(_mm_cmplt_ps(reach, _mm_set1_ps(1e9f)),
        _mm_and_ps(_mm_cmplt_ps(newellSquared, _mm_set1_ps(1e18f)), _mm_cmpgt_ps(areaSquared, _mm_set1_ps(1e-20f))));
    // cos(n, N) >= 0.55.
    const __m128 cosineBound = _mm_mul_ps(_mm_set1_ps(0.55f * 0.55f), _mm_mul_ps(newellSquared, areaSquared));
    const __m128 aligned = _mm_and_ps(_mm_cmpgt_ps(along, zero), _mm_cmpge_ps(_mm_mul_ps(along, along), cosineBound));
    // |N| >= 1.25e-4 D².
    const __m128 roundingBound = _mm_mul_ps(_mm_set1_ps(1.25e-4f * 1.25e-4f), _mm_mul_ps(reach, reach));
    const __m128 clearOfRounding = _mm_cmpge_ps(areaSquared, roundingBound);
    const __m128 certain = _mm_and_ps(inRange, _mm_and_ps(aligned, clearOfRounding));
    return _mm_movemask_ps(certain) == (1 << kWindingLanes) - 1;
}

} // namespace

int SmallFacesRunClockwise(int count, const int *const faces[kWindingLanes], const float *positions)
{
    Vector3 p[kMostCorners];
    gatherCorners(count, faces, positions, p);
    const Vector3 newell = newellSum(count, p);
    if (certainlyCounterclockwise(count, p, newell))
        return 0;
    __m128 x[kMostCorners];
    __m128 y[kMostCorners];
    projectToPlane(normalizedInPlace(newell), count, p, x, y);
    return runClockwise(count, x, y);
}

#else

int SmallFacesRunClockwise(int count, const int *const faces[kWindingLanes], const float *positions)
{
    constexpr int kMostCorners = 4;
    int clockwise = 0;
    for (int f = 0; f < kWindingLanes; ++f) {
        Vector2f points[kMostCorners];
        ProjectPolygonToPlane(ComputePolygonNormal(count, faces[f], positions), count, faces[f], positions, points);
        clockwise |= PolygonRunsClockwise(count, points) ? 1 << f : 0;
    }
    return clockwise;
}

#endif

} // namespace Vardune::Qel
