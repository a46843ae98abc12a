#include "PositionBounds.h"

#include "ObjModelNames.h"

#include <QOpenGLContext>

#include <algorithm>
#include <cstring>
#include <vector>

using namespace Vardune::Qel;

PositionBounds uploadedPositionBounds(const GPUModel &model)
{
    PositionBounds bounds;
    if (model.isEmpty())
        return bounds;
    const QList<VertexArrayObject::Attribute> attributes = model.draw(0).buffers->VAO()->attributes();
    for (const VertexArrayObject::Attribute &attribute : attributes) {
        if (attribute.name != Vardune::Qel::ObjModelNames::positions() || attribute.type != GL_FLOAT || attribute.components != 3
            || !attribute.buffer)
            continue;
        const QByteArray bytes = attribute.buffer->readBack();
        bounds.vertexCount = bytes.size() / qsizetype(3 * sizeof(float));
        if (bounds.vertexCount == 0)
            return bounds;
        std::vector<float> xyz(size_t(bounds.vertexCount) * 3);
        std::memcpy(xyz.data(), bytes.constData(), xyz.size() * sizeof(float));
        float low[3] = { xyz[0], xyz[1], xyz[2] };
        float high[3] = { xyz[0], xyz[1], xyz[2] };
        for (size_t i = 0; i < xyz.size(); i += 3) {
            for (size_t c = 0; c < 3; ++c) {
                low[c] = std::min(low[c], xyz[i + c]);
                high[c] = std::max(high[c], xyz[i + c]);
            }
        }
        bounds.min = QVector3D(low[0], low[1], low[2]);
        bounds.max = QVector3D(high[0], high[1], high[2]);
        return bounds;
    }
    return bounds;
}
