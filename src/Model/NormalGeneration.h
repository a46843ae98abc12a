#pragma once

#include "qelmodel_export.h"

namespace Vardune::Qel {

// Fills one normal per vertex (three floats each) from the triangles that use the vertex.
//
// Each triangle (i0, i1, i2) adds normalized(P(i2) - P(i0)) x normalized(P(i1) - P(i0)) to
// its three corners: a vector of length the sine of its angle at i0, pointing away from a
// viewer who sees the corners run counter-clockwise. The sums are then normalised; a vertex
// that no triangle uses keeps (0, 0, 0). Every index must name one of the vertices.
QELMODEL_EXPORT void GenerateNormals(int vertexCount, int indexCount, const float *positions,
                                     const unsigned int *indices, float *normals);

} // namespace Vardune::Qel
