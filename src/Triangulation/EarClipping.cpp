// Ear clipping of a simple polygon in 2D, sharpest ear first. Cutting the corner with the smallest
// interior angle at each step keeps slivers out of the result for the convex and mildly concave
// faces that meshes are made of. Triangles and quadrilaterals take fixed patterns.
//
// Polygons below kSmallPolygonCorners corners are clipped by scans of bit sets
// (SmallPolygonClipping.cpp). From there on, the ear to cut comes from a priority queue
// (EarQueue) rather than a scan of the ring, and the blocking test asks a k-d tree (CornerTree)
// for the corners near the ear rather than testing them all; both give exactly the scans'
// answers. So a polygon of well-spread points costs about O(n log n) instead of O(n²). Points the
// tree cannot bound (NaN, infinite or huge coordinates) keep the full scan in every ear test. The
// ring, the queue and the tree live in per-thread buffers that keep their capacity.

#include "CornerTree.h"
#include "EarQueue.h"
#include "PolygonTriangulation.h"

#include <QMessageLogger>

#include <vector>

namespace Vardune::Qel {

namespace {

// Polygons of kSmallPolygonCorners corners and more: the ear to cut comes from the queue, and
// the ear tests ask the tree.
int clipLargePolygon(int count, const Vector2f *points, bool reversed, int *corners)
{
    thread_local std::vector<EarVertex> ringBuffer;
    thread_local EarQueue ears;
    thread_local CornerTree treeBuffer;
    ringBuffer.resize(count);
    EarVertex *ring = ringBuffer.data();
    for (int k = 0; k < count; ++k) {
        const RingNeighbours neighbours = ringNeighbours(k, count, reversed);
        ring[k] = { neighbours.next, neighbours.prev, 0.0f, 0.0f, true, false };
    }
    CornerTree *tree = treeBuffer.build(count, points) ? &treeBuffer : nullptr;
    ears.reset(count);
    const auto update = [&](int k) {
        UpdateEarState(k, count, points, ring, tree);
        ears.update(k, ring);
    };
    for (int k = 0; k < count; ++k)
        update(k);

    int written = 0;
    for (int remaining = count; remaining > 3; --remaining) {
        const int ear = ears.sharpestEar(ring);
        if (ear < 0)
            return 0;
        const int prev = ring[ear].prev;
        const int next = ring[ear].next;
        written = writeTriangle(corners, written, prev, ear, next);
        ring[prev].next = next;
        ring[next].prev = prev;
        ring[ear].active = false;
        if (tree)
            tree->remove(ear);
        update(prev);
        update(next);
    }

    // The last three corners form the last triangle whatever their shape.
    int last = 0;
    while (!ring[last].active)
        ++last;
    return writeTriangle(corners, written, ring[last].prev, last, ring[last].next);
}

} // namespace

int TriangulatePolygon2D(int count, const Vector2f *points, bool reversed, int *corners)
{
    if (count < 3) {
        QMessageLogger(nullptr, 0, nullptr).warning("Cannot triangulate a polygon with fewer than 3 vertices");
        return 0;
    }
    if (count == 3)
        return reversed ? writeTriangle(corners, 0, 0, 2, 1) : writeTriangle(corners, 0, 0, 1, 2);
    if (count == 4) {
        // Always the diagonal between corners 1 and 3, with no test of the shape.
        if (reversed)
            return writeTriangle(corners, writeTriangle(corners, 0, 0, 3, 1), 1, 3, 2);
        return writeTriangle(corners, writeTriangle(corners, 0, 0, 1, 3), 1, 2, 3);
    }
    const int written = count < kSmallPolygonCorners ? ClipSmallPolygon(count, points, reversed, corners)
                                                     : clipLargePolygon(count, points, reversed, corners);
    if (written == 0)
        WarnNoEarLeft();
    return written;
}

void WarnNoEarLeft()
{
    QMessageLogger(nullptr, 0, nullptr).warning("Unable to triangulate polygon.");
}

} // namespace Vardune::Qel
