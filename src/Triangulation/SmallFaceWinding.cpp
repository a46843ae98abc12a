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
constexpr int W = kWindingLanes;
using LaneFloats = Lanes::Floats<W>;
using LaneInts = Lanes::Ints<W>;
using LaneVector3 = Lanes::Vector3<W>;

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
bool certainlyCounterclockwise(int count, const LaneVector3 *p, const LaneVector3 &newell)
{
    LaneVector3 d[kMostCorners];
    LaneFloats reach {}; // D²
    for (int k = 1; k < count; ++k) {
        d[k] = difference<W>(p[k], p[0]);
        reach = Pack<W>::maximum(reach, dot<W>(d[k], d[k]));
    }
    const LaneVector3 area = count == 3 ? cross<W>(d[1], d[2]) : cross<W>(d[2], difference<W>(d[3], d[1]));
    const LaneFloats areaSquared = dot<W>(area, area);
    const LaneFloats newellSquared = dot<W>(newell, newell);
    const LaneFloats along = dot<W>(newell, area);

    const LaneInts inRange = (reach < 1e9f) & (newellSquared < 1e18f) & (areaSquared > 1e-20f);
    // cos(n, N) >= 0.55.
    const LaneInts aligned = (along > 0.0f) & (along * along >= 0.55f * 0.55f * (newellSquared * areaSquared));
    // |N| >= 1.25e-4 D².
    const LaneInts clearOfRounding = areaSquared >= 1.25e-4f * 1.25e-4f * (reach * reach);
    return Pack<W>::movemask(inRange & aligned & clearOfRounding) == (1 << W) - 1;
}

} // namespace

int SmallFacesRunClockwise(int count, const int *const faces[kWindingLanes], const float *positions)
{
    LaneVector3 p[kMostCorners];
    gatherCorners<W>(count, faces, positions, p);
    const LaneVector3 newell = newellSum<W>(count, p);
    if (certainlyCounterclockwise(count, p, newell))
        return 0;
    LaneFloats x[kMostCorners];
    LaneFloats y[kMostCorners];
    projectToPlane<W>(normalizedInPlace<W>(newell), count, p, x, y);
    return runClockwise<W>(count, x, y);
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
