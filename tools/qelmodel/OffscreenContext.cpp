#include "OffscreenContext.h"

#include <QelGL/GLDriverPin.h>

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
    if (_valid)
        Vardune::Qel::keepGLDriverLoaded();
}
