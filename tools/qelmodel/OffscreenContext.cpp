#include "OffscreenContext.h"

#include <QOpenGLFunctions>
#include <QSurfaceFormat>

OffscreenContext::OffscreenContext()
{
    QSurfaceFormat format;
    format.setVersion(4, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    _surface.setFormat(format);
    _surface.create();
    _context.setFormat(format);
    _valid = _context.create() && _context.makeCurrent(&_surface);
}

QString OffscreenContext::description() const
{
    if (!_valid)
        return QStringLiteral("no OpenGL context");
    QOpenGLFunctions *gl = _context.functions();
    return QStringLiteral("%1, OpenGL %2")
        .arg(QString::fromLatin1(reinterpret_cast<const char *>(gl->glGetString(GL_RENDERER))),
            QString::fromLatin1(reinterpret_cast<const char *>(gl->glGetString(GL_VERSION))));
}
