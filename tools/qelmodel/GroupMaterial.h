#pragma once

#include <QelGL/GPUModel.h>
#include <QelGL/InstanceData.h>

#include <QString>
#include <QVector3D>

#include <optional>

namespace Vardune::Qel {
class Texture;
}

// What the tool reads from the material of one material group: its "Kd" colour and its
// "map_Kd" texture.
namespace GroupMaterial {

// The material of command `position` of the draw; an empty InstanceData when the draw has no
// material collection or none at that position.
Vardune::Qel::InstanceData materialOf(const Vardune::Qel::GPUModel::Draw &draw, int position);

// "Kd" when the material holds three floats under it.
std::optional<QVector3D> diffuseColour(const Vardune::Qel::InstanceData &material);

// How "map_Kd" is given: the image path as the material holds it; "<white>" for the shared
// white colour texture (the default material's); "<texture>" for any other texture object; a
// null string when the material has none.
QString diffuseMapLabel(const Vardune::Qel::InstanceData &material);

// The texture to draw with: the image at the path (LoadTexture), the texture object, or the
// white colour texture when there is neither or the image does not load.
Vardune::Qel::Texture *diffuseMapTexture(const Vardune::Qel::InstanceData &material);

} // namespace GroupMaterial
