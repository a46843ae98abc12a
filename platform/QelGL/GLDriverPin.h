#pragma once

// For the programs of this project that run under a leak checker (the tool, the tests): Mesa's DRI
// driver keeps caches in its own globals and is unloaded when the display closes at exit, before
// the leak check runs, so that memory would seem leaked from code no longer mapped. Keeping the
// loaded driver until the process ends leaves it reachable and the leak check meaningful. Call it
// once a context is current. Not installed: no part of the library needs it.

#include <QByteArray>
#include <QList>

#ifdef __linux__
#include <dlfcn.h>
#include <link.h>
#endif

namespace Vardune::Qel {

inline void keepGLDriverLoaded()
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

} // namespace Vardune::Qel
