#include "GLTestContext.h"

#include <QOpenGLVersionFunctionsFactory>
#include <QSurfaceFormat>

#include <dlfcn.h>
#include <link.h>

namespace {

// Mesa's DRI driver keeps memory it builds (for mipmap generation, among others) in its own
// globals, and it is unloaded when the display closes at exit, before the leak checker looks:
// that memory would then seem leaked, from code no longer mapped. Pinning the loaded driver
// keeps it reachable, so sanitizer builds report real leaks only.
void pinGLDriver()
{
    QList<QByteArray> drivers;
    dl_iterate_phdr(
        [](dl_phdr_info *info, size_t, void *found) {
            if (QByteArray(info->dlpi_name).endsWith("_dri.so"))
                static_cast<QList<QByteArray> *>(found)->append(info->dlpi_name);
            return 0;
        },
        &drivers);
    for (const QByteArray &driver : drivers)
        dlopen(driver.constData(), RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

} // namespace

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
    pinGLDriver();
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
