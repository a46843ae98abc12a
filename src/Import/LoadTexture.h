#pragma once

#include "qelmodel_export.h"

#include <QString>

namespace Vardune::Qel {

class Texture;

// Loads the image file at `path` (any format QImage reads) into a 2D RGBA texture with
// trilinear filtering, repeating wrap and mipmap levels 0 to 4; the picture's top-left pixel
// lies at texture coordinates (0, 1). Textures are cached by `path` exactly as given, without
// normalisation: every later call with the same string returns the same texture without
// touching the file, while another spelling of the same file makes another texture.
//
// The texture belongs to the library and lives for the rest of the process; do not delete it.
// It is made in the OpenGL context current on the calling thread and leaves GL_UNPACK_ALIGNMENT
// set to 1 there. Returns null, writes no message and caches nothing when `path` is not a
// regular file, when the file is not a decodable image, or when no OpenGL context is current;
// a later call tries again. Not thread-safe: call it on the thread whose context is current.
QELMODEL_EXPORT Texture *LoadTexture(const QString &path);

} // namespace Vardune::Qel
