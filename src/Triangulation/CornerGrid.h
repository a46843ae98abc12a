#pragma once

// A uniform grid over a polygon's 2D points that narrows the blocking test of ear clipping to the
// corners near the ear. Internal to the triangulation; not installed.

#include "VectorNormalization.h"

#include <vector>

namespace Vardune::Qel {

// The cells that may hold a corner inside an ear triangle, inclusive on both ends.
struct CellRange
{
    int x0;
    int y0;
    int x1;
    int y1;
};

class CornerGrid
{
public:
    // Files every corner into its cell, about one corner per cell. False, with no grid, when a
    // coordinate is not finite or so large that a difference of two points overflows: then the
    // ear test accepts corners anywhere and only a scan of every corner is sound.
    bool build(int count, const Vector2f *points);

    // The cells holding every corner that the ear test of the triangle corner → next → prev can
    // count as inside or on the border. False when the triangle is too thin, or an edge too short,
    // for such a bound: then the caller must test every corner.
    bool cellsAround(Vector2f corner, Vector2f next, Vector2f prev, CellRange &cells) const;

    const int *cornersBegin(int x, int y) const { return _corners.data() + _cellStart[cellNumber(x, y)]; }
    const int *cornersEnd(int x, int y) const { return _corners.data() + _cellEnd[cellNumber(x, y)]; }

    // Takes a corner that was cut off out of its cell, so that later queries pass it over.
    void remove(int corner);

private:
    int cellNumber(int x, int y) const { return y * _columns + x; }
    int column(double x) const;
    int row(double y) const;

    double _minX = 0;
    double _minY = 0;
    double _columnsPerUnit = 0;
    double _rowsPerUnit = 0;
    int _columns = 0;
    int _rows = 0;
    // Cell c holds _corners[_cellStart[c]] to _corners[_cellEnd[c] - 1]; _slot[k] is where corner
    // k lies in _corners.
    std::vector<int> _cellStart;
    std::vector<int> _cellEnd;
    std::vector<int> _corners;
    std::vector<int> _slot;
    std::vector<int> _cellOfCorner;
};

} // namespace Vardune::Qel
