// A list of faces triangulated one after another, as one TriangulatePolygon3D call per face would.
//
// Triangles and quadrilaterals, nearly every face of a mesh, are cut by fixed patterns once their
// winding is known, and polygons of up to kBatchedPolygonCorners corners need the same steps
// before their ear clipping; the steps run four faces of one count at a time, eight where the
// processor has AVX (TriangulationWide.cpp). So the faces are taken in chunks: first the
// windings of the chunk's triangles and quadrilaterals (SmallFacesRunClockwise) and the cuts of
// its small polygons (CutSmallPolygons), then every face's triangles in face order, the larger
// polygons cut there by the one-face code.

#include "PolygonTriangulation.h"

#include <algorithm>
#include <cstdint>

namespace Vardune::Qel {

namespace {

constexpr size_t kChunkFaces = 256;

#if defined(QEL_HAS_WIDE_LANES)
constexpr int kMostLanes = kWideLanes;
#else
constexpr int kMostLanes = kWindingLanes;
#endif

// CutSmallPolygons, or its wide form for a batch of that many lanes.
void cutBatch(
    int count, int lanes, const int *const *faces, int faceCount, const float *positions, PolygonCut *const *cuts)
{
#if defined(QEL_HAS_WIDE_LANES)
    if (lanes == kWideLanes)
        return CutSmallPolygonsWide(count, faces, faceCount, positions, cuts);
#endif
    (void)lanes;
    CutSmallPolygons(count, faces, faceCount, positions, cuts);
}

// SmallFacesRunClockwise, or its wide form for a batch of that many lanes.
int windingsOf(int count, int lanes, const int *const *faces, const float *positions)
{
#if defined(QEL_HAS_WIDE_LANES)
    if (lanes == kWideLanes)
        return SmallFacesRunClockwiseWide(count, faces, positions);
#endif
    (void)lanes;
    return SmallFacesRunClockwise(count, faces, positions);
}

// The faces of one chunk waiting for a lane-parallel step, by corner count: windings for
// triangles and quadrilaterals, whole cuts for the small polygons, `lanes` faces a step. A lane
// left over repeats the count's last face.
class ChunkBatches
{
public:
    ChunkBatches(const float *positions, uint8_t *clockwise, PolygonCut *cuts, int lanes)
        : _positions(positions)
        , _clockwise(clockwise)
        , _cuts(cuts)
        , _lanes(lanes)
    { }

    static bool takes(int count) { return count >= 3 && count <= kBatchedPolygonCorners; }

    // Face corners of the chunk's face `slot`, of a count that takes() accepts.
    void add(int count, const int *corners, size_t slot)
    {
        Pending &pending = _pending[count];
        pending.faces[pending.size] = corners;
        pending.chunkSlots[pending.size] = slot;
        if (++pending.size == _lanes)
            run(count);
    }

    void runAll()
    {
        for (int count = 3; count <= kBatchedPolygonCorners; ++count)
            run(count);
    }

private:
    struct Pending
    {
        const int *faces[kMostLanes] = {};
        size_t chunkSlots[kMostLanes] = {};
        int size = 0;
    };

    void run(int count)
    {
        Pending &pending = _pending[count];
        if (pending.size == 0)
            return;
        const int lanes = _lanes;
        for (int lane = pending.size; lane < lanes; ++lane)
            pending.faces[lane] = pending.faces[pending.size - 1];
        if (count <= 4) {
            const int clockwise = windingsOf(count, lanes, pending.faces, _positions);
            for (int lane = 0; lane < pending.size; ++lane)
                _clockwise[pending.chunkSlots[lane]] = uint8_t((clockwise >> lane) & 1);
        } else {
            PolygonCut *cuts[kMostLanes];
            for (int lane = 0; lane < lanes; ++lane)
                cuts[lane] = _cuts + pending.chunkSlots[lane < pending.size ? lane : 0];
            cutBatch(count, lanes, pending.faces, pending.size, _positions, cuts);
        }
        pending.size = 0;
    }

    const float *_positions;
    uint8_t *_clockwise;
    PolygonCut *_cuts;
    int _lanes;
    Pending _pending[kBatchedPolygonCorners + 1];
};

void writeVertexNumbers(const int *cornerNumbers, int cornerCount, const int *faceCorners, unsigned int *out)
{
    for (int k = 0; k < cornerCount; ++k)
        out[k] = static_cast<unsigned int>(faceCorners[cornerNumbers[k]]);
}

} // namespace

int MostFaceLanes()
{
#if defined(QEL_HAS_WIDE_LANES)
    if (WideLanesAvailable())
        return kWideLanes;
#endif
    return kWindingLanes;
}

size_t TriangulateFaces(size_t faceCount, const unsigned int *faces, const unsigned int *cornerCounts,
    const unsigned int *faceStarts, const int *corners, const float *positions, unsigned int *out)
{
    return TriangulateFaces(faceCount, faces, cornerCounts, faceStarts, corners, positions, out, MostFaceLanes());
}

size_t TriangulateFaces(size_t faceCount, const unsigned int *faces, const unsigned int *cornerCounts,
    const unsigned int *faceStarts, const int *corners, const float *positions, unsigned int *out, int lanes)
{
    size_t written = 0;
    uint8_t clockwise[kChunkFaces];
    PolygonCut cuts[kChunkFaces];
    for (size_t first = 0; first < faceCount; first += kChunkFaces) {
        const size_t chunk = std::min(kChunkFaces, faceCount - first);
        const unsigned int *chunkFaces = faces + first;

        ChunkBatches batches(positions, clockwise, cuts, lanes);
        for (size_t j = 0; j < chunk; ++j) {
            const unsigned int face = chunkFaces[j];
            const int count = static_cast<int>(cornerCounts[face]);
            if (ChunkBatches::takes(count))
                batches.add(count, corners + faceStarts[face], j);
        }
        batches.runAll();

        for (size_t j = 0; j < chunk; ++j) {
            const unsigned int face = chunkFaces[j];
            const int count = static_cast<int>(cornerCounts[face]);
            const int *faceCorners = corners + faceStarts[face];
            if (count == 3 || count == 4) {
                // The fixed patterns read no points and give at most two triangles.
                int cornerNumbers[3 * 2];
                const int cornerCount = TriangulatePolygon2D(count, nullptr, clockwise[j] != 0, cornerNumbers);
                writeVertexNumbers(cornerNumbers, cornerCount, faceCorners, out + written);
                written += size_t(cornerCount);
            } else if (ChunkBatches::takes(count)) {
                if (cuts[j].written == 0)
                    WarnNoEarLeft();
                writeVertexNumbers(cuts[j].corners, cuts[j].written, faceCorners, out + written);
                written += size_t(cuts[j].written);
            } else {
                written += size_t(TriangulatePolygon3D(count, faceCorners, positions, out + written));
            }
        }
    }
    return written;
}

} // namespace Vardune::Qel
