#pragma once

// SmallFacesRunClockwise for W faces of 3 or 4 corners at a time (W lanes, VectorLanes.h): the
// polygon's own normal, its projection onto its plane and the sign of the winding sum. Triangles
// and quadrilaterals need nothing else to be cut, and these steps are most of their cost: three
// normalisations in a chain, each several divisions and a square root.
//
// Most faces need none of the normalisations: a polygon projected onto the plane of its own
// normal runs counterclockwise, and where margins prove that rounding cannot turn the sign of
// the winding sum, that is the answer the float steps would give too (certainlyCounterclockwise).
// Internal linkage, like VectorLanes.h. Internal; not installed.

#include "PolygonLanes.h"

#if defined(QEL_HAS_VECTOR_LANES)

namespace Vardune::Qel::Lanes {
namespace {

constexpr int kSmallFaceCorners = 4;

// Whether all W faces certainly run counterclockwise through the steps below, given their
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
template<int W>
bool certainlyCounterclockwise(int count, const Vector3<W> *p, const Vector3<W> &newell)
{
    Vector3<W> d[kSmallFaceCorners];
    Floats<W> reach {}; // D²
    for (int k = 1; k < count; ++k) {
        d[k] = difference<W>(p[k], p[0]);
        reach = Pack<W>::maximum(reach, dot<W>(d[k], d[k]));
    }
    const Vector3<W> area = count == 3 ? cross<W>(d[1], d[2]) : cross<W>(d[2], difference<W>(d[3], d[1]));
    const Floats<W> areaSquared = dot<W>(area, area);
    const Floats<W> newellSquared = dot<W>(newell, newell);
    const Floats<W> along = dot<W>(newell, area);

    const Ints<W> inRange = (reach < 1e9f) & (newellSquared < 1e18f) & (areaSquared > 1e-20f);
    // cos(n, N) >= 0.55.
    const Ints<W> aligned = (along > 0.0f) & (along * along >= 0.55f * 0.55f * (newellSquared * areaSquared));
    // |N| >= 1.25e-4 D².
    const Ints<W> clearOfRounding = areaSquared >= 1.25e-4f * 1.25e-4f * (reach * reach);
    return Pack<W>::movemask(inRange & aligned & clearOfRounding) == (1 << W) - 1;
}

// SmallFacesRunClockwise with W lanes.
template<int W>
int smallFacesRunClockwise(int count, const int *const *faces, const float *positions)
{
    Vector3<W> p[kSmallFaceCorners];
    gatherCorners<W>(count, faces, positions, p);
    const Vector3<W> newell = newellSum<W>(count, p);
    if (certainlyCounterclockwise<W>(count, p, newell))
        return 0;
    Floats<W> x[kSmallFaceCorners];
    Floats<W> y[kSmallFaceCorners];
    projectToPlane<W>(normalizedInPlace<W>(newell), count, p, x, y);
    return runClockwise<W>(count, x, y);
}

} // namespace
} // namespace Vardune::Qel::Lanes

#endif
