#include "OffscreenContext.h"

#include <QByteArray>
#include <QList>
#include <QSurfaceFormat>

#ifdef __linux__
#include <dlfcn.h>
#include <link.h>
#endif

namespace {

// Mesa's DRI driver keeps caches in its own globals and is unloaded when the display closes at
// exit, before a sanitizer's leak check runs, so that memory would seem leaked. Keeping the
// driver loaded until the process ends leaves it reachable and the leak check meaningful.
void keepGLDriverLoaded()
{
#ifdef __linux__
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
#endif
}

} // namespace

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
        keepGLDriverLoaded();
}
