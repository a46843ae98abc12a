#pragma once

#include <QelGL/Texture.h>

#include <QColor>
#include <QHash>

namespace Vardune::Qel {

// Process-wide source of shared textures.
class QELGL_EXPORT TextureManager
{
public:
    static TextureManager &Instance();

    TextureManager(const TextureManager &) = delete;
    TextureManager &operator=(const TextureManager &) = delete;

    // A one-texel GL_RGBA texture of the colour, made once per colour in the current context
    // and kept for the life of the process; null when no OpenGL context is current. The
    // caller does not own it.
    virtual Texture *colorTexture(const QColor &color);

protected:
    TextureManager() = default;
    virtual ~TextureManager();

private:
    QHash<QRgb, Texture *> _colorTextures;
};

} // namespace Vardune::Qel
