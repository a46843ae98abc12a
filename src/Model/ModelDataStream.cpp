#include "ModelDataStream.h"

#include "GLTypes.h"

namespace Vardune::Qel {

ModelDataStream::~ModelDataStream() = default;

bool ModelDataStream::isEmpty() const
{
    return size() == 0;
}

size_t ModelDataStream::byteCount() const
{
    return typeSize(type()) * size();
}

void ModelDataStream::append(size_t count, const void *source)
{
    const size_t oldSize = size();
    resize(oldSize + count);
    setData(oldSize, count, source);
}

size_t ModelDataStream::typeSize(unsigned int type)
{
    switch (type) {
    case GLType::Byte:
    case GLType::UnsignedByte:
        return 1;
    case GLType::Short:
    case GLType::UnsignedShort:
    case GLType::HalfFloat:
        return 2;
    case GLType::Int:
    case GLType::UnsignedInt:
    case GLType::Float:
        return 4;
    case GLType::Double:
        return 8;
    default:
        return 0;
    }
}

ModelDataStreamAllocator::~ModelDataStreamAllocator() = default;

} // namespace Vardune::Qel
