#include "OpenGLDeviceContext.h"

#include "GLFunctions.h"

#include <QOpenGLContext>

namespace Vardune::Qel {

OpenGLDeviceContext::OpenGLDeviceContext(QOpenGLContext *context)
    : _context(context)
{
}

OpenGLDeviceContext::~OpenGLDeviceContext() = default;

QSharedPointer<OpenGLDeviceContext> OpenGLDeviceContext::current()
{
    QOpenGLContext *context = QOpenGLContext::currentContext();
    if (!context)
        return {};
    return QSharedPointer<OpenGLDeviceContext>::create(context);
}

QOpenGLContext *OpenGLDeviceContext::context() const
{
    return _context;
}

bool OpenGLDeviceContext::drawsFromHostMemory() const
{
    return Vardune::Qel::drawsFromHostMemory(_context);
}

QSharedPointer<BufferObject> OpenGLDeviceContext::createBufferObject()
{
    return QSharedPointer<BufferObject>::create();
}

QSharedPointer<VertexArrayObject> OpenGLDeviceContext::createVertexArrayObject()
{
    return QSharedPointer<VertexArrayObject>::create();
}

} // namespace Vardune::Qel
