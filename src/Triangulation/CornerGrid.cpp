// Uniform grid of about one polygon corner per cell, built in linear time by a counting sort.
//
// Why a box around the triangle holds every corner the ear test can accept: the test checks, for
// each ear edge from corner c with unit direction e, that cross(e, normalized(p − c)) >= 0 in
// single precision. Rounding of the difference, the normalisation and the product moves that
// value by about 1e-6 at most, so a point passes only if its direction from c lies within an angle
// α of the edge's inner half-plane, sin α <= kAngleError = 1e-5, ten times that. A point closer
// than kNormalizationTolerance to c gets a zero direction and passes outright. Past the triangle's
// corner where edges meet at an interior angle θ, the two widened half-planes overlap only up to
// a distance L·tan α / (sin θ − 2 tan α) from the corner, L being the longest edge; so the
// triangle's bounding box grown by twice that (with s the smallest sine of the three angles) plus
// the tolerance radius holds all of them. With s at most 4·kAngleError, or an edge so short that
// its direction may be zero and every point passes that test, no bound is given. Cells follow
// from coordinates by a monotone rounding, so a point inside the box lies in the box's cells.
// Cost: building O(n); a query O(cells covered + corners in them).

#include "CornerGrid.h"

#include <algorithm>
#include <cmath>

namespace Vardune::Qel {

namespace {

constexpr double kAngleError = 1e-5;
constexpr double kShortestEdge = 10 * kNormalizationTolerance;
// Differences of coordinates up to this size stay finite in single precision, lengths included.
constexpr float kLargestCoordinate = 1e37f;

double length(double x, double y)
{
    return std::sqrt(x * x + y * y);
}

} // namespace

bool CornerGrid::build(int count, const Vector2f *points)
{
    float minX = points[0].x, maxX = points[0].x, minY = points[0].y, maxY = points[0].y;
    for (int k = 0; k < count; ++k) {
        const Vector2f p = points[k];
        if (!(std::abs(p.x) <= kLargestCoordinate && std::abs(p.y) <= kLargestCoordinate))
            return false;
        minX = std::min(minX, p.x);
        maxX = std::max(maxX, p.x);
        minY = std::min(minY, p.y);
        maxY = std::max(maxY, p.y);
    }
    const double width = double(maxX) - minX;
    const double height = double(maxY) - minY;
    const double side = std::sqrt(width * height / count);
    _columns = side > 0 ? int(std::clamp(width / side, 1.0, double(count))) : (width > 0 ? count : 1);
    _rows = side > 0 ? int(std::clamp(height / side, 1.0, double(count))) : (height > 0 ? count : 1);
    _minX = minX;
    _minY = minY;
    _columnsPerUnit = width > 0 ? _columns / width : 0;
    _rowsPerUnit = height > 0 ? _rows / height : 0;

    const int cellCount = _columns * _rows;
    _cellStart.assign(size_t(cellCount) + 1, 0);
    _cellOfCorner.resize(size_t(count));
    for (int k = 0; k < count; ++k) {
        _cellOfCorner[size_t(k)] = cellNumber(column(points[k].x), row(points[k].y));
        ++_cellStart[size_t(_cellOfCorner[size_t(k)]) + 1];
    }
    for (int c = 0; c < cellCount; ++c)
        _cellStart[size_t(c) + 1] += _cellStart[size_t(c)];
    _cellEnd.assign(_cellStart.begin(), _cellStart.end() - 1);
    _corners.resize(size_t(count));
    _slot.resize(size_t(count));
    for (int k = 0; k < count; ++k) {
        const int slot = _cellEnd[size_t(_cellOfCorner[size_t(k)])]++;
        _corners[size_t(slot)] = k;
        _slot[size_t(k)] = slot;
    }
    return true;
}

int CornerGrid::column(double x) const
{
    return int(std::clamp((x - _minX) * _columnsPerUnit, 0.0, double(_columns - 1)));
}

int CornerGrid::row(double y) const
{
    return int(std::clamp((y - _minY) * _rowsPerUnit, 0.0, double(_rows - 1)));
}

bool CornerGrid::cellsAround(Vector2f corner, Vector2f next, Vector2f prev, CellRange &cells) const
{
    const double ax = corner.x, ay = corner.y, bx = next.x, by = next.y, cx = prev.x, cy = prev.y;
    const double ab = length(bx - ax, by - ay);
    const double bc = length(cx - bx, cy - by);
    const double ca = length(ax - cx, ay - cy);
    if (std::min({ ab, bc, ca }) < kShortestEdge)
        return false;
    // Twice the area over the product of the two edges at a corner is the sine of its angle.
    const double doubleArea = std::abs((bx - ax) * (cy - ay) - (by - ay) * (cx - ax));
    const double smallestSine = doubleArea / std::max({ ab * ca, ab * bc, bc * ca });
    if (!(smallestSine > 4 * kAngleError))
        return false;
    const double margin = 2 * std::max({ ab, bc, ca }) * kAngleError / (smallestSine - 2 * kAngleError)
        + 2 * kNormalizationTolerance;
    cells.x0 = column(std::min({ ax, bx, cx }) - margin);
    cells.x1 = column(std::max({ ax, bx, cx }) + margin);
    cells.y0 = row(std::min({ ay, by, cy }) - margin);
    cells.y1 = row(std::max({ ay, by, cy }) + margin);
    return true;
}

void CornerGrid::remove(int corner)
{
    const int cell = _cellOfCorner[size_t(corner)];
    const int last = --_cellEnd[size_t(cell)];
    const int slot = _slot[size_t(corner)];
    const int moved = _corners[size_t(last)];
    _corners[size_t(slot)] = moved;
    _slot[size_t(moved)] = slot;
    _corners[size_t(last)] = corner;
    _slot[size_t(corner)] = last;
}

} // namespace Vardune::Qel
