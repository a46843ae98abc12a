#pragma once

// The normalisation rule of VectorNormalization.h for several 2D and 3D vectors at once, in lanes
// of W floats (GCC vector types). Each lane performs the float operations of the one-vector
// functions in the same order, and a vector operation rounds each lane as the single one does, so
// the results agree bit for bit, NaNs and infinities included. Only where SSE2 is available
// (QEL_HAS_VECTOR_LANES); callers keep the one-vector code for other targets.
//
// Four lanes are SSE2, the baseline. Eight are AVX (WideLanePack.h), which the *Wide.cpp files
// compile their own copies of this header for: everything here has internal linkage, so that
// the linker never takes one file's copy for another's. VectorNormalization.h, whose functions
// have external linkage, must be included before a file switches its target.

#include "VectorNormalization.h"

#include <cstddef>
#include <utility>

#if defined(__SSE2__) && defined(__GNUC__)
#define QEL_HAS_VECTOR_LANES 1
#include <immintrin.h>

namespace Vardune::Qel::Lanes {
namespace {

// The vector types of W lanes, Floats and Ints, and the steps that GCC's vector operators do not
// cover: movemask (bit f from the sign of lane f), squareRoot, length2D and maximum (maxps: the
// second operand where either is a NaN). Four lanes are defined here; eight in WideLanePack.h.
template<int W>
struct Pack;

template<>
struct Pack<4>
{
    typedef float Floats __attribute__((vector_size(16)));
    typedef int Ints __attribute__((vector_size(16)));

    static int movemask(Ints mask) { return _mm_movemask_ps(__m128(mask)); }
    static Floats squareRoot(Floats v) { return _mm_sqrt_ps(v); }
    static Floats maximum(Floats a, Floats b) { return _mm_max_ps(a, b); }

