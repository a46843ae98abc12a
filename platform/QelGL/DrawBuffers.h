#pragma once

#include <QelGL/BufferObject.h>
#include <QelGL/DrawElementsIndirectCommand.h>
#include <QelGL/VertexArrayObject.h>

#include <QList>
#include <QObject>
#include <QSharedPointer>

namespace Vardune::Qel {

// What one multi-draw needs: a vertex array, an index buffer with its type and count, the
// primitive type and the indirect commands, one per drawn range of the index buffer.
class QELGL_EXPORT DrawBuffers : public QObject
{
    Q_OBJECT

public:
    explicit DrawBuffers(QObject *parent = nullptr);
    ~DrawBuffers() override;

    void setVAO(QSharedPointer<VertexArrayObject> vao);
    QSharedPointer<VertexArrayObject> VAO() const { return _vao; }

    // Also records the index buffer in the vertex array set before.
    void setIndexedDraw(QSharedPointer<BufferObject> indexBuffer, int indexCount, unsigned int indexType);
    QSharedPointer<BufferObject> indexBuffer() const { return _indexBuffer; }
    int indexCount() const { return _indexCount; }
    unsigned int indexType() const { return _indexType; }

    void setVertexCount(unsigned int count);
    unsigned int vertexCount() const { return _vertexCount; }

    void setPrimitiveType(unsigned int type);
    unsigned int primitiveType() const { return _primitiveType; }

    // Copies `count` commands; a negative count or a null pointer leaves none.
    void setDrawElementsIndirectCommands(const DrawElementsIndirectCommand *commands, int count);
    QList<DrawElementsIndirectCommand> drawElementsIndirectCommands() const { return _commands; }

private:
    QSharedPointer<VertexArrayObject> _vao;
    QSharedPointer<BufferObject> _indexBuffer;
    int _indexCount = 0;
    unsigned int _indexType = 0;
    unsigned int _vertexCount = 0;
    unsigned int _primitiveType = 0;
    QList<DrawElementsIndirectCommand> _commands;
};

} // namespace Vardune::Qel
