#pragma once

#include <QelGL/BufferObject.h>
#include <QelGL/VertexArrayObject.h>

#include <QPointer>
#include <QSharedPointer>

class QOpenGLContext;

namespace Vardune::Qel {

// The OpenGL context current on the calling thread, as the maker of GPU objects.
class QELGL_EXPORT OpenGLDeviceContext
{
public:
    explicit OpenGLDeviceContext(QOpenGLContext *context);
    virtual ~OpenGLDeviceContext();

    OpenGLDeviceContext(const OpenGLDeviceContext &) = delete;
    OpenGLDeviceContext &operator=(const OpenGLDeviceContext &) = delete;

    // The context current on this thread, or null when no OpenGL context is current.
    static QSharedPointer<OpenGLDeviceContext> current();

    QOpenGLContext *context() const;
    // Whether buffers of this context draw from the application's memory where they can
    // (BufferObject::uploadSharedData) instead of a copy of their own: only on a software renderer.
    bool drawsFromHostMemory() const;

    virtual QSharedPointer<BufferObject> createBufferObject();
    virtual QSharedPointer<VertexArrayObject> createVertexArrayObject();

private:
    QPointer<QOpenGLContext> _context;
};

} // namespace Vardune::Qel
