#pragma once

// Pack<8> of VectorLanes.h: eight lanes in AVX registers. Only for a file that has switched its
// target to AVX before including it (and VectorLanes.h, whose templates then compile for AVX as
// well); their internal linkage keeps those copies from replacing the baseline ones elsewhere.
// Internal; not installed.

#include "VectorLanes.h"

#if defined(QEL_HAS_VECTOR_LANES)

namespace Vardune::Qel::Lanes {
namespace {

template<>
struct Pack<8>
{
    typedef float Floats __attribute__((vector_size(32)));
    typedef int Ints __attribute__((vector_size(32)));

    static int movemask(Ints mask) { return _mm256_movemask_ps(__m256(mask)); }
    static Floats squareRoot(Floats v) { return _mm256_sqrt_ps(v); }
    static Floats maximum(Floats a, Floats b) { return _mm256_max_ps(a, b); }

    // Pack<4>::length2D, eight at a time.
    static Floats length2D(Floats x, Floats y)
    {
        const __m256d xLow = _mm256_cvtps_pd(_mm256_castps256_ps128(x));
        const __m256d yLow = _mm256_cvtps_pd(_mm256_castps256_ps128(y));
        const __m256d xHigh = _mm256_cvtps_pd(_mm256_extractf128_ps(x, 1));
        const __m256d yHigh = _mm256_cvtps_pd(_mm256_extractf128_ps(y, 1));
        const __m256d low = _mm256_sqrt_pd(_mm256_add_pd(_mm256_mul_pd(xLow, xLow), _mm256_mul_pd(yLow, yLow)));
        const __m256d high = _mm256_sqrt_pd(_mm256_add_pd(_mm256_mul_pd(xHigh, xHigh), _mm256_mul_pd(yHigh, yHigh)));
        return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm256_cvtpd_ps(low)), _mm256_cvtpd_ps(high), 1);
    }
};

} // namespace
} // namespace Vardune::Qel::Lanes

#endif