    // length2D: the squares are exact in double, their sum and its root rounded there, then once
    // more to float.
    static Floats length2D(Floats x, Floats y)
    {
        const __m128d xLow = _mm_cvtps_pd(x);
        const __m128d yLow = _mm_cvtps_pd(y);
        const __m128d xHigh = _mm_cvtps_pd(_mm_movehl_ps(x, x));
        const __m128d yHigh = _mm_cvtps_pd(_mm_movehl_ps(y, y));
        const __m128d low = _mm_sqrt_pd(_mm_add_pd(_mm_mul_pd(xLow, xLow), _mm_mul_pd(yLow, yLow)));
        const __m128d high = _mm_sqrt_pd(_mm_add_pd(_mm_mul_pd(xHigh, xHigh), _mm_mul_pd(yHigh, yHigh)));
        return _mm_movelh_ps(_mm_cvtpd_ps(low), _mm_cvtpd_ps(high));
    }
};

template<int W>
using Floats = typename Pack<W>::Floats;
template<int W>
using Ints = typename Pack<W>::Ints;

template<int W>
Floats<W> splat(float value)
{
    return Floats<W> {} + value;
}

template<int W>
Floats<W> select(Ints<W> mask, Floats<W> whenSet, Floats<W> otherwise)
{
    return Floats<W>((Ints<W>(whenSet) & mask) | (Ints<W>(otherwise) & ~mask));
}

template<int W>
Floats<W> magnitude(Floats<W> v)
{
    return Floats<W>(Ints<W>(v) & 0x7FFFFFFF);
}

// W 3D vectors, one per lane.
template<int W>
struct Vector3
{
    Floats<W> x;
    Floats<W> y;
    Floats<W> z;
};

template<int W>
Vector3<W> select(Ints<W> mask, const Vector3<W> &whenSet, const Vector3<W> &otherwise)
{
    return { select<W>(mask, whenSet.x, otherwise.x), select<W>(mask, whenSet.y, otherwise.y),
        select<W>(mask, whenSet.z, otherwise.z) };
}

template<int W>
Vector3<W> difference(const Vector3<W> &a, const Vector3<W> &b)
{
    return { a.x - b.x, a.y - b.y, a.z - b.z };
}

template<int W>
Vector3<W> cross(const Vector3<W> &a, const Vector3<W> &b)
{
    return { a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x };
}

template<int W>
Floats<W> dot(const Vector3<W> &a, const Vector3<W> &b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

// length3D, lane by lane.
template<int W>
Floats<W> length3D(const Vector3<W> &v)
{
    const Floats<W> x = magnitude<W>(v.x);
    const Floats<W> y = magnitude<W>(v.y);
    const Floats<W> z = magnitude<W>(v.z);
    const Floats<W> largest = select<W>(x < y, select<W>(y < z, z, y), select<W>(x < z, z, x));
    const Floats<W> sx = x / largest;
    const Floats<W> sy = y / largest;
    const Floats<W> sz = z / largest;
    const Floats<W> sum = sx * sx + sy * sy + sz * sz;
    return select<W>(largest == 0.0f, Floats<W> {}, largest * Pack<W>::squareRoot(sum));
}

// Lanes whose length is within the tolerance of 1, and those whose length is at most the tolerance.
template<int W>
void classifyLength(Floats<W> length, Ints<W> &unit, Ints<W> &tiny)
{
    unit = magnitude<W>(length - 1.0f) <= kNormalizationTolerance;
    tiny = length <= kNormalizationTolerance;
}

template<int W>
Vector3<W> divided(const Vector3<W> &v, Floats<W> length)
{
    return { v.x / length, v.y / length, v.z / length };
}

// normalize(), the in-place rule: unit and tiny vectors stay as they are.
template<int W>
Vector3<W> normalizedInPlace(const Vector3<W> &v)
{
    const Floats<W> length = length3D<W>(v);
    Ints<W> unit, tiny;
    classifyLength<W>(length, unit, tiny);
    return select<W>(unit | tiny, v, divided<W>(v, length));
}

// normalized(), the copy rule: unit vectors stay, tiny ones become zero.
template<int W>
Vector3<W> normalizedCopy(const Vector3<W> &v)
{
    const Floats<W> length = length3D<W>(v);
    Ints<W> unit, tiny;
    classifyLength<W>(length, unit, tiny);
    return select<W>(unit, v, select<W>(tiny, Vector3<W> {}, divided<W>(v, length)));
}

// normalized() of W 2D vectors (x, y). The lengths are length2D's except where a side is
// infinite and the other a NaN (the C library's length is infinite, this one a NaN); either
// length gives both components NaN, so the results agree there too.
template<int W>
void normalizedCopy(Floats<W> &x, Floats<W> &y)
{
    const Floats<W> length = Pack<W>::length2D(x, y);
    Ints<W> unit, tiny;
    classifyLength<W>(length, unit, tiny);
    x = Floats<W>(~tiny & Ints<W>(select<W>(unit, x, x / length)));
    y = Floats<W>(~tiny & Ints<W>(select<W>(unit, y, y / length)));
}

// Lane f from the floats at points[f] + offset, built at once (one lane at a time costs shuffles).
template<int W, size_t... Lane>
Floats<W> lanesAt(const float *const *points, int offset, std::index_sequence<Lane...>)
{
    return Floats<W> { points[Lane][offset]... };
}

// W 3D points from `positions` (three floats per vertex), lane f the vertex vertices[f].
template<int W>
Vector3<W> gather(const float *positions, const ptrdiff_t *vertices)
{
    const float *points[W];
    for (int f = 0; f < W; ++f)
        points[f] = positions + 3 * vertices[f];
    const auto lanes = std::make_index_sequence<W>();
    return { lanesAt<W>(points, 0, lanes), lanesAt<W>(points, 1, lanes), lanesAt<W>(points, 2, lanes) };
}

} // namespace
} // namespace Vardune::Qel::Lanes

#endif
