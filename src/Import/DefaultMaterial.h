#pragma once

#include "qelmodel_export.h"

#include <QelGL/InstanceData.h>

namespace Vardune::Qel {

// The material of imported faces that name no known material: an "OBJMaterial" instance
// data with "Ka" (0, 0, 0), "Kd" (0.7, 0.7, 0.7), "Ks" (1, 1, 1), "Ns" 10 and "d" 1, and one
// white texture, shared by the process, as both "map_Kd" and "map_Ks". The texture is null
// when no OpenGL context is current. The plan itself is not registered here.
QELMODEL_EXPORT InstanceData makeDefaultMaterial();

} // namespace Vardune::Qel
