#pragma once

#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>

namespace Vardune::Qel {

// OpenGL entry points of the context current on this thread, or null when there is none.
QOpenGLExtraFunctions *currentGLFunctions();

// Tells whether an object made in `owner` may be deleted in the context current now.
bool canDeleteObjectsOf(QOpenGLContext *owner);

// Whether `context` draws from host memory and can take the application's memory as a buffer's
// store (GL_AMD_pinned_memory): only a software renderer, for which a copy of a buffer's data
// buys nothing. A hardware driver would leave such a store in system memory, read across the
// bus at every draw, so buffers there keep their copies in the driver.
bool drawsFromHostMemory(QOpenGLContext *context);

// Discards pending OpenGL errors so that the next glGetError() speaks of the calls that follow.
void clearGLErrors(QOpenGLExtraFunctions *gl);

} // namespace Vardune::Qel
