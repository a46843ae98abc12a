// A list of faces triangulated one after another, as one TriangulatePolygon3D call per face would.
//
// Triangles and quadrilaterals, nearly every face of a mesh, are cut by fixed patterns once their
// winding is known, so the faces are taken in chunks: first the windings of the chunk's triangles
// and of its quadrilaterals, four of a kind at a time (SmallFacesRunClockwise), then every face's
// triangles in face order, the larger polygons cut there by the one-face code.

#include "PolygonTriangulation.h"

#include <algorithm>
#include <cstdint>

namespace Vardune::Qel {

namespace {

constexpr size_t kChunkFaces = 256;

// Faces of one corner count waiting for their winding.
class WindingBatch
{
public:
    WindingBatch(int count, const float *positions, uint8_t *clockwise)
        : _count(count)
        , _positions(positions)
        , _clockwise(clockwise)
    { }

    // Face corners of the chunk's face `slot`; its winding lands in clockwise[slot].
    void add(const int *corners, size_t slot)
    {
        _faces[_size] = corners;
        _slots[_size] = slot;
        if (++_size == kWindingLanes)
            measure();
    }

    // Measures the faces added since the last measure; spare lanes repeat the last face.
    void measure()
    {
        if (_size == 0)
            return;
        for (int lane = _size; lane < kWindingLanes; ++lane)
            _faces[lane] = _faces[_size - 1];
        const int clockwise = SmallFacesRunClockwise(_count, _faces, _positions);
        for (int lane = 0; lane < _size; ++lane)
            _clockwise[_slots[lane]] = uint8_t((clockwise >> lane) & 1);
        _size = 0;
    }

private:
    int _count;
    const float *_positions;
    uint8_t *_clockwise;
    const int *_faces[kWindingLanes] = {};
    size_t _slots[kWindingLanes] = {};
    int _size = 0;
};

} // namespace

size_t TriangulateFaces(size_t faceCount, const unsigned int *faces, const unsigned int *cornerCounts,
    const unsigned int *faceStarts, const int *corners, const float *positions, unsigned int *out)
{
    size_t written = 0;
    uint8_t clockwise[kChunkFaces];
    for (size_t first = 0; first < faceCount; first += kChunkFaces) {
        const size_t chunk = std::min(kChunkFaces, faceCount - first);
        const unsigned int *chunkFaces = faces + first;

        WindingBatch triangles(3, positions, clockwise);
        WindingBatch quadrilaterals(4, positions, clockwise);
        for (size_t j = 0; j < chunk; ++j) {
            const unsigned int face = chunkFaces[j];
            if (cornerCounts[face] == 3)
                triangles.add(corners + faceStarts[face], j);
            else if (cornerCounts[face] == 4)
                quadrilaterals.add(corners + faceStarts[face], j);
        }
        triangles.measure();
        quadrilaterals.measure();

        for (size_t j = 0; j < chunk; ++j) {
            const unsigned int face = chunkFaces[j];
            const int count = static_cast<int>(cornerCounts[face]);
            const int *faceCorners = corners + faceStarts[face];
            if (count == 3 || count == 4) {
                // The fixed patterns read no points and give at most two triangles.
                int cornerNumbers[3 * 2];
                const int cornerCount = TriangulatePolygon2D(count, nullptr, clockwise[j] != 0, cornerNumbers);
                for (int k = 0; k < cornerCount; ++k)
                    out[written + size_t(k)] = static_cast<unsigned int>(faceCorners[cornerNumbers[k]]);
                written += size_t(cornerCount);
            } else {
                written += size_t(TriangulatePolygon3D(count, faceCorners, positions, out + written));
            }
        }
    }
    return written;
}

} // namespace Vardune::Qel
