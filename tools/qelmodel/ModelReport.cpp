#include "ModelReport.h"

#include "GroupMaterial.h"

#include <QOpenGLContext>

#include <algorithm>

using namespace Vardune::Qel;

namespace {

qint64 indexSize(unsigned int indexType)
{
    switch (indexType) {
    case GL_UNSIGNED_BYTE:
        return 1;
    case GL_UNSIGNED_SHORT:
        return 2;
    default:
        return 4;
    }
}

QList<ModelReport::Attribute> attributesOf(const DrawBuffers &buffers)
{
    QList<ModelReport::Attribute> attributes;
    for (const VertexArrayObject::Attribute &attribute : buffers.VAO()->attributes())
        attributes.append({ attribute.name, attribute.components, attribute.type });
    std::sort(attributes.begin(), attributes.end(),
        [](const ModelReport::Attribute &a, const ModelReport::Attribute &b) { return a.name < b.name; });
    return attributes;
}

// Adds the draw's groups and returns the number of indices its commands draw.
qint64 addGroups(const GPUModel::Draw &draw, int drawIndex, QList<ModelReport::Group> &groups)
{
    qint64 drawnIndices = 0;
    const QList<DrawElementsIndirectCommand> commands = draw.buffers->drawElementsIndirectCommands();
    for (int i = 0; i < commands.size(); ++i) {
        const InstanceData material = GroupMaterial::materialOf(draw, i);
        groups.append({ draw.materialNames.value(i), drawIndex, commands.at(i).firstIndex, commands.at(i).count,
            draw.objectNames.value(i), GroupMaterial::diffuseColour(material),
            GroupMaterial::diffuseMapLabel(material) });
        drawnIndices += commands.at(i).count;
    }
    return drawnIndices;
}

void readModel(const GPUModel &model, ModelReport &report)
{
    report.draws = model.drawCount();
    report.bounds = uploadedPositionBounds(model);
    report.vertices = report.bounds.vertexCount;
    if (model.isEmpty())
        return;
    const DrawBuffers &first = *model.draw(0).buffers;
    report.indexType = first.indexType();
    report.indices = first.indexBuffer() ? first.indexBuffer()->readBack().size() / indexSize(report.indexType) : 0;
    report.attributes = attributesOf(first);
    qint64 drawnIndices = 0;
    for (int d = 0; d < model.drawCount(); ++d)
        drawnIndices += addGroups(model.draw(d), d, report.groups);
    report.triangles = drawnIndices / 3;
    std::stable_sort(report.groups.begin(), report.groups.end(),
        [](const ModelReport::Group &a, const ModelReport::Group &b) { return a.name < b.name; });
}

} // namespace

ModelReport gatherModelReport(const QString &file, const LoadedModel &loaded)
{
    ModelReport report;
    report.file = file;
    report.ok = loaded.model != nullptr;
    report.error = loaded.error;
    report.bytes = loaded.bytes;
    report.loadMilliseconds = loaded.milliseconds;
    report.warnings = loaded.warnings;
    if (loaded.model)
        readModel(*loaded.model, report);
    return report;
}
