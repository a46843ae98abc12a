#pragma once

#include <QelGL/Bindable.h>

#include <QByteArray>
#include <QPointer>

#include <memory>

class QOpenGLContext;

namespace Vardune::Qel {

// A real OpenGL buffer object of the context that was current when it was made.
//
// Uploads replace the whole store of the buffer (glBufferData) on its target, which the
// caller binds first. The buffer is deleted with the object when its context, or one that
// shares with it, is current; otherwise it lives until its context is destroyed.
class QELGL_EXPORT BufferObject : public Bindable
{
public:
    BufferObject();
    ~BufferObject() override;

    BufferObject(const BufferObject &) = delete;
    BufferObject &operator=(const BufferObject &) = delete;

    void setTarget(unsigned int target);
    unsigned int target() const { return _target; }

    void bind() override;
    void unbind() override;

    // Each upload stores `count` elements and returns false (leaving the buffer as it was)
    // for a negative count, a size that does not fit, or an OpenGL error.
    bool uploadGLuintData(const unsigned int *data, int count, unsigned int usage);
    bool uploadGLushortData(const unsigned short *data, int count, unsigned int usage);
    bool uploadArbitraryData(const void *data, int count, unsigned int usage, unsigned long long elementSize);
    // As uploadArbitraryData; but where the renderer draws from host memory and can take the
    // application's memory as a buffer's store (a software renderer with GL_AMD_pinned_memory),
    // the buffer makes no copy: it reads the elements where they lie and holds `data` until it
    // is deleted or given other data. No one else may change them while it does.
    bool uploadSharedData(
        const std::shared_ptr<const void> &data, int count, unsigned int usage, unsigned long long elementSize);

    unsigned int bufferId() const { return _id; }
    unsigned int usage() const { return _usage; }
    // Bytes stored by the last successful upload.
    qint64 byteSize() const { return _byteSize; }

    // The buffer's current contents as OpenGL holds them (empty without a current context).
    QByteArray readBack() const;

private:
    // glBufferData; with `inPlace`, a store that is that memory itself, held until replaced.
    bool upload(const void *data, qint64 byteSize, unsigned int usage, std::shared_ptr<const void> inPlace = {});

    QPointer<QOpenGLContext> _context;
    unsigned int _id = 0;
    unsigned int _target = 0;
    unsigned int _usage = 0;
    qint64 _byteSize = 0;
    std::shared_ptr<const void> _sharedStore; // the memory the buffer reads, when it made no copy
};

} // namespace Vardune::Qel
