#pragma once

// The lane steps of GenerateNormals for W triangles or vertices at a time (VectorLanes.h: bit for
// bit the one-vector code): NormalGeneration.cpp runs them with four lanes and
// NormalGenerationWide.cpp with eight. Internal linkage, like VectorLanes.h. Internal; not
// installed.

#include "VectorLanes.h"
#include "VectorNormalization.h"
#include "WideLanes.h"

#include <cstddef>

#if defined(QEL_HAS_WIDE_LANES)
namespace Vardune::Qel {

// NormalLanes::addTriangleGroups and normalizeGroups with kWideLanes lanes; only where
// WideLanesAvailable().
int AddTriangleNormalsWide(
    int first, int indexCount, const float *positions, const unsigned int *indices, float *normals);
int NormalizeNormalsWide(int first, int vertexCount, float *normals);

} // namespace Vardune::Qel
#endif

namespace Vardune::Qel::NormalLanes {
namespace {

// Adds n to the normal of each corner of the triangle.
inline void addToCorners(float *normals, const unsigned int *triangle, const Vector3f &n)
{
    for (int k = 0; k < 3; ++k) {
        float *normal = normals + 3 * size_t(triangle[k]);
        normal[0] += n.x;
        normal[1] += n.y;
        normal[2] += n.z;
    }
}

#if defined(QEL_HAS_VECTOR_LANES)

template<int W>
using Vector3 = Lanes::Vector3<W>;

// Corner `corner` of W consecutive triangles, lane f from triangle f.
template<int W>
Vector3<W> triangleCorners(const float *positions, const unsigned int *triangles, int corner)
{
    ptrdiff_t vertices[W];
    for (int f = 0; f < W; ++f)
        vertices[f] = triangles[3 * f + corner];
    return Lanes::gather<W>(positions, vertices);
}

// The triangles from `first` on whose normals go in W at a time, each added to its corners in
// triangle order; returns where the rest start.
template<int W>
int addTriangleGroups(int first, int indexCount, const float *positions, const unsigned int *indices, float *normals)
{
    int t = first;
    for (; 3 * (t + W) <= indexCount; t += W) {
        const unsigned int *triangles = indices + 3 * size_t(t);
        const Vector3<W> p0 = triangleCorners<W>(positions, triangles, 0);
        const Vector3<W> p1 = triangleCorners<W>(positions, triangles, 1);
        const Vector3<W> p2 = triangleCorners<W>(positions, triangles, 2);
        const Vector3<W> n = Lanes::cross<W>(Lanes::normalizedCopy<W>(Lanes::difference<W>(p2, p0)),
            Lanes::normalizedCopy<W>(Lanes::difference<W>(p1, p0)));
        for (int f = 0; f < W; ++f)
            addToCorners(normals, triangles + 3 * f, { n.x[f], n.y[f], n.z[f] });
    }
    return t;
}

// The vertices from `first` on normalised W at a time; returns where the rest start.
template<int W>
int normalizeGroups(int first, int vertexCount, float *normals)
{
    ptrdiff_t consecutive[W];
    for (int f = 0; f < W; ++f)
        consecutive[f] = f;
    int i = first;
    for (; i + W <= vertexCount; i += W) {
        float *group = normals + 3 * size_t(i);
        const Vector3<W> unit = Lanes::normalizedInPlace<W>(Lanes::gather<W>(group, consecutive));
        for (int f = 0; f < W; ++f) {
            group[3 * f] = unit.x[f];
            group[3 * f + 1] = unit.y[f];
            group[3 * f + 2] = unit.z[f];
        }
    }
    return i;
}

#endif

} // namespace
} // namespace Vardune::Qel::NormalLanes
