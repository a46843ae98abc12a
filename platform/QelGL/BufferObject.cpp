#include "BufferObject.h"

#include "GLFunctions.h"

#include <climits>
#include <limits>
#include <utility>

// GL_AMD_pinned_memory's target: a store made on it is the application's memory itself.
#ifndef GL_EXTERNAL_VIRTUAL_MEMORY_BUFFER_AMD
#define GL_EXTERNAL_VIRTUAL_MEMORY_BUFFER_AMD 0x9160
#endif

namespace Vardune::Qel {

namespace {

// The bytes of `count` elements; -1 for a negative count or a size that does not fit.
qint64 storeSize(int count, unsigned long long elementSize)
{
    if (count < 0 || elementSize > static_cast<unsigned long long>(std::numeric_limits<qint64>::max() / INT_MAX))
        return -1;
    return static_cast<qint64>(count) * static_cast<qint64>(elementSize);
}

} // namespace

BufferObject::BufferObject()
    : _context(QOpenGLContext::currentContext())
{
    if (QOpenGLExtraFunctions *gl = currentGLFunctions())
        gl->glGenBuffers(1, &_id);
}

BufferObject::~BufferObject()
{
    if (_id != 0 && canDeleteObjectsOf(_context))
        currentGLFunctions()->glDeleteBuffers(1, &_id);
}

void BufferObject::setTarget(unsigned int target)
{
    _target = target;
}

void BufferObject::bind()
{
    if (QOpenGLExtraFunctions *gl = currentGLFunctions())
        gl->glBindBuffer(_target, _id);
}

void BufferObject::unbind()
{
    if (QOpenGLExtraFunctions *gl = currentGLFunctions())
        gl->glBindBuffer(_target, 0);
}

bool BufferObject::uploadGLuintData(const unsigned int *data, int count, unsigned int usage)
{
    return uploadArbitraryData(data, count, usage, sizeof(unsigned int));
}

bool BufferObject::uploadGLushortData(const unsigned short *data, int count, unsigned int usage)
{
    return uploadArbitraryData(data, count, usage, sizeof(unsigned short));
}

bool BufferObject::uploadArbitraryData(const void *data, int count, unsigned int usage, unsigned long long elementSize)
{
    const qint64 byteSize = storeSize(count, elementSize);
    return byteSize >= 0 && upload(data, byteSize, usage);
}

bool BufferObject::uploadSharedData(
    const std::shared_ptr<const void> &data, int count, unsigned int usage, unsigned long long elementSize)
{
    const qint64 byteSize = storeSize(count, elementSize);
    if (byteSize < 0)
        return false;
    // An empty store needs no one's memory; one the driver refuses is copied instead, while
    // `data` still keeps the elements.
    const bool inPlace = byteSize > 0 && data && drawsFromHostMemory(QOpenGLContext::currentContext());
    return (inPlace && upload(data.get(), byteSize, usage, data)) || upload(data.get(), byteSize, usage);
}

bool BufferObject::upload(const void *data, qint64 byteSize, unsigned int usage, std::shared_ptr<const void> inPlace)
{
    QOpenGLExtraFunctions *gl = currentGLFunctions();
    if (!gl || _id == 0 || (data == nullptr && byteSize > 0))
        return false;
    clearGLErrors(gl);
    // The pinned target has a binding of its own; the caller's binding of _target stays.
    const GLenum target = inPlace ? GL_EXTERNAL_VIRTUAL_MEMORY_BUFFER_AMD : _target;
    gl->glBindBuffer(target, _id);
    gl->glBufferData(target, static_cast<GLsizeiptr>(byteSize), data, usage);
    const bool stored = gl->glGetError() == GL_NO_ERROR;
    if (inPlace)
        gl->glBindBuffer(target, 0);
    if (!stored)
        return false;
    _usage = usage;
    _byteSize = byteSize;
    _sharedStore = std::move(inPlace); // none when the driver made its own copy
    return true;
}

QByteArray BufferObject::readBack() const
{
    QOpenGLExtraFunctions *gl = currentGLFunctions();
    if (!gl || _id == 0 || _byteSize == 0)
        return {};
    // Read through the copy-read target so that no binding the caller relies on changes.
    GLint previous = 0;
    gl->glGetIntegerv(GL_COPY_READ_BUFFER_BINDING, &previous);
    gl->glBindBuffer(GL_COPY_READ_BUFFER, _id);
    QByteArray bytes;
    if (const void *mapped = gl->glMapBufferRange(GL_COPY_READ_BUFFER, 0, _byteSize, GL_MAP_READ_BIT)) {
        bytes = QByteArray(static_cast<const char *>(mapped), _byteSize);
        gl->glUnmapBuffer(GL_COPY_READ_BUFFER);
    }
    gl->glBindBuffer(GL_COPY_READ_BUFFER, static_cast<GLuint>(previous));
    return bytes;
}

} // namespace Vardune::Qel
