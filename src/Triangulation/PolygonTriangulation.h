#pragma once

// Internal steps of Triangulate3D, shared by its overloads and reachable by the tests through the
// static library. Not installed.

#include "VectorNormalization.h"
#include "WideLanes.h"

#include <QVector3D>

#include <cstddef>
#include <cstdint>

namespace Vardune::Qel {

class CornerTree;

// One corner of the ring that ear clipping walks. `next` and `prev` are corner numbers in walking
// order, which runs counter-clockwise in the plane; `cross` and `cosAngle` compare the unit
// directions from this corner to `next` and to `prev`.
struct EarVertex
{
    int next;
    int prev;
    float cross;
    float cosAngle;
    bool active;
    bool isEar;
};

// The sum of the cross products of consecutive absolute corner positions, normalised in place: it
// points to the side from which the corners run counter-clockwise. Reads nothing when count <= 0.
QVector3D ComputePolygonNormal(int count, const int *indices, const float *positions);

// Writes count points (count >= 1) into `points`: the corners in a right-handed frame of the plane
// through corner 0, seen from the side into which `normal` points. Point 0 is exactly (0, 0).
void ProjectPolygonToPlane(
    const QVector3D &normal, int count, const int *indices, const float *positions, Vector2f *points);

// Cuts the polygon into triangles of corner numbers, written to `corners` (room for 3 × (count − 2)
// entries), and returns how many were written: 3 × (count − 2), or 0 after a warning when count < 3
// (nothing is read then) or when no ear is left. `reversed` says that the points run clockwise.
// Sharpest ear first, ties to the lowest corner number; O(n log n) for well-spread points.
int TriangulatePolygon2D(int count, const Vector2f *points, bool reversed, int *corners);

// Triangulate3D with the polygon's own normal, writing the vertex numbers to `out` (room for
// 3 × (count − 2) entries) instead of appending them to a list: for callers that size their
// output once. Returns how many were written, 0 after the same warning on failure.
int TriangulatePolygon3D(int count, const int *indices, const float *positions, unsigned int *out);

// Whether the points run clockwise: twice the signed area with the opposite sign is positive, or
// not a number.
bool PolygonRunsClockwise(int count, const Vector2f *points);

// Faces measured at once by SmallFacesRunClockwise.
constexpr int kWindingLanes = 4;

// Bit f is set when faces[f], a polygon of `count` corners (3 or 4), runs clockwise in its own
// plane: PolygonRunsClockwise of ProjectPolygonToPlane with ComputePolygonNormal, bit for bit,
// for four faces at once.
int SmallFacesRunClockwise(int count, const int *const faces[kWindingLanes], const float *positions);

// TriangulatePolygon3D of faces[0], faces[1], ... in turn, the triangles of each written after those
// of the one before: face j has cornerCounts[faces[j]] corners, listed from
// corners + faceStarts[faces[j]]. `out` has room for 3 × (n − 2) entries per face of n >= 3
// corners; returns how many were written.
size_t TriangulateFaces(size_t faceCount, const unsigned int *faces, const unsigned int *cornerCounts,
    const unsigned int *faceStarts, const int *corners, const float *positions, unsigned int *out);

// TriangulateFaces with the small faces measured and cut `lanes` at a time: kWindingLanes, or
// kWideLanes where WideLanesAvailable(). The same output either way.
size_t TriangulateFaces(size_t faceCount, const unsigned int *faces, const unsigned int *cornerCounts,
    const unsigned int *faceStarts, const int *corners, const float *positions, unsigned int *out, int lanes);

// The most small faces this processor measures and cuts at a time: kWideLanes where
// WideLanesAvailable(), else kWindingLanes.
int MostFaceLanes();

// Writes the triangle a, b, c at corners[written]; returns the new count written.
inline int writeTriangle(int *corners, int written, int a, int b, int c)
{
    corners[written] = a;
    corners[written + 1] = b;
    corners[written + 2] = c;
    return written + 3;
}

// The corners after and before corner k in walking order, which runs counter-clockwise in the
// plane: walking a clockwise polygon backwards makes the ring counter-clockwise.
struct RingNeighbours
{
    int next;
    int prev;
};

inline RingNeighbours ringNeighbours(int k, int count, bool reversed)
{
    const int following = k + 1 == count ? 0 : k + 1;
    const int preceding = k == 0 ? count - 1 : k - 1;
    return reversed ? RingNeighbours { preceding, following } : RingNeighbours { following, preceding };
}

// Polygons below this many corners are clipped by ClipSmallPolygon, larger ones with a priority
// queue and a k-d tree: below it, scanning every corner, both to choose the ear and to test it,
// is faster than keeping the queue and the tree.
constexpr int kSmallPolygonCorners = 64;

// Fills the count × count table directions[a * count + b] = normalized(points[a] − points[b]) for
// a != b; the diagonal is left as it is.
void PolygonDirections(int count, const Vector2f *points, Vector2f *directions);

// The ear clipping of TriangulatePolygon2D for 5 <= count < kSmallPolygonCorners, without its
// warning: returns 3 × (count − 2), or 0 when no ear is left.
int ClipSmallPolygon(int count, const Vector2f *points, bool reversed, int *corners);

// The warning of TriangulatePolygon2D for a polygon of 5 or more corners that has no ear left.
void WarnNoEarLeft();

// Polygons of 5 up to this many corners are cut several of a count at a time by CutSmallPolygons.
constexpr int kBatchedPolygonCorners = 8;

// The ear test of every corner of such a polygon's first ring: cosAngle[k] the cosine of the
// angle at corner k, bit k of `ears` set when corner k is an ear.
struct FirstEars
{
    float cosAngle[kBatchedPolygonCorners];
    uint64_t ears;
};

// One polygon's unit directions in a table of `lanes` polygons', the lanes of CutSmallPolygons:
// for corners a != b, normalized(points[a] − points[b]) has x at x[2 p lanes] and y `lanes`
// floats after it, p = a * kBatchedPolygonCorners + b.
struct LaneDirections
{
    const float *x;
    int lanes;
};

// ClipSmallPolygon with the polygon's unit directions and its first ear tests made by the caller.
int ClipSmallPolygon(int count, const Vector2f *points, bool reversed, const LaneDirections &directions,
    const FirstEars &first, int *corners);

// The triangles of one polygon as corner numbers: `written` entries of `corners`, 0 when no ear
// was left (the warning is the caller's to give, in face order).
struct PolygonCut
{
    int written;
    int corners[3 * (kBatchedPolygonCorners - 2)];
};

// Projection, winding and ClipSmallPolygon of faces[0] to faces[faceCount − 1] (faceCount <= 4),
// each a polygon of `count` corners (5 <= count <= kBatchedPolygonCorners) listed by vertex
// number, into cuts[f]: TriangulatePolygon3D's corner numbers, bit for bit. Lanes from faceCount
// on must still point at a face of `count` corners (a repeated one); they are not cut.
void CutSmallPolygons(int count, const int *const faces[kWindingLanes], int faceCount, const float *positions,
    PolygonCut *const cuts[kWindingLanes]);

#if defined(QEL_HAS_WIDE_LANES)
// CutSmallPolygons for up to kWideLanes faces at once; only where WideLanesAvailable().
void CutSmallPolygonsWide(int count, const int *const faces[kWideLanes], int faceCount, const float *positions,
    PolygonCut *const cuts[kWideLanes]);

// SmallFacesRunClockwise for kWideLanes faces at once; only where WideLanesAvailable().
int SmallFacesRunClockwiseWide(int count, const int *const faces[kWideLanes], const float *positions);
#endif

// Recomputes `cross`, `cosAngle` and `isEar` of ring[i] from its present neighbours. The blocking
// test looks at every active corner when `tree` is null, else (built over the same points, cut
// corners removed) only at those it finds near the ear, with the same result.
void UpdateEarState(int i, int count, const Vector2f *points, EarVertex *ring, const CornerTree *tree);

} // namespace Vardune::Qel
