#include "DefaultMaterial.h"

#include <QelGL/TextureManager.h>

namespace Vardune::Qel {

InstanceData makeDefaultMaterial()
{
    InstanceData material(QStringLiteral("OBJMaterial"));
    const float ambient[3] = { 0.0f, 0.0f, 0.0f };
    const float diffuse[3] = { 0.7f, 0.7f, 0.7f };
    const float specular[3] = { 1.0f, 1.0f, 1.0f };
    const float shininess = 10.0f;
    const float opaque = 1.0f;
    material.set(QStringLiteral("Ka"), ambient, sizeof ambient);
    material.set(QStringLiteral("Kd"), diffuse, sizeof diffuse);
    material.set(QStringLiteral("Ks"), specular, sizeof specular);
    material.set(QStringLiteral("Ns"), &shininess, sizeof shininess);
    material.set(QStringLiteral("d"), &opaque, sizeof opaque);

    Texture *white = TextureManager::Instance().colorTexture(QColor(Qt::white));
    material.setTexture(QStringLiteral("map_Kd"), white);
    material.setTexture(QStringLiteral("map_Ks"), white);
    return material;
}

} // namespace Vardune::Qel
