#pragma once

#include "qelmodel_export.h"

#include <QString>

namespace Vardune::Qel {

class GPUModel;

// Reads a Wavefront OBJ file and the MTL libraries it names and uploads the model into a new
// GPUModel, with static buffers and triangles, through the OpenGL context current on this
// thread. Faces without a known material use makeDefaultMaterial(); a file without normals
// gets generated ones; faces with an index that the file does not define are skipped with a
// warning.
//
// Returns the model, owned by the caller; it is empty when nothing could be uploaded (no
// faces, no positions, no current context). Returns null, with `error` set to
// "Failed to load OBJ file '<path>'" or "Failed to load MTL file '<absolute path>'", when the
// file or one of its libraries cannot be opened; `error` is untouched on success.
QELMODEL_EXPORT GPUModel *loadModelFromOBJFile(const QString &path, QString &error);

} // namespace Vardune::Qel
