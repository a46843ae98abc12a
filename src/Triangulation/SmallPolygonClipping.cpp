// Ear clipping of a polygon of fewer than 64 corners, sharpest ear first, as EarClipping.cpp does
// for large ones and with the same answers.
//
// The corners fit the bits of one word, so the active corners and the ears are kept as bit sets:
// choosing the ear visits only the ears, an ear test only the active corners outside its
// triangle, and neither loop branches on per-corner flags, whose mispredictions were most of the
// cost of the scans. Every unit direction an ear test uses is that between two corners, and each
// is used many times, so they come from a table made once (n(n − 1)/2 normalisations instead of
// several for each corner scanned at each cut). The ring and, up to 16 corners, the table live
// on the stack: the faces of a mesh cost no allocation and no thread-local lookup.

#include "EarTest.h"
#include "PolygonTriangulation.h"

#include <QtAlgorithms>

#include <cstdint>
#include <vector>

namespace Vardune::Qel {

namespace {

using CornerSet = uint64_t;
static_assert(
    kSmallPolygonCorners <= 64, "a small polygon's corners, fewer than kSmallPolygonCorners, are bits of one word");

constexpr int kStackTableCorners = 16;

CornerSet cornerBit(int k)
{
    return CornerSet(1) << k;
}

int lowestCorner(CornerSet corners)
{
    return int(qCountTrailingZeroBits(quint64(corners)));
}

// The unit directions of a polygon's own table (PolygonDirections).
class OwnDirections
{
public:
    OwnDirections(int count, const Vector2f *table)
        : _count(count)
        , _table(table)
    { }

    Vector2f operator()(int a, int b) const { return _table[a * _count + b]; }

private:
    int _count;
    const Vector2f *_table;
};

// The unit directions of one lane of the lanes' table (LaneDirections).
class LaneDirectionsOf
{
public:
    explicit LaneDirectionsOf(const LaneDirections &table)
        : _x(table.x)
        , _lanes(table.lanes)
        , _pairStride(2 * table.lanes)
    { }

    Vector2f operator()(int a, int b) const
    {
        const float *x = _x + (a * kBatchedPolygonCorners + b) * _pairStride;
        return { x[0], x[_lanes] };
    }

private:
    const float *_x;
    int _lanes;
    int _pairStride; // x and y of every lane
};

// The ring of a polygon below kSmallPolygonCorners corners, its unit directions from
// `Directions` (unit(a, b) = normalized(points[a] − points[b])).
template<typename Directions>
class SmallRing
{
public:
    // The ring's first ear tests made here.
    SmallRing(int count, const Vector2f *points, bool reversed, const Directions &directions)
        : SmallRing(count, points, reversed, directions, 0)
    {
        for (int k = 0; k < count; ++k)
            update(k);
    }

    // The ring's first ear tests given.
    SmallRing(int count, const Vector2f *points, bool reversed, const Directions &directions, const FirstEars &first)
        : SmallRing(count, points, reversed, directions, first.ears)
    {
        std::copy(first.cosAngle, first.cosAngle + count, _cosAngle);
    }

    // The first ear in corner order, replaced only by a strictly sharper one; -1 when none.
    int sharpestEar() const
    {
        if (_ears == 0)
            return -1;
        int chosen = lowestCorner(_ears);
        float sharpest = _cosAngle[chosen];
        for (CornerSet others = _ears & (_ears - 1); others != 0; others &= others - 1) {
            const int k = lowestCorner(others);
            if (_cosAngle[k] > sharpest) {
                chosen = k;
                sharpest = _cosAngle[k];
            }
        }
        return chosen;
    }

    int next(int k) const { return _next[k]; }
    int prev(int k) const { return _prev[k]; }
    int lowestActive() const { return lowestCorner(_active); }

    // Takes the ear out of the ring and tests its neighbours again.
    void cut(int ear)
    {
        unlink(ear);
        update(_prev[ear]);
        update(_next[ear]);
    }

