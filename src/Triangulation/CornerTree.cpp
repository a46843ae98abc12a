// A k-d tree of the polygon's corners, split at the median of the wider side, leaves of up to
// kLeafSize corners; built in O(n log n). A query visits the nodes whose boxes may hold a corner
// that passes the ear test, about O(log n) of them for an ear among well-spread points. Unlike a
// uniform grid it stays balanced for what polygons are made of: points along a curve, crowded into
// few cells of any grid over their bounding box.
//
// Why a node can be passed over: the ear test checks, for each triangle corner c_j and unit edge
// direction e_j, that cross(e_j, normalized(p − c_j)) >= 0 in single precision. Rounding of the
// difference, the normalisation and the product moves that value by less than 5e-7 (unit vectors
// and a relative error of 2^-24 per operation), so a point passes only if the exact
// cross(e_j, p − c_j) >= −α·|p − c_j|, with α = kAngleError = 2e-6, four times that. A point
// within kNormalizationTolerance of c_j gets a zero direction and passes outright. The left side
// is linear in p and |p − c_j| is convex, so both take their extremes at the box's corners: when
// the box keeps clear of c_j and every box corner q has cross(e_j, q − c_j) < −α·max|q − c_j|, no
// point in the box passes test j, let alone all three. Coordinates are at most 1e37 in size, so
// no length overflows in single precision; build() refuses others.

#include "CornerTree.h"

#include <algorithm>
#include <cmath>

namespace Vardune::Qel {

namespace {

constexpr int kLeafSize = 8;
constexpr double kAngleError = 2e-6;
// Twice the tolerance within which a direction becomes zero, for the rounding of the length.
constexpr double kNearRadius = 2 * kNormalizationTolerance;
// Differences of coordinates up to this size stay finite in single precision, lengths included.
constexpr float kLargestCoordinate = 1e37f;

} // namespace

bool CornerTree::build(int count, const Vector2f *points)
{
    for (int k = 0; k < count; ++k) {
        if (!(std::abs(points[k].x) <= kLargestCoordinate && std::abs(points[k].y) <= kLargestCoordinate))
            return false;
    }
    _corners.resize(size_t(count));
    for (int k = 0; k < count; ++k)
        _corners[size_t(k)] = k;
    _pointsInOrder.resize(size_t(count));
    _leafOfCorner.resize(size_t(count));
    _removed.assign(size_t(count), 0);
    _nodes.clear();
    _nodes.reserve(4 * size_t(count / kLeafSize + 1));
    buildNode(0, count, -1, points);
    return true;
}

int CornerTree::buildNode(int first, int end, int parent, const Vector2f *points)
{
    const int index = int(_nodes.size());
    Node node { points[_corners[size_t(first)]].x, points[_corners[size_t(first)]].y, points[_corners[size_t(first)]].x,
        points[_corners[size_t(first)]].y, first, end, -1, -1, parent, end - first };
    for (int slot = first; slot < end; ++slot) {
        const Vector2f p = points[_corners[size_t(slot)]];
        node.minX = std::min(node.minX, p.x);
        node.minY = std::min(node.minY, p.y);
        node.maxX = std::max(node.maxX, p.x);
        node.maxY = std::max(node.maxY, p.y);
    }
    _nodes.push_back(node);
    if (end - first <= kLeafSize) {
        for (int slot = first; slot < end; ++slot) {
            _leafOfCorner[size_t(_corners[size_t(slot)])] = index;
            _pointsInOrder[size_t(slot)] = points[_corners[size_t(slot)]];
        }
        return index;
    }
    const bool alongX = double(node.maxX) - node.minX >= double(node.maxY) - node.minY;
    const int middle = first + (end - first) / 2;
    std::nth_element(_corners.begin() + first, _corners.begin() + middle, _corners.begin() + end,
        [&](int a, int b) { return alongX ? points[a].x < points[b].x : points[a].y < points[b].y; });
    const int left = buildNode(first, middle, index, points);
    const int right = buildNode(middle, end, index, points);
    _nodes[size_t(index)].left = left;
    _nodes[size_t(index)].right = right;
    return index;
}

namespace {

// The slack that covers the rounding of the double-precision sums below.
double slackFor(const EarTriangleEdges &ear, double size)
{
    double scale = size;
    for (const Vector2f &c : ear.corners)
        scale = std::max({ scale, double(std::abs(c.x)), double(std::abs(c.y)) });
    return 1e-9 * scale;
}

} // namespace

bool CornerTree::mayPass(Vector2f point, const EarTriangleEdges &ear)
{
    const double slack = slackFor(ear, std::max(std::abs(point.x), std::abs(point.y)));
    for (int j = 0; j < 3; ++j) {
        const double dx = double(point.x) - ear.corners[j].x, dy = double(point.y) - ear.corners[j].y;
        const double distanceSquared = dx * dx + dy * dy;
        if (distanceSquared <= kNearRadius * kNearRadius)
            continue;
        const double margin = ear.edges[j].x * dy - ear.edges[j].y * dx + slack;
        if (margin < 0 && margin * margin > kAngleError * kAngleError * distanceSquared)
            return false;
    }
    return true;
}

bool CornerTree::mayPass(const Node &node, const EarTriangleEdges &ear)
{
    // The box as a polygon, clipped in turn by each test's half-plane widened for the box.
    double x[8] = { node.minX, node.maxX, node.maxX, node.minX };
    double y[8] = { node.minY, node.minY, node.maxY, node.maxY };
    int size = 4;
    const double slack = slackFor(
        ear, std::max({ std::abs(node.minX), std::abs(node.maxX), std::abs(node.minY), std::abs(node.maxY) }));
    for (int j = 0; j < 3 && size > 0; ++j) {
        const double cx = ear.corners[j].x, cy = ear.corners[j].y;
        const double nearX = std::max({ node.minX - cx, 0.0, cx - node.maxX });
        const double nearY = std::max({ node.minY - cy, 0.0, cy - node.maxY });
        if (nearX * nearX + nearY * nearY <= kNearRadius * kNearRadius)
            continue;
        const double farX = std::max(cx - node.minX, node.maxX - cx), farY = std::max(cy - node.minY, node.maxY - cy);
        const double widening = kAngleError * std::sqrt(farX * farX + farY * farY) + slack;
        const double ex = ear.edges[j].x, ey = ear.edges[j].y;
        double side[8];
        for (int k = 0; k < size; ++k)
            side[k] = ex * (y[k] - cy) - ey * (x[k] - cx) + widening;
        double clippedX[8], clippedY[8];
        int clippedSize = 0;
        // At most 7 corners in exact arithmetic; a cut made short by rounding keeps the box, which is safe.
        for (int k = 0; k < size && clippedSize < 7; ++k) {
            const int next = (k + 1) % size;
            if (side[k] >= 0) {
                clippedX[clippedSize] = x[k];
                clippedY[clippedSize++] = y[k];
            }
            if ((side[k] >= 0) != (side[next] >= 0)) {
                const double t = side[k] / (side[k] - side[next]);
                clippedX[clippedSize] = x[k] + t * (x[next] - x[k]);
                clippedY[clippedSize++] = y[k] + t * (y[next] - y[k]);
            }
        }
        size = clippedSize;
        std::copy(clippedX, clippedX + size, x);
        std::copy(clippedY, clippedY + size, y);
    }
    return size > 0;
}

void CornerTree::remove(int corner)
{
    _removed[size_t(corner)] = 1;
    for (int node = _leafOfCorner[size_t(corner)]; node >= 0; node = _nodes[size_t(node)].parent)
        --_nodes[size_t(node)].remaining;
}

} // namespace Vardune::Qel
