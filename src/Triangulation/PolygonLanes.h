#pragma once

// The steps of Triangulate3D before the cutting, for W polygons of one corner count at once in
// lanes (VectorLanes.h): ComputePolygonNormal, ProjectPolygonToPlane and PolygonRunsClockwise. A
// face alone is a chain of divisions and square roots that leaves most of the processor idle;
// W in lanes cost about what one does. Each lane performs the float operations of the
// one-polygon code in the same order, so the results agree bit for bit, NaNs and infinities
// included. Internal linkage, like VectorLanes.h. Internal; not installed.

#include "VectorLanes.h"

#if defined(QEL_HAS_VECTOR_LANES)

namespace Vardune::Qel::Lanes {
namespace {

// The corners of W faces of `count` corners, lane f from faces[f].
template<int W>
void gatherCorners(int count, const int *const *faces, const float *positions, Vector3<W> *p)
{
    for (int k = 0; k < count; ++k) {
        ptrdiff_t vertices[W];
        for (int f = 0; f < W; ++f)
            vertices[f] = faces[f][k];
        p[k] = gather<W>(positions, vertices);
    }
}

// ComputePolygonNormal before its normalisation: the sum of the cross products of consecutive
// corners.
template<int W>
Vector3<W> newellSum(int count, const Vector3<W> *p)
{
    Vector3<W> normal {};
    for (int k = 0; k < count; ++k) {
        const Vector3<W> term = cross<W>(p[k == 0 ? count - 1 : k - 1], p[k]);
        normal = { normal.x + term.x, normal.y + term.y, normal.z + term.z };
    }
    return normal;
}

// ProjectPolygonToPlane with `normal`, the normalised Newell sum: x[k], y[k] for k < count.
template<int W>
void projectToPlane(const Vector3<W> &normal, int count, const Vector3<W> *p, Floats<W> *x, Floats<W> *y)
{
    const Floats<W> zero {};
    const Floats<W> one = splat<W>(1.0f);
    const Floats<W> alongY = dot<W>(normal, Vector3<W> { zero, one, zero });
    const Ints<W> nearY = magnitude<W>(alongY) > 0.9f;
    const Vector3<W> reference { zero, select<W>(nearY, zero, one), select<W>(nearY, one, zero) };
    const Vector3<W> u = normalizedCopy<W>(cross<W>(reference, normal));
    const Vector3<W> v = normalizedCopy<W>(cross<W>(normal, u));
    x[0] = zero;
    y[0] = zero;
    for (int k = 1; k < count; ++k) {
        const Vector3<W> d = difference<W>(p[k], p[0]);
        x[k] = dot<W>(d, u);
        y[k] = dot<W>(d, v);
    }
}

// PolygonRunsClockwise: bit f set when lane f runs clockwise.
template<int W>
int runClockwise(int count, const Floats<W> *x, const Floats<W> *y)
{
    Floats<W> sum {};
    for (int k = 0; k < count; ++k) {
        const int previous = k == 0 ? count - 1 : k - 1;
        sum = sum + (x[k] - x[previous]) * (y[k] + y[previous]);
    }
    return ~Pack<W>::movemask(sum <= 0.0f) & ((1 << W) - 1);
}

} // namespace
} // namespace Vardune::Qel::Lanes

#endif
