#pragma once

#include <QelGL/Bindable.h>

#include <QObject>
#include <QPointer>

class QOpenGLContext;

namespace Vardune::Qel {

// A real OpenGL texture object of the context current when it was made. The constructor
// creates the texture name only; its images are specified by the caller while it is bound.
class QELGL_EXPORT Texture : public QObject, public Bindable
{
    Q_OBJECT

public:
    // `depth` is the third dimension of 3D and array textures, 0 for the others.
    Texture(unsigned int target, int internalFormat, int width, int height, int depth, QObject *parent = nullptr);
    ~Texture() override;

    void bind() override;
    void unbind() override;

    unsigned int target() const { return _target; }
    int internalFormat() const { return _internalFormat; }
    int width() const { return _width; }
    int height() const { return _height; }
    int depth() const { return _depth; }
    unsigned int textureId() const { return _id; }
    bool isValid() const { return _id != 0; }

    // A read-only texture's images are complete; nobody is to respecify them.
    void setReadOnly();
    bool isReadOnly() const { return _readOnly; }

private:
    QPointer<QOpenGLContext> _context;
    unsigned int _id = 0;
    unsigned int _target;
    int _internalFormat;
    int _width;
    int _height;
    int _depth;
    bool _readOnly = false;
};

} // namespace Vardune::Qel
