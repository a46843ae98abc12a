#pragma once

#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>

namespace Vardune::Qel {

// OpenGL entry points of the context current on this thread, or null when there is none.
QOpenGLExtraFunctions *currentGLFunctions();

// Tells whether an object made in `owner` may be deleted in the context current now.
bool canDeleteObjectsOf(QOpenGLContext *owner);

// Discards pending OpenGL errors so that the next glGetError() speaks of the calls that follow.
void clearGLErrors(QOpenGLExtraFunctions *gl);

} // namespace Vardune::Qel
