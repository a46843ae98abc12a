// GenerateNormals' lane steps eight at a time, in the AVX lanes of processors that have them:
// the triangles' normals are two normalisations each, divisions and square roots, which the
// divider takes eight at a time in about the time of four. Compiled for AVX like
// TriangulationWide.cpp, and called only where WideLanesAvailable().

#include "VectorNormalization.h" // compiled for the baseline
#include "WideLanes.h"

#if defined(QEL_HAS_WIDE_LANES)
#include <cstddef>
#include <cstdint>
#include <immintrin.h>
#include <utility>

QEL_WIDE_LANES_BEGIN

#include "NormalLanes.h"
#include "WideLanePack.h"

namespace Vardune::Qel {

int AddTriangleNormalsWide(
    int first, int indexCount, const float *positions, const unsigned int *indices, float *normals)
{
    return NormalLanes::addTriangleGroups<kWideLanes>(first, indexCount, positions, indices, normals);
}

int NormalizeNormalsWide(int first, int vertexCount, float *normals)
{
    return NormalLanes::normalizeGroups<kWideLanes>(first, vertexCount, normals);
}

} // namespace Vardune::Qel

QEL_WIDE_LANES_END

#endif
