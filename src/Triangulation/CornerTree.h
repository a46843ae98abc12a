#pragma once

// A k-d tree over a polygon's 2D points that narrows the blocking test of ear clipping to the
// corners near the ear. Internal to the triangulation; not installed.

#include "VectorNormalization.h"

#include <vector>

namespace Vardune::Qel {

// The ear test's triangle: corners j = 0, 1, 2 (the ear's corner, its next, its prev) and the unit
// edge directions that the test starts from them.
struct EarTriangleEdges
{
    Vector2f corners[3];
    Vector2f edges[3];
};

class CornerTree
{
public:
    // Sorts the corners into the tree. False, with no tree, when a coordinate is not finite or so
    // large that a difference of two points overflows: then the ear test accepts corners anywhere
    // and only a scan of every corner is sound.
    bool build(int count, const Vector2f *points);

    // Calls blocks(k) for the corners k not yet removed that the ear test of the triangle may count
    // as inside or on its border, until one call returns true; returns whether one did.
    template<typename Blocks>
    bool anyCornerWithin(const EarTriangleEdges &ear, Blocks blocks) const;

    // Takes a corner that was cut off out of the tree, so that later queries pass it over.
    void remove(int corner);

private:
    struct Node
    {
        float minX, minY, maxX, maxY;
        int first, end; // the node's corners are _corners[first] to _corners[end - 1]
        int left, right; // children, -1 for a leaf
        int parent;
        int remaining; // corners not yet removed
    };

    int buildNode(int first, int end, int parent, const Vector2f *points);
    // Whether every point of the node is exactly one of the triangle's corners, which the ear test
    // never counts: a polygon that runs over the same few points again and again would otherwise
    // have its whole tree visited for every ear.
    static bool repeatsCorner(const Node &node, const EarTriangleEdges &ear)
    {
        if (node.minX != node.maxX || node.minY != node.maxY)
            return false;
        for (const Vector2f &c : ear.corners) {
            if (c.x == node.minX && c.y == node.minY)
                return true;
        }
        return false;
    }
    // Whether the point, or some point of the node's box, may pass the ear test.
    static bool mayPass(Vector2f point, const EarTriangleEdges &ear);
    static bool mayPass(const Node &node, const EarTriangleEdges &ear);

    std::vector<Node> _nodes;
    std::vector<int> _corners;
    std::vector<Vector2f> _pointsInOrder; // the corners' points in the order of _corners, in leaves
    std::vector<int> _leafOfCorner;
    std::vector<unsigned char> _removed;
};

template<typename Blocks>
bool CornerTree::anyCornerWithin(const EarTriangleEdges &ear, Blocks blocks) const
{
    // Depth-first with an explicit stack; a balanced tree of int-sized count is at most 64 deep.
    int stack[128];
    int depth = 0;
    stack[depth++] = 0;
    while (depth > 0) {
        const Node &node = _nodes[size_t(stack[--depth])];
        if (node.remaining == 0 || repeatsCorner(node, ear) || !mayPass(node, ear))
            continue;
        if (node.left < 0) {
            for (int slot = node.first; slot < node.end; ++slot) {
                const int corner = _corners[size_t(slot)];
                if (!_removed[size_t(corner)] && mayPass(_pointsInOrder[size_t(slot)], ear) && blocks(corner))
                    return true;
            }
            continue;
        }
        stack[depth++] = node.right;
        stack[depth++] = node.left;
    }
    return false;
}

} // namespace Vardune::Qel
