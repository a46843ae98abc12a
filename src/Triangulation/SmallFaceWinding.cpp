// The winding of four triangles or four quadrilaterals at once, as Triangulate3D measures it for
// one polygon without a given normal: the polygon's own normal, its projection onto its plane and
// the sign of the winding sum. Triangles and quadrilaterals need nothing else to be cut, and these
// steps are most of their cost: three normalisations in a chain, each several divisions and a
// square root. Each lane of the packed operations performs the float operations of the
// one-polygon code in the same order, and a packed operation rounds each lane as the single one
// does, so the answers agree bit for bit, NaNs and infinities included. Without SSE2 the faces
// are measured one by one.

#include "PolygonTriangulation.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Vardune::Qel {

#if defined(__SSE2__)

namespace {

struct Lanes3
{
    __m128 x;
    __m128 y;
    __m128 z;
};

__m128 select(__m128 mask, __m128 whenSet, __m128 otherwise)
{
    return _mm_or_ps(_mm_and_ps(mask, whenSet), _mm_andnot_ps(mask, otherwise));
}

Lanes3 select(__m128 mask, Lanes3 whenSet, Lanes3 otherwise)
{
    return { select(mask, whenSet.x, otherwise.x), select(mask, whenSet.y, otherwise.y),
        select(mask, whenSet.z, otherwise.z) };
}

__m128 magnitude(__m128 v)
{
    return _mm_andnot_ps(_mm_set1_ps(-0.0f), v);
}

Lanes3 difference(Lanes3 a, Lanes3 b)
{
    return { _mm_sub_ps(a.x, b.x), _mm_sub_ps(a.y, b.y), _mm_sub_ps(a.z, b.z) };
}

Lanes3 cross(Lanes3 a, Lanes3 b)
{
    return { _mm_sub_ps(_mm_mul_ps(a.y, b.z), _mm_mul_ps(a.z, b.y)),
        _mm_sub_ps(_mm_mul_ps(a.z, b.x), _mm_mul_ps(a.x, b.z)),
        _mm_sub_ps(_mm_mul_ps(a.x, b.y), _mm_mul_ps(a.y, b.x)) };
}

__m128 dot(Lanes3 a, Lanes3 b)
{
    return _mm_add_ps(_mm_add_ps(_mm_mul_ps(a.x, b.x), _mm_mul_ps(a.y, b.y)), _mm_mul_ps(a.z, b.z));
}

Lanes3 divided(Lanes3 v, __m128 length)
{
    return { _mm_div_ps(v.x, length), _mm_div_ps(v.y, length), _mm_div_ps(v.z, length) };
}

// length3D, lane by lane.
__m128 length3D(Lanes3 v)
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
void classifyLength(__m128 length, __m128 &unit, __m128 &tiny)
{
    const __m128 tolerance = _mm_set1_ps(kNormalizationTolerance);
    unit = _mm_cmple_ps(magnitude(_mm_sub_ps(length, _mm_set1_ps(1.0f))), tolerance);
    tiny = _mm_cmple_ps(length, tolerance);
}

// normalize(), the in-place rule: unit and tiny vectors stay as they are.
Lanes3 normalizedInPlace(Lanes3 v)
{
    const __m128 length = length3D(v);
    __m128 unit, tiny;
    classifyLength(length, unit, tiny);
    return select(_mm_or_ps(unit, tiny), v, divided(v, length));
}

// normalized(), the copy rule: unit vectors stay, tiny ones become zero.
Lanes3 normalizedCopy(Lanes3 v)
{
    const __m128 length = length3D(v);
    __m128 unit, tiny;
    classifyLength(length, unit, tiny);
    const __m128 zero = _mm_setzero_ps();
    return select(unit, v, select(tiny, Lanes3 { zero, zero, zero }, divided(v, length)));
}

} // namespace

int SmallFacesRunClockwise(int count, const int *const faces[kWindingLanes], const float *positions)
{
    constexpr int kMostCorners = 4;
    Lanes3 p[kMostCorners];
    for (int k = 0; k < count; ++k) {
        const float *a = positions + 3 * qsizetype(faces[0][k]);
        const float *b = positions + 3 * qsizetype(faces[1][k]);
        const float *c = positions + 3 * qsizetype(faces[2][k]);
        const float *d = positions + 3 * qsizetype(faces[3][k]);
        p[k] = { _mm_setr_ps(a[0], b[0], c[0], d[0]), _mm_setr_ps(a[1], b[1], c[1], d[1]),
            _mm_setr_ps(a[2], b[2], c[2], d[2]) };
    }
    const __m128 zero = _mm_setzero_ps();
    const __m128 one = _mm_set1_ps(1.0f);

    // ComputePolygonNormal.
    Lanes3 normal { zero, zero, zero };
    for (int k = 0; k < count; ++k) {
        const Lanes3 term = cross(p[k == 0 ? count - 1 : k - 1], p[k]);
        normal = { _mm_add_ps(normal.x, term.x), _mm_add_ps(normal.y, term.y), _mm_add_ps(normal.z, term.z) };
    }
    normal = normalizedInPlace(normal);

    // ProjectPolygonToPlane.
    const __m128 alongY = dot(normal, Lanes3 { zero, one, zero });
    const __m128 nearY = _mm_cmpgt_ps(magnitude(alongY), _mm_set1_ps(0.9f));
    const Lanes3 reference { zero, select(nearY, zero, one), select(nearY, one, zero) };
    const Lanes3 u = normalizedCopy(cross(reference, normal));
    const Lanes3 v = normalizedCopy(cross(normal, u));
    __m128 x[kMostCorners] = { zero };
    __m128 y[kMostCorners] = { zero };
    for (int k = 1; k < count; ++k) {
        const Lanes3 d = difference(p[k], p[0]);
        x[k] = dot(d, u);
        y[k] = dot(d, v);
    }

    // PolygonRunsClockwise.
    __m128 sum = zero;
    for (int k = 0; k < count; ++k) {
        const int previous = k == 0 ? count - 1 : k - 1;
        sum = _mm_add_ps(sum, _mm_mul_ps(_mm_sub_ps(x[k], x[previous]), _mm_add_ps(y[k], y[previous])));
    }
    return ~_mm_movemask_ps(_mm_cmple_ps(sum, zero)) & ((1 << kWindingLanes) - 1);
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
