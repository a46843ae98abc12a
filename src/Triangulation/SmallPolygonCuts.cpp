// Polygons of 5 to kBatchedPolygonCorners corners, the n-gons of a mesh, cut four of one corner
// count at a time in SSE2 lanes (SmallPolygonLanes.h); eight at a time where the processor has
// AVX (TriangulationWide.cpp). Without SSE2 the faces are cut one by one.

#include "PolygonTriangulation.h"
#include "SmallPolygonLanes.h"

namespace Vardune::Qel {

#if defined(QEL_HAS_VECTOR_LANES)

void CutSmallPolygons(int count, const int *const faces[kWindingLanes], int faceCount, const float *positions,
    PolygonCut *const cuts[kWindingLanes])
{
    Lanes::cutSmallPolygons<kWindingLanes>(count, faces, faceCount, positions, cuts);
}

#else

void CutSmallPolygons(int count, const int *const faces[kWindingLanes], int faceCount, const float *positions,
    PolygonCut *const cuts[kWindingLanes])
{
    for (int f = 0; f < faceCount; ++f) {
        Vector2f points[kBatchedPolygonCorners];
        ProjectPolygonToPlane(ComputePolygonNormal(count, faces[f], positions), count, faces[f], positions, points);
        cuts[f]->written = ClipSmallPolygon(count, points, PolygonRunsClockwise(count, points), cuts[f]->corners);
    }
}

#endif

} // namespace Vardune::Qel
