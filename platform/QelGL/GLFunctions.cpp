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

bool drawsFromHostMemory(QOpenGLContext *context)
{
    if (!context || !context->hasExtension(QByteArrayLiteral("GL_AMD_pinned_memory")))
        return false;
    const auto *renderer = reinterpret_cast<const char *>(context->functions()->glGetString(GL_RENDERER));
    const QByteArray name(renderer ? renderer : "");
    return name.startsWith("llvmpipe") || name.startsWith("softpipe");
}

void clearGLErrors(QOpenGLExtraFunctions *gl)
{
    // A lost context reports GL_CONTEXT_LOST for ever; bound the loop.
    for (int i = 0; i < 64 && gl->glGetError() != GL_NO_ERROR; ++i) {
    }
}

} // namespace Vardune::Qel
