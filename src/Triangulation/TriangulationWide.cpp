// The face list's lane steps eight faces at a time, in the AVX lanes of processors that have them:
// the cuts of polygons of 5 to kBatchedPolygonCorners corners and the windings of triangles and
// quadrilaterals. The divider works on eight floats or four doubles in about the time it takes
// for four or two, and the square roots and divisions of the direction tables are most of the
// polygons' lane time, so eight faces cost little more than four. Only the *Wide.cpp files are
// compiled for AVX, and they are called only after the processor was asked (WideLanesAvailable).

#include "PolygonTriangulation.h" // and VectorNormalization.h, compiled for the baseline

#if defined(QEL_HAS_WIDE_LANES)
#include <cstddef>
#include <cstdint>
#include <immintrin.h>
#include <utility>

QEL_WIDE_LANES_BEGIN

#include "SmallFaceLanes.h"
#include "SmallPolygonLanes.h"
#include "WideLanePack.h"

namespace Vardune::Qel {

void CutSmallPolygonsWide(int count, const int *const faces[kWideLanes], int faceCount, const float *positions,
    PolygonCut *const cuts[kWideLanes])
{
    Lanes::cutSmallPolygons<kWideLanes>(count, faces, faceCount, positions, cuts);
}

int SmallFacesRunClockwiseWide(int count, const int *const faces[kWideLanes], const float *positions)
{
    return Lanes::smallFacesRunClockwise<kWideLanes>(count, faces, positions);
}

} // namespace Vardune::Qel

QEL_WIDE_LANES_END

namespace Vardune::Qel {

bool WideLanesAvailable()
{
    static const bool available = __builtin_cpu_supports("avx");
    return available;
}

} // namespace Vardune::Qel

#endif
