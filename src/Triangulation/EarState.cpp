// The ear test of one corner of a large polygon's ring (EarTest.h). Without a tree the blocking
// test scans every corner, O(n); with one it tests only the corners that the tree finds near the
// triangle, about O(log n) for well-spread points. The per-corner test is the same either way,
// and so is the answer.

#include "CornerTree.h"
#include "EarTest.h"
#include "PolygonTriangulation.h"

namespace Vardune::Qel {

void UpdateEarState(int i, int count, const Vector2f *points, EarVertex *ring, const CornerTree *tree)
{
    EarVertex &vertex = ring[i];
    const auto unitDifference = [points](int a, int b) { return normalized(difference(points[a], points[b])); };
    const auto anyBlocks = [&](const EarTriangle &ear) {
        const auto blocks = [&](int k) { return !ear.isCorner(k) && ear.blocks(k, points, unitDifference); };
        if (tree) {
            // The tree holds the active corners only.
            const EarTriangleEdges edges { { ear.corner, ear.next, ear.prev }, { ear.edge0, ear.edge1, ear.edge2 } };
            return tree->anyCornerWithin(edges, blocks);
        }
        for (int k = 0; k < count; ++k) {
            if (ring[k].active && blocks(k))
                return true;
        }
        return false;
    };
    const EarMeasure measure = measureEar(i, vertex.next, vertex.prev, points, unitDifference, anyBlocks);
    vertex.cross = measure.cross;
    vertex.cosAngle = measure.cosAngle;
    vertex.isEar = measure.isEar;
}

} // namespace Vardune::Qel
