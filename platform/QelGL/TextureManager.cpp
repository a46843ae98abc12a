#include "TextureManager.h"

#include "AutoBinder.h"
#include "GLFunctions.h"

namespace Vardune::Qel {

TextureManager &TextureManager::Instance()
{
    // Never destroyed: its textures live for the life of the process, and at exit no OpenGL
    // context is left to delete them in.
    static TextureManager *manager = new TextureManager;
    return *manager;
}

TextureManager::~TextureManager() = default;

Texture *TextureManager::colorTexture(const QColor &color)
{
    const QRgb rgba = color.rgba();
    if (Texture *texture = _colorTextures.value(rgba))
        return texture;
    QOpenGLExtraFunctions *gl = currentGLFunctions();
    if (!gl)
        return nullptr;

    auto *texture = new Texture(GL_TEXTURE_2D, GL_RGBA, 1, 1, 0);
    const unsigned char texel[4] = { static_cast<unsigned char>(qRed(rgba)), static_cast<unsigned char>(qGreen(rgba)),
                                     static_cast<unsigned char>(qBlue(rgba)), static_cast<unsigned char>(qAlpha(rgba)) };
    {
        AutoBinder binder(texture);
        gl->glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        gl->glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, texel);
    }
    texture->setReadOnly();
    _colorTextures.insert(rgba, texture);
    return texture;
}

} // namespace Vardune::Qel
