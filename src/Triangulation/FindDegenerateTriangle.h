#pragma once

#include "qelmodel_export.h"

namespace Vardune::Qel {

// Scans the triangle list `indices` (entries 3t, 3t + 1, 3t + 2 form one triangle, over the 2D
// points positions[2v], positions[2v + 1]) from entry `start`, three entries at a time, and returns
// the entry offset of the first triangle whose corners lie on one line, or −1 if there is none. A
// triangle counts as degenerate when two of its unit edge directions are parallel or opposite
// within about 0.26 degrees (their dot product is within 0.00001 of ±1); this includes two
// coincident corners, but not three. A trailing group of fewer than three entries is not examined,
// and nothing is read when start >= count. Vertex numbers are not validated. Keeps no state.
QELMODEL_EXPORT int FindDegenerateTriangle(int count, const unsigned int *indices, const float *positions, int start);

} // namespace Vardune::Qel
