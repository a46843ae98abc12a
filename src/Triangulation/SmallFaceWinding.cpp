// The winding of four triangles or four quadrilaterals at once, as Triangulate3D measures it for
// one polygon without a given normal: the polygon's own normal, its projection onto its plane and
// the sign of the winding sum. Triangles and quadrilaterals need nothing else to be cut, and these
// steps are most of their cost: three normalisations in a chain, each several divisions and a
// square root. Each lane of the packed operations performs the float operations of the
// one-polygon code in the same order, and a packed operation rounds each lane as the single one
// does, so the answers agree bit for bit, NaNs and infinities included. Without SSE2 the faces
// are measured one by one.

#include "PolygonTriangulation.h"
#include "VectorLanes.h"

namespace Vardune::Qel {

#if defined(QEL_HAS_VECTOR_LANES)

using namespace Lanes;

int SmallFacesRunClockwise(int count, const int *const faces[kWindingLanes], const float *positions)
{
    constexpr int kMostCorners = 4;
    Vector3 p[kMostCorners];
    for (int k = 0; k < count; ++k)
        p[k] = gather(positions, faces[0][k], faces[1][k], faces[2][k], faces[3][k]);
    const __m128 zero = _mm_setzero_ps();
    const __m128 one = _mm_set1_ps(1.0f);

    // ComputePolygonNormal.
    Vector3 normal { zero, zero, zero };
    for (int k = 0; k < count; ++k) {
        const Vector3 term = cross(p[k == 0 ? count - 1 : k - 1], p[k]);
        normal = { _mm_add_ps(normal.x, term.x), _mm_add_ps(normal.y, term.y), _mm_add_ps(normal.z, term.z) };
    }
    normal = normalizedInPlace(normal);

    // ProjectPolygonToPlane.
    const __m128 alongY = dot(normal, Vector3 { zero, one, zero });
    const __m128 nearY = _mm_cmpgt_ps(magnitude(alongY), _mm_set1_ps(0.9f));
    const Vector3 reference { zero, select(nearY, zero, one), select(nearY, one, zero) };
    const Vector3 u = normalizedCopy(cross(reference, normal));
    const Vector3 v = normalizedCopy(cross(normal, u));
    __m128 x[kMostCorners] = { zero };
    __m128 y[kMostCorners] = { zero };
    for (int k = 1; k < count; ++k) {
        const Vector3 d = difference(p[k], p[0]);
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
