// Triangulate3D (all four overloads) and FindDegenerateTriangle on counts, indices and floats
// decoded from the input, with every index inside the decoded arrays (their contract). Beyond
// the sanitizers, three oracles: every call appends nothing or exactly 3 × (count − 2) vertex
// numbers of the polygon, the library's ear clipping agrees with the plain reference
// implementation corner for corner, and the polygon's corners cut into a list of faces of 3 to
// 10 corners triangulate as one call per face would, with four lanes and with the most the
// processor has.
//
// Input: flags byte, corner count, vertex count, then the polygon: with the "generated" flag a
// star of the given corners whose radii cycle through the bytes that follow (large polygons from
// few bytes), else three floats per vertex (raw bit patterns or small grid values); then the
// indices (or the identity), the normal and the start of the degenerate-triangle scan.

#include "FindDegenerateTriangle.h"
#include "FuzzSupport.h"
#include "PlainEarClipping.h"
#include "PolygonTriangulation.h"
#include "Triangulate3D.h"

#include <QList>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

using namespace Vardune::Qel;

namespace {

enum Flags : uint8_t {
    RawFloats = 0x01,
    Generated = 0x02,
    IdentityIndices = 0x04,
};

constexpr int kMaxCorners = 256;

void fail(const char *what, int count)
{
    std::fprintf(stderr, "%s (%d corners)\n", what, count);
    std::abort();
}

template<typename List>
void checkAppended(const List &out, qsizetype before, int count, const int *indices, unsigned int mask)
{
    const qsizetype appended = out.size() - before;
    if (appended != 0 && appended != 3 * qsizetype(count - 2))
        fail("wrong number of vertex numbers appended", count);
    for (qsizetype k = before; k < out.size(); ++k) {
        bool known = false;
        for (int c = 0; c < count && !known; ++c)
            known = (unsigned(indices[c]) & mask) == out[k];
        if (!known)
            fail("appended a vertex number that is not a corner", count);
    }
}

void compareWithReference(int count, const int *indices, const float *positions)
{
    std::vector<Vector2f> points(static_cast<size_t>(count));
    ProjectPolygonToPlane(ComputePolygonNormal(count, indices, positions), count, indices, positions, points.data());
    std::vector<int> fast(3 * size_t(count)), plain(3 * size_t(count));
    for (const bool reversed : { false, true }) {
        const int written = TriangulatePolygon2D(count, points.data(), reversed, fast.data());
        if (written != Plain::TriangulatePolygon2D(count, points.data(), reversed, plain.data()))
            fail("ear clipping differs from the reference in size", count);
        for (int k = 0; k < written; ++k) {
            if (fast[size_t(k)] != plain[size_t(k)])
                fail("ear clipping differs from the reference", count);
        }
    }
}

// The corners, taken in runs of 3 to 10 (the run lengths cycling through `lengths`), as a face
// list: TriangulateFaces must write what TriangulatePolygon3D writes face by face.
void compareFaceList(int count, const int *indices, const float *positions, const std::vector<uint8_t> &lengths)
{
    std::vector<unsigned int> faces, cornerCounts, faceStarts;
    for (int start = 0, run = 0; start + 3 <= count; ++run) {
        const int length = std::min(3 + lengths[size_t(run) % lengths.size()] % 8, count - start);
        faces.push_back(unsigned(faces.size()));
        cornerCounts.push_back(unsigned(length));
        faceStarts.push_back(unsigned(start));
        start += length;
    }
    std::vector<unsigned int> expected(3 * size_t(count));
    size_t expectedCount = 0;
    for (size_t f = 0; f < faces.size(); ++f) {
        expectedCount += size_t(TriangulatePolygon3D(
            int(cornerCounts[f]), indices + faceStarts[f], positions, expected.data() + expectedCount));
    }
    for (const int lanes : { kWindingLanes, MostFaceLanes() }) {
        std::vector<unsigned int> actual(3 * size_t(count));
        const size_t actualCount = TriangulateFaces(faces.size(), faces.data(), cornerCounts.data(), faceStarts.data(),
            indices, positions, actual.data(), lanes);
        if (actualCount != expectedCount
            || !std::equal(actual.begin(), actual.begin() + ptrdiff_t(actualCount), expected.begin()))
            fail("the face list differs from one call per face", count);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    FuzzSupport::initialize(argc, argv, false);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::ByteReader input(data, size);
    const uint8_t flags = input.byte();
    const int count = int(input.below(kMaxCorners + 1));
    const int vertexCount = 1 + int(input.below(kMaxCorners));

    std::vector<float> positions(3 * size_t(vertexCount));
    if (flags & Generated) {
        std::vector<float> radii(1 + input.below(16));
        for (float &radius : radii)
            radius = (flags & RawFloats) ? input.rawFloat() : 1.0f + input.gridFloat();
        for (int v = 0; v < vertexCount; ++v) {
            const double angle = 2 * M_PI * v / vertexCount;
            const float radius = radii[size_t(v) % radii.size()];
            positions[3 * size_t(v)] = radius * float(std::cos(angle));
            positions[3 * size_t(v) + 1] = radius * float(std::sin(angle));
            positions[3 * size_t(v) + 2] = 0.5f * positions[3 * size_t(v)];
        }
    } else {
        for (float &value : positions)
            value = (flags & RawFloats) ? input.rawFloat() : input.gridFloat();
    }
    std::vector<int> indices(size_t(count > 0 ? count : 1));
    for (int k = 0; k < count; ++k)
        indices[size_t(k)] = (flags & IdentityIndices) ? k % vertexCount : int(input.below(uint32_t(vertexCount)));
    const QVector3D normal(input.gridFloat(), input.gridFloat(), input.gridFloat());
    const int degenerateStart = int(input.below(uint32_t(count) + 4));

    QList<unsigned short> shortOut { 7 };
    QList<unsigned int> intOut { 7 };
    Triangulate3D(normal, count, indices.data(), positions.data(), shortOut);
    checkAppended(shortOut, 1, count, indices.data(), 0xffff);
    Triangulate3D(normal, count, indices.data(), positions.data(), intOut);
    checkAppended(intOut, 1, count, indices.data(), ~0u);
    const qsizetype shortBefore = shortOut.size();
    const qsizetype intBefore = intOut.size();
    Triangulate3D(count, indices.data(), positions.data(), shortOut);
    checkAppended(shortOut, shortBefore, count, indices.data(), 0xffff);
    Triangulate3D(count, indices.data(), positions.data(), intOut);
    checkAppended(intOut, intBefore, count, indices.data(), ~0u);
    if (count >= 3) {
        compareWithReference(count, indices.data(), positions.data());
        std::vector<uint8_t> lengths(1 + input.below(8));
        for (uint8_t &length : lengths)
            length = input.byte();
        compareFaceList(count, indices.data(), positions.data(), lengths);
    }

    // The same numbers as a triangle list over 2D points: every index names a point.
    const std::vector<unsigned int> triangleList(indices.begin(), indices.begin() + count);
    const int degenerate = FindDegenerateTriangle(count, triangleList.data(), positions.data(), degenerateStart);
    if (degenerate != -1
        && (degenerate < degenerateStart || degenerate + 3 > count || (degenerate - degenerateStart) % 3))
        fail("FindDegenerateTriangle returned an offset outside the scanned triangles", count);
    return 0;
}
