#include "GLFunctions.h"

namespace Vardune::Qel {

QOpenGLExtraFunctions *currentGLFunctions()
{
    QOpenGLContext *context = QOpenGLContext::currentContext();
    return context ? context->extraFunctions() : nullptr;
}

bool canDeleteObjectsOf(QOpenGLContext *owner)
{
    QOpenGLContext *current = QOpenGLContext::currentContext();
    return owner && current && QOpenGLContext::areSharing(owner, current);
}

void clearGLErrors(QOpenGLExtraFunctions *gl)
{
    // A lost context reports GL_CONTEXT_LOST for ever; bound the loop.
    for (int i = 0; i < 64 && gl->glGetError() != GL_NO_ERROR; ++i) {
    }
}

} // namespace Vardune::Qel
