#include "GroupMaterial.h"

#include "LoadTexture.h"

#include <QelGL/InstanceDataCollection.h>
#include <QelGL/TextureManager.h>

#include <cstring>

using namespace Vardune::Qel;

namespace GroupMaterial {

namespace {

const QString kDiffuseColour = QStringLiteral("Kd");
const QString kDiffuseMap = QStringLiteral("map_Kd");

Texture *whiteTexture()
{
    return TextureManager::Instance().colorTexture(QColor(Qt::white));
}

} // namespace

InstanceData materialOf(const GPUModel::Draw &draw, int position)
{
    if (!draw.materials || position < 0 || position >= draw.materials->count())
        return InstanceData();
    return draw.materials->at(position);
}

std::optional<QVector3D> diffuseColour(const InstanceData &material)
{
    const QByteArray bytes = material.value(kDiffuseColour);
    float rgb[3];
    if (bytes.size() != sizeof rgb)
        return std::nullopt;
    std::memcpy(rgb, bytes.constData(), sizeof rgb);
    return QVector3D(rgb[0], rgb[1], rgb[2]);
}

QString diffuseMapLabel(const InstanceData &material)
{
    const QString path = material.texturePath(kDiffuseMap);
    if (!path.isEmpty())
        return path;
    Texture *texture = material.texture(kDiffuseMap);
    if (!texture)
        return QString();
    return texture == whiteTexture() ? QStringLiteral("<white>") : QStringLiteral("<texture>");
}

Texture *diffuseMapTexture(const InstanceData &material)
{
    const QString path = material.texturePath(kDiffuseMap);
    if (!path.isEmpty()) {
        if (Texture *texture = LoadTexture(path))
            return texture;
    }
    if (Texture *texture = material.texture(kDiffuseMap))
        return texture;
    return whiteTexture();
}

} // namespace GroupMaterial
