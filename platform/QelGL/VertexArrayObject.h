#pragma once

#include <QelGL/Bindable.h>
#include <QelGL/BufferObject.h>

#include <QList>
#include <QPointer>
#include <QSharedPointer>
#include <QString>

class QOpenGLContext;

namespace Vardune::Qel {

// A real OpenGL vertex array object. Each registered buffer becomes one vertex attribute of
// the array, at the next free attribute location, read as tightly packed values; a shader
// binds its inputs to these locations by the attribute names.
class QELGL_EXPORT VertexArrayObject : public Bindable
{
public:
    struct Attribute
    {
        QString name;
        QSharedPointer<BufferObject> buffer;
        int components = 0;
        unsigned int type = 0;
        int location = -1;
    };

    VertexArrayObject();
    ~VertexArrayObject() override;

    VertexArrayObject(const VertexArrayObject &) = delete;
    VertexArrayObject &operator=(const VertexArrayObject &) = delete;

    void bind() override;
    void unbind() override;

    // Registering a name again replaces its buffer at the same location.
    void registerBO(const QString &name, QSharedPointer<BufferObject> buffer, int components, unsigned int type);
    // Records the index buffer in the array's state, as OpenGL keeps it per vertex array.
    void setIndexBuffer(QSharedPointer<BufferObject> buffer);

    unsigned int arrayId() const { return _id; }
    QList<Attribute> attributes() const { return _attributes; }
    // The location of an attribute, -1 when no buffer of that name is registered.
    int attributeLocation(const QString &name) const;
    QSharedPointer<BufferObject> indexBuffer() const { return _indexBuffer; }

private:
    void attach(const Attribute &attribute);

    QPointer<QOpenGLContext> _context;
    unsigned int _id = 0;
    QList<Attribute> _attributes;
    QSharedPointer<BufferObject> _indexBuffer;
};

} // namespace Vardune::Qel
