#include "Texture.h"

#include "GLFunctions.h"

namespace Vardune::Qel {

Texture::Texture(unsigned int target, int internalFormat, int width, int height, int depth, QObject *parent)
    : QObject(parent)
    , _context(QOpenGLContext::currentContext())
    , _target(target)
    , _internalFormat(internalFormat)
    , _width(width)
    , _height(height)
    , _depth(depth)
{
    if (QOpenGLExtraFunctions *gl = currentGLFunctions())
        gl->glGenTextures(1, &_id);
}

Texture::~Texture()
{
    if (_id != 0 && canDeleteObjectsOf(_context))
        currentGLFunctions()->glDeleteTextures(1, &_id);
}

void Texture::bind()
{
    if (QOpenGLExtraFunctions *gl = currentGLFunctions())
        gl->glBindTexture(_target, _id);
}

void Texture::unbind()
{
    if (QOpenGLExtraFunctions *gl = currentGLFunctions())
        gl->glBindTexture(_target, 0);
}

void Texture::setReadOnly()
{
    _readOnly = true;
}

} // namespace Vardune::Qel
