#include "VertexArrayObject.h"

#include "GLFunctions.h"

namespace Vardune::Qel {

namespace {

bool isIntegerType(unsigned int type)
{
    switch (type) {
    case GL_BYTE:
    case GL_UNSIGNED_BYTE:
    case GL_SHORT:
    case GL_UNSIGNED_SHORT:
    case GL_INT:
    case GL_UNSIGNED_INT:
        return true;
    default:
        return false;
    }
}

} // namespace

VertexArrayObject::VertexArrayObject()
    : _context(QOpenGLContext::currentContext())
{
    if (QOpenGLExtraFunctions *gl = currentGLFunctions())
        gl->glGenVertexArrays(1, &_id);
}

VertexArrayObject::~VertexArrayObject()
{
    if (_id != 0 && canDeleteObjectsOf(_context))
        currentGLFunctions()->glDeleteVertexArrays(1, &_id);
}

void VertexArrayObject::bind()
{
    if (QOpenGLExtraFunctions *gl = currentGLFunctions())
        gl->glBindVertexArray(_id);
}

void VertexArrayObject::unbind()
{
    if (QOpenGLExtraFunctions *gl = currentGLFunctions())
        gl->glBindVertexArray(0);
}

int VertexArrayObject::attributeLocation(const QString &name) const
{
    for (const Attribute &attribute : _attributes) {
        if (attribute.name == name)
            return attribute.location;
    }
    return -1;
}

void VertexArrayObject::registerBO(const QString &name, QSharedPointer<BufferObject> buffer, int components,
                                   unsigned int type)
{
    Attribute attribute { name, std::move(buffer), components, type, attributeLocation(name) };
    if (attribute.location < 0) {
        attribute.location = static_cast<int>(_attributes.size());
        _attributes.append(attribute);
    } else {
        _attributes[attribute.location] = attribute;
    }
    attach(attribute);
}

void VertexArrayObject::attach(const Attribute &attribute)
{
    QOpenGLExtraFunctions *gl = currentGLFunctions();
    if (!gl || _id == 0 || !attribute.buffer)
        return;
    GLint maxAttributes = 0;
    gl->glGetIntegerv(GL_MAX_VERTEX_ATTRIBS, &maxAttributes);
    // Values OpenGL cannot feed to a vertex input stay recorded but are not enabled.
    if (attribute.location >= maxAttributes || attribute.components < 1 || attribute.components > 4)
        return;
    const auto location = static_cast<GLuint>(attribute.location);
    gl->glBindVertexArray(_id);
    gl->glBindBuffer(GL_ARRAY_BUFFER, attribute.buffer->bufferId());
    if (isIntegerType(attribute.type))
        gl->glVertexAttribIPointer(location, attribute.components, attribute.type, 0, nullptr);
    else
        gl->glVertexAttribPointer(location, attribute.components, attribute.type, GL_FALSE, 0, nullptr);
    gl->glEnableVertexAttribArray(location);
    gl->glBindVertexArray(0);
    gl->glBindBuffer(GL_ARRAY_BUFFER, 0);
}

void VertexArrayObject::setIndexBuffer(QSharedPointer<BufferObject> buffer)
{
    _indexBuffer = std::move(buffer);
    QOpenGLExtraFunctions *gl = currentGLFunctions();
    if (!gl || _id == 0)
        return;
    gl->glBindVertexArray(_id);
    gl->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, _indexBuffer ? _indexBuffer->bufferId() : 0);
    gl->glBindVertexArray(0);
}

} // namespace Vardune::Qel
