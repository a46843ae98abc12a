// The winding of four triangles or four quadrilaterals at once (SmallFaceLanes.h); eight at a
// time where the processor has AVX (TriangulationWide.cpp). Without SSE2 the faces are measured
// one by one.

#include "PolygonTriangulation.h"
#include "SmallFaceLanes.h"

namespace Vardune::Qel {

#if defined(QEL_HAS_VECTOR_LANES)

int SmallFacesRunClockwise(int count, const int *const faces[kWindingLanes], const float *positions)
{
    return Lanes::smallFacesRunClockwise<kWindingLanes>(count, faces, positions);
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
