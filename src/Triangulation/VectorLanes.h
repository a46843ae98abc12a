#pragma once

// The normalisation rule of VectorNormalization.h for four 3D vectors at once, in SSE2 lanes.
// Each lane performs the float operations of the one-vector functions in the same order, and a
// packed operation rounds each lane as the single one does, so the results agree bit for bit,
// NaNs and infinities included. Only where SSE2 is available (QEL_HAS_VECTOR_LANES); callers
// keep the one-vector code for other targets.

#include "VectorNormalization.h"

#include <cstddef>

#if defined(__SSE2__)
#define QEL_HAS_VECTOR_LANES 1
#include <emmintrin.h>

namespace Vardune::Qel::Lanes {

// Four 3D vectors, one per lane.
struct Vector3
{
    __m128 x;
    __m128 y;
    __m128 z;
};

inline __m128 select(__m128 mask, __m128 whenSet, __m128 otherwise)
{
    return _mm_or_ps(_mm_and_ps(mask, whenSet), _mm_andnot_ps(mask, otherwise));
}

inline Vector3 select(__m128 mask, Vector3 whenSet, Vector3 otherwise)
{
    return { select(mask, whenSet.x, otherwise.x), select(mask, whenSet.y, otherwise.y),
        select(mask, whenSet.z, otherwise.z) };
}

inline __m128 magnitude(__m128 v)
{
    return _mm_andnot_ps(_mm_set1_ps(-0.0f), v);
}

inline Vector3 difference(Vector3 a, Vector3 b)
{
    return { _mm_sub_ps(a.x, b.x), _mm_sub_ps(a.y, b.y), _mm_sub_ps(a.z, b.z) };
}

inline Vector3 cross(Vector3 a, Vector3 b)
{
    return { _mm_sub_ps(_mm_mul_ps(a.y, b.z), _mm_mul_ps(a.z, b.y)),
        _mm_sub_ps(_mm_mul_ps(a.z, b.x), _mm_mul_ps(a.x, b.z)),
        _mm_sub_ps(_mm_mul_ps(a.x, b.y), _mm_mul_ps(a.y, b.x)) };
}

inline __m128 dot(Vector3 a, Vector3 b)
{
    return _mm_add_ps(_mm_add_ps(_mm_mul_ps(a.x, b.x), _mm_mul_ps(a.y, b.y)), _mm_mul_ps(a.z, b.z));
}

inline Vector3 divided(Vector3 v, __m128 length)
{
    return { _mm_div_ps(v.x, length), _mm_div_ps(v.y, length), _mm_div_ps(v.z, length) };
}

// length3D, lane by lane.
inline __m128 length3D(Vector3 v)
{
    const __m128 x = magnitude(v.x);
    const __m128 y = magnitude(v.y);
    const __m128 z = magnitude(v.z);
    const __m128 largest
        = select(_mm_cmplt_ps(x, y), select(_mm_cmplt_ps(y, z), z, y), select(_mm_cmplt_ps(x, z), z, x));
    const __m128 sx = _mm_div_ps(x, largest);
    const __m128 sy = _mm_div_ps(y, largest);
    const __m128 sz = _mm_div_ps(z, largest);
    const __m128 sum = _mm_add_ps(_mm_add_ps(_mm_mul_ps(sx, sx), _mm_mul_ps(sy, sy)), _mm_mul_ps(sz, sz));
    const __m128 zero = _mm_setzero_ps();
    return select(_mm_cmpeq_ps(largest, zero), zero, _mm_mul_ps(largest, _mm_sqrt_ps(sum)));
}

// Lanes whose length is within the tolerance of 1, and those whose length is at most the tolerance.
inline void classifyLength(__m128 length, __m128 &unit, __m128 &tiny)
{
    const __m128 tolerance = _mm_set1_ps(kNormalizationTolerance);
    unit = _mm_cmple_ps(magnitude(_mm_sub_ps(length, _mm_set1_ps(1.0f))), tolerance);
    tiny = _mm_cmple_ps(length, tolerance);
}

// normalize(), the in-place rule: unit and tiny vectors stay as they are.
inline Vector3 normalizedInPlace(Vector3 v)
{
    const __m128 length = length3D(v);
    __m128 unit, tiny;
    classifyLength(length, unit, tiny);
    return select(_mm_or_ps(unit, tiny), v, divided(v, length));
}

// normalized(), the copy rule: unit vectors stay, tiny ones become zero.
inline Vector3 normalizedCopy(Vector3 v)
{
    const __m128 length = length3D(v);
    __m128 unit, tiny;
    classifyLength(length, unit, tiny);
    const __m128 zero = _mm_setzero_ps();
    return select(unit, v, select(tiny, Vector3 { zero, zero, zero }, divided(v, length)));
}

// Four 3D points from `positions` (three floats per vertex), vertex numbers given lane by lane.
inline Vector3 gather(const float *positions, ptrdiff_t a, ptrdiff_t b, ptrdiff_t c, ptrdiff_t d)
{
    const float *pa = positions + 3 * a;
    const float *pb = positions + 3 * b;
    const float *pc = positions + 3 * c;
    const float *pd = positions + 3 * d;
    return { _mm_setr_ps(pa[0], pb[0], pc[0], pd[0]), _mm_setr_ps(pa[1], pb[1], pc[1], pd[1]),
        _mm_setr_ps(pa[2], pb[2], pc[2], pd[2]) };
}

} // namespace Vardune::Qel::Lanes

#endif
