#include "GLTestContext.h"

#include <QelGL/GLDriverPin.h>

#include <QOpenGLVersionFunctionsFactory>
#include <QSurfaceFormat>

GLTestContext::GLTestContext()
{
    QSurfaceFormat format;
    format.setVersion(4, 5);
    format.setProfile(QSurfaceFormat::CoreProfile);
    _surface.setFormat(format);
    _surface.create();
    _context.setFormat(format);
    if (!_context.create() || !_context.makeCurrent(&_surface))
        return;
    _functions = QOpenGLVersionFunctionsFactory::get<QOpenGLFunctions_4_5_Core>(&_context);
    _valid = _functions != nullptr;
    Vardune::Qel::keepGLDriverLoaded(); // so that leak checks see only real leaks
}

GLTestContext::~GLTestContext()
{
    if (_context.isValid())
        _context.doneCurrent();
}

void GLTestContext::makeCurrent()
{
    _context.makeCurrent(&_surface);
}

void GLTestContext::doneCurrent()
{
    _context.doneCurrent();
}
