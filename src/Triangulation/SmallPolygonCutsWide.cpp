// Polygons of 5 to kBatchedPolygonCorners corners cut eight of one corner count at a time, in the
// AVX lanes of processors that have them. The divider works on eight floats or four doubles in
// about the time it takes for four or two, and the square roots and divisions of the direction
// tables are most of the lanes' time, so eight faces cost little more than four. Only this file
// is compiled for AVX, and only called after the processor was asked (WidePolygonLanesAvailable);
// the lane templates it includes have internal linkage, so its copies never replace another
// file's. No FMA: fused products would round differently from the one-face code.

#include "PolygonTriangulation.h" // and VectorNormalization.h, compiled for the baseline

#if defined(QEL_HAS_WIDE_POLYGON_LANES)
#include <immintrin.h>

#pragma GCC push_options
#pragma GCC target("avx")

#include "SmallPolygonLanes.h"

namespace Vardune::Qel::Lanes {
namespace {

template<>
struct Pack<8>
{
    typedef float Floats __attribute__((vector_size(32)));
    typedef int Ints __attribute__((vector_size(32)));

    static int movemask(Ints mask) { return _mm256_movemask_ps(__m256(mask)); }
    static Floats squareRoot(Floats v) { return _mm256_sqrt_ps(v); }

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

namespace Vardune::Qel {

void CutSmallPolygonsWide(int count, const int *const faces[kWidePolygonLanes], int faceCount, const float *positions,
    PolygonCut *const cuts[kWidePolygonLanes])
{
    Lanes::cutSmallPolygons<kWidePolygonLanes>(count, faces, faceCount, positions, cuts);
}

} // namespace Vardune::Qel

#pragma GCC pop_options

namespace Vardune::Qel {

bool WidePolygonLanesAvailable()
{
    static const bool available = __builtin_cpu_supports("avx");
    return available;
}

} // namespace Vardune::Qel

#endif
