// Vertex normals from triangles: one pass to clear, one over the triangles, one to normalise.

#include "NormalGeneration.h"

#include "GLTypes.h"
#include "ModelBuilder.h"
#include "VectorNormalization.h"

#include <cstring>

namespace Vardune::Qel {

void GenerateNormals(int vertexCount, int indexCount, const float *positions, const unsigned int *indices,
                     float *normals)
{
    if (vertexCount > 0)
        std::memset(normals, 0, sizeof(float) * 3 * static_cast<size_t>(vertexCount));

    for (int t = 0; 3 * t < indexCount; ++t) {
        const unsigned int i0 = indices[3 * t];
        const unsigned int i1 = indices[3 * t + 1];
        const unsigned int i2 = indices[3 * t + 2];
        const Vector3f p0 { positions[3 * i0], positions[3 * i0 + 1], positions[3 * i0 + 2] };
        const Vector3f p1 { positions[3 * i1], positions[3 * i1 + 1], positions[3 * i1 + 2] };
        const Vector3f p2 { positions[3 * i2], positions[3 * i2 + 1], positions[3 * i2 + 2] };
        const Vector3f u = normalized(Vector3f { p2.x - p0.x, p2.y - p0.y, p2.z - p0.z });
        const Vector3f v = normalized(Vector3f { p1.x - p0.x, p1.y - p0.y, p1.z - p0.z });
        const Vector3f n { u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x };
        for (const unsigned int corner : { i0, i1, i2 }) {
            float *normal = normals + 3 * corner;
            normal[0] += n.x;
            normal[1] += n.y;
            normal[2] += n.z;
        }
    }

    for (int i = 0; i < vertexCount; ++i) {
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
