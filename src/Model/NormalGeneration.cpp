// Vertex normals from triangles: one pass to clear, one over the triangles, one to normalise.
// Where SSE2 is there, the triangles' own normals and the final normalisations are computed four
// at a time, eight with AVX (NormalLanes.h: bit for bit the one-vector code); the sums still add
// the triangles' normals one after another in triangle order, since the order of float additions
// shows in the result.

#include "NormalGeneration.h"

#include "GLTypes.h"
#include "ModelBuilder.h"
#include "NormalLanes.h"
#include "VectorNormalization.h"
#include "WideLanes.h"

#include <cstring>

namespace Vardune::Qel {

namespace {

Vector3f triangleNormal(const float *positions, const unsigned int *triangle)
{
    const float *p0 = positions + 3 * size_t(triangle[0]);
    const float *p1 = positions + 3 * size_t(triangle[1]);
    const float *p2 = positions + 3 * size_t(triangle[2]);
    const Vector3f u = normalized(Vector3f { p2[0] - p0[0], p2[1] - p0[1], p2[2] - p0[2] });
    const Vector3f v = normalized(Vector3f { p1[0] - p0[0], p1[1] - p0[1], p1[2] - p0[2] });
    return { u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x };
}

// The triangles from `first` on whose normals go in several at a time; returns where the rest
// start.
int addTriangleGroups(int first, int indexCount, const float *positions, const unsigned int *indices, float *normals)
{
#if defined(QEL_HAS_WIDE_LANES)
    if (WideLanesAvailable())
        first = AddTriangleNormalsWide(first, indexCount, positions, indices, normals);
#endif
#if defined(QEL_HAS_VECTOR_LANES)
    first = NormalLanes::addTriangleGroups<4>(first, indexCount, positions, indices, normals);
#else
    (void)indexCount, (void)positions, (void)indices, (void)normals;
#endif
    return first;
}

// The vertices from `first` on normalised several at a time; returns where the rest start.
int normalizeGroups(int first, int vertexCount, float *normals)
{
#if defined(QEL_HAS_WIDE_LANES)
    if (WideLanesAvailable())
        first = NormalizeNormalsWide(first, vertexCount, normals);
#endif
#if defined(QEL_HAS_VECTOR_LANES)
    first = NormalLanes::normalizeGroups<4>(first, vertexCount, normals);
#else
    (void)vertexCount, (void)normals;
#endif
    return first;
}

} // namespace

void GenerateNormals(int vertexCount, int indexCount, const float *positions, const unsigned int *indices,
                     float *normals)
{
    if (vertexCount > 0)
        std::memset(normals, 0, sizeof(float) * 3 * static_cast<size_t>(vertexCount));

    for (int t = addTriangleGroups(0, indexCount, positions, indices, normals); 3 * t < indexCount; ++t)
        NormalLanes::addToCorners(normals, indices + 3 * size_t(t), triangleNormal(positions, indices + 3 * size_t(t)));

    for (int i = normalizeGroups(0, vertexCount, normals); i < vertexCount; ++i) {
        Vector3f normal { normals[3 * i], normals[3 * i + 1], normals[3 * i + 2] };
        normalize(normal);
        normals[3 * i] = normal.x;
        normals[3 * i + 1] = normal.y;
        normals[3 * i + 2] = normal.z;
    }
}

void ModelBuilder::installGeneratedNormals(const VertexAttribute &positionAttribute)
{
    // Copied before the lookup below, which may insert and so move the hash's records; the
    // copies also keep reading the positions when the normals take the positions' name.
    const QSharedPointer<ModelDataStream> positions = positionAttribute.gpuValues;
    const QSharedPointer<ModelDataStream> cornerVertices = positionAttribute.gpuIndices;
    const auto vertexCount
        = static_cast<int>(positions->size() / static_cast<size_t>(positionAttribute.componentsPerVertex));

    VertexAttribute &normals = _vertexAttributes[_normalsAttributeName];
    normals.gpuValues = newStreamToOverwrite(GLType::Float, static_cast<uint32_t>(3 * vertexCount));
    normals.gpuIndices = cornerVertices;
    normals.componentsPerVertex = 3;
    GenerateNormals(vertexCount, static_cast<int>(_triangleIndices->size()),
                    static_cast<const float *>(positions->data(0)),
                    static_cast<const unsigned int *>(_triangleIndices->data(0)),
                    static_cast<float *>(normals.gpuValues->data(0)));
}

} // namespace Vardune::Qel