    // Takes the ear out of the ring without testing its neighbours: for the cut that leaves the
    // last three corners, which form the last triangle whatever their ear tests say.
    void unlink(int ear)
    {
        const int prev = _prev[ear];
        const int next = _next[ear];
        _next[prev] = next;
        _prev[next] = prev;
        _active &= ~cornerBit(ear);
        _ears &= ~cornerBit(ear);
    }

private:
    SmallRing(int count, const Vector2f *points, bool reversed, const Directions &directions, CornerSet ears)
        : _points(points)
        , _directions(directions)
        , _active(cornerBit(count) - 1)
        , _ears(ears)
    {
        for (int k = 0; k < count; ++k) {
            const RingNeighbours neighbours = ringNeighbours(k, count, reversed);
            _next[k] = neighbours.next;
            _prev[k] = neighbours.prev;
        }
    }

    void update(int i)
    {
        const Directions &unitDifference = _directions;
        const auto anyBlocks = [&](const EarTriangle &ear) {
            const CornerSet triangle
                = cornerBit(ear.corners[0]) | cornerBit(ear.corners[1]) | cornerBit(ear.corners[2]);
            for (CornerSet others = _active & ~triangle; others != 0; others &= others - 1) {
                if (ear.blocks(lowestCorner(others), _points, unitDifference))
                    return true;
            }
            return false;
        };
        const EarMeasure measure = measureEar(i, _next[i], _prev[i], _points, unitDifference, anyBlocks);
        _cosAngle[i] = measure.cosAngle;
        _ears = measure.isEar ? _ears | cornerBit(i) : _ears & ~cornerBit(i);
    }

    const Vector2f *_points;
    Directions _directions;
    CornerSet _active;
    CornerSet _ears; // active corners only
    int _next[kSmallPolygonCorners];
    int _prev[kSmallPolygonCorners];
    float _cosAngle[kSmallPolygonCorners];
};

// Cuts the ring's sharpest ear while more than three corners remain.
template<typename Directions>
int clipRing(SmallRing<Directions> &ring, int count, int *corners)
{
    int written = 0;
    for (int remaining = count; remaining > 3; --remaining) {
        const int ear = ring.sharpestEar();
        if (ear < 0)
            return 0;
        written = writeTriangle(corners, written, ring.prev(ear), ear, ring.next(ear));
        if (remaining > 4)
            ring.cut(ear);
        else
            ring.unlink(ear);
    }
    // The last three corners form the last triangle whatever their shape.
    const int last = ring.lowestActive();
    return writeTriangle(corners, written, ring.prev(last), last, ring.next(last));
}

} // namespace

// Half the table is computed and the other half negated: swapping the points negates the
// difference, and its length is the same. A negated entry can differ from a fresh computation
// only in the sign of a zero or of a NaN, which the ear tests, made of products, sums and
// comparisons, cannot see. The diagonal is never read: no test pairs a corner with itself.
void PolygonDirections(int count, const Vector2f *points, Vector2f *directions)
{
    for (int a = 0; a < count; ++a) {
        for (int b = a + 1; b < count; ++b) {
            const Vector2f d = normalized(difference(points[a], points[b]));
            directions[a * count + b] = d;
            directions[b * count + a] = { -d.x, -d.y };
        }
    }
}

int ClipSmallPolygon(int count, const Vector2f *points, bool reversed, int *corners)
{
    Vector2f stackTable[kStackTableCorners * kStackTableCorners];
    Vector2f *directions = stackTable;
    if (count > kStackTableCorners) {
        thread_local std::vector<Vector2f> tableBuffer;
        tableBuffer.resize(size_t(count) * size_t(count));
        directions = tableBuffer.data();
    }
    PolygonDirections(count, points, directions);
    SmallRing<OwnDirections> ring(count, points, reversed, OwnDirections(count, directions));
    return clipRing(ring, count, corners);
}

int ClipSmallPolygon(int count, const Vector2f *points, bool reversed, const LaneDirections &directions,
    const FirstEars &first, int *corners)
{
    SmallRing<LaneDirectionsOf> ring(count, points, reversed, LaneDirectionsOf(directions), first);
    return clipRing(ring, count, corners);
}

} // namespace Vardune::Qel
