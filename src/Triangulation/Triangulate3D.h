#pragma once

#include "qelmodel_export.h"

#include <QList>
#include <QVector3D>

namespace Vardune::Qel {

// Splits one planar polygon given in 3D into count − 2 triangles and appends their vertex numbers
// to `out`, three per triangle, never clearing it. Corner k of the polygon is vertex indices[k],
// and vertex v lies at positions[3v], positions[3v + 1], positions[3v + 2]; neither is validated.
//
// The polygon is projected onto the plane whose normal is `normal` (any length), and the
// triangles of a simple polygon come out counter-clockwise as seen from the side into which the
// normal points, whatever the winding of the input. Triangles take the corners in order (or 0, 2,
// 1 when clockwise); quadrilaterals are always split between corners 1 and 3; larger polygons are
// cut by ear clipping, sharpest ear first, in about n log n time for polygons of well-spread corners.
//
// On failure nothing is appended and a warning is written: "Cannot triangulate a polygon with
// fewer than 3 vertices" (with count <= 0 no index or position is read), or "Unable to
// triangulate polygon." when at some step no ear is left (collinear or self-overlapping corners).
// The 16-bit form stores the low 16 bits of each vertex number. Keeps no state: any thread may
// call it, each with its own output list.
QELMODEL_EXPORT void Triangulate3D(
    const QVector3D &normal, int count, const int *indices, const float *positions, QList<unsigned short> &out);
QELMODEL_EXPORT void Triangulate3D(
    const QVector3D &normal, int count, const int *indices, const float *positions, QList<unsigned int> &out);

// As above, with the normal computed from the polygon itself so that the output keeps the input's
// winding: the sum of the cross products of consecutive corner positions, normalised.
QELMODEL_EXPORT void Triangulate3D(int count, const int *indices, const float *positions, QList<unsigned short> &out);
QELMODEL_EXPORT void Triangulate3D(int count, const int *indices, const float *positions, QList<unsigned int> &out);

} // namespace Vardune::Qel
