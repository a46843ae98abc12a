#pragma once

// The steps of Triangulate3D before the cutting, for four polygons of one corner count at once in
// SSE2 lanes: ComputePolygonNormal, ProjectPolygonToPlane, PolygonRunsClockwise and the
// normalisation of 2D differences. A face alone is a chain of divisions and square roots that
// leaves most of the processor idle; four in lanes cost about what one does. Each lane performs
// the float operations of the one-polygon code in the same order, and a packed operation rounds
// each lane as the single one does, so the results agree bit for bit, NaNs and infinities
// included. Internal; not installed.

#include "VectorLanes.h"

#if defined(QEL_HAS_VECTOR_LANES)

namespace Vardune::Qel::Lanes {

// The corners of four faces of `count` corners, lane f from faces[f].
inline void gatherCorners(int count, const int *const faces[4], const float *positions, Vector3 *p)
{
    for (int k = 0; k < count; ++k)
        p[k] = gather(positions, faces[0][k], faces[1][k], faces[2][k], faces[3][k]);
}

// ComputePolygonNormal before its normalisation: the sum of the cross products of consecutive
// corners.
inline Vector3 newellSum(int count, const Vector3 *p)
{
    const __m128 zero = _mm_setzero_ps();
    Vector3 normal { zero, zero, zero };
    for (int k = 0; k < count; ++k) {
        const Vector3 term = cross(p[k == 0 ? count - 1 : k - 1], p[k]);
        normal = { _mm_add_ps(normal.x, term.x), _mm_add_ps(normal.y, term.y), _mm_add_ps(normal.z, term.z) };
    }
    return normal;
}

// ProjectPolygonToPlane with `normal`, the normalised Newell sum: x[k], y[k] for k < count.
inline void projectToPlane(Vector3 normal, int count, const Vector3 *p, __m128 *x, __m128 *y)
{
    const __m128 zero = _mm_setzero_ps();
    const __m128 one = _mm_set1_ps(1.0f);
    const __m128 alongY = dot(normal, Vector3 { zero, one, zero });
    const __m128 nearY = _mm_cmpgt_ps(magnitude(alongY), _mm_set1_ps(0.9f));
    const Vector3 reference { zero, select(nearY, zero, one), select(nearY, one, zero) };
    const Vector3 u = normalizedCopy(cross(reference, normal));
    const Vector3 v = normalizedCopy(cross(normal, u));
    x[0] = zero;
    y[0] = zero;
    for (int k = 1; k < count; ++k) {
        const Vector3 d = difference(p[k], p[0]);
        x[k] = dot(d, u);
        y[k] = dot(d, v);
    }
}

// PolygonRunsClockwise: bit f set when lane f runs clockwise.
inline int runClockwise(int count, const __m128 *x, const __m128 *y)
{
    const __m128 zero = _mm_setzero_ps();
    __m128 sum = zero;
    for (int k = 0; k < count; ++k) {
        const int previous = k == 0 ? count - 1 : k - 1;
        sum = _mm_add_ps(sum, _mm_mul_ps(_mm_sub_ps(x[k], x[previous]), _mm_add_ps(y[k], y[previous])));
    }
    return ~_mm_movemask_ps(_mm_cmple_ps(sum, zero)) & 0xF;
}

// normalized() of four 2D vectors (x, y). The lengths are length2D's except where a side is
// infinite and the other a NaN (the C library's length is infinite, this one a NaN); either
// length gives both components NaN, so the results agree there too.
inline void normalizedCopy(__m128 &x, __m128 &y)
{
    // length2D: the squares are exact in double, their sum and its root rounded there, then once
    // more to float.
    const __m128d xLow = _mm_cvtps_pd(x);
    const __m128d yLow = _mm_cvtps_pd(y);
    const __m128d xHigh = _mm_cvtps_pd(_mm_movehl_ps(x, x));
    const __m128d yHigh = _mm_cvtps_pd(_mm_movehl_ps(y, y));
    const __m128d low = _mm_sqrt_pd(_mm_add_pd(_mm_mul_pd(xLow, xLow), _mm_mul_pd(yLow, yLow)));
    const __m128d high = _mm_sqrt_pd(_mm_add_pd(_mm_mul_pd(xHigh, xHigh), _mm_mul_pd(yHigh, yHigh)));
    const __m128 length = _mm_movelh_ps(_mm_cvtpd_ps(low), _mm_cvtpd_ps(high));
    __m128 unit, tiny;
    classifyLength(length, unit, tiny);
    x = _mm_andnot_ps(tiny, select(unit, x, _mm_div_ps(x, length)));
    y = _mm_andnot_ps(tiny, select(unit, y, _mm_div_ps(y, length)));
}

} // namespace Vardune::Qel::Lanes

#endif
