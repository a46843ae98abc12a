#include "DrawBuffers.h"

namespace Vardune::Qel {

DrawBuffers::DrawBuffers(QObject *parent)
    : QObject(parent)
{
}

DrawBuffers::~DrawBuffers() = default;

void DrawBuffers::setVAO(QSharedPointer<VertexArrayObject> vao)
{
    _vao = std::move(vao);
}

void DrawBuffers::setIndexedDraw(QSharedPointer<BufferObject> indexBuffer, int indexCount, unsigned int indexType)
{
    _indexBuffer = std::move(indexBuffer);
    _indexCount = indexCount;
    _indexType = indexType;
    if (_vao)
        _vao->setIndexBuffer(_indexBuffer);
}

void DrawBuffers::setVertexCount(unsigned int count)
{
    _vertexCount = count;
}

void DrawBuffers::setPrimitiveType(unsigned int type)
{
    _primitiveType = type;
}

void DrawBuffers::setDrawElementsIndirectCommands(const DrawElementsIndirectCommand *commands, int count)
{
    _commands.clear();
    if (commands && count > 0)
        _commands = QList<DrawElementsIndirectCommand>(commands, commands + count);
}

} // namespace Vardune::Qel
