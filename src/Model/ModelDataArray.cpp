#include "ModelDataArray.h"

#include "HugePages.h"

#include <cstring>
#include <utility>

namespace Vardune::Qel {

namespace {

// Byte lengths are 64-bit (Qt 6's qsizetype), so streams may exceed 2 GiB.
qsizetype byteLength(unsigned int type, size_t count)
{
    return static_cast<qsizetype>(ModelDataStream::typeSize(type) * count);
}

} // namespace

// Large arrays get huge pages before their first write (the zero fill).
ModelDataArray::ModelDataArray(unsigned int type, size_t count)
    : _type(type)
    , _data(hugePageBytes(byteLength(type, count)))
{
    std::memset(_data.data(), 0, size_t(_data.size()));
}

ModelDataArray::ModelDataArray(unsigned int type, size_t count, Qt::Initialization)
    : _type(type)
    , _data(hugePageBytes(byteLength(type, count)))
{ }

ModelDataArray::ModelDataArray(unsigned int type, QByteArray &&bytes)
    : _type(type)
    , _data(std::move(bytes))
{ }

ModelDataArray::~ModelDataArray() = default;

unsigned int ModelDataArray::type() const
{
    return _type;
}

void ModelDataArray::setType(unsigned int type)
{
    if (type == _type)
        return;
    const size_t count = size();
    _type = type;
    resize(count);
}

bool ModelDataArray::isEmpty() const
{
    return _data.isEmpty();
}

size_t ModelDataArray::size() const
{
    const size_t elementSize = typeSize(_type);
    return elementSize == 0 ? 0 : static_cast<size_t>(_data.size()) / elementSize;
}

void ModelDataArray::resize(size_t count)
{
    const qsizetype oldLength = _data.size();
    resizeUninitialised(count);
    if (_data.size() > oldLength)
        std::memset(_data.data() + oldLength, 0, static_cast<size_t>(_data.size() - oldLength));
}

void ModelDataArray::resizeUninitialised(size_t count)
{
    resizeHugePageBytes(_data, byteLength(_type, count));
}

size_t ModelDataArray::byteCount() const
{
    return static_cast<size_t>(_data.size());
}

void *ModelDataArray::data(size_t offset)
{
    return _data.data() + typeSize(_type) * offset;
}

void ModelDataArray::setData(size_t offset, size_t count, const void *source)
{
    const size_t elementSize = typeSize(_type);
    if (count > 0)
        std::memcpy(_data.data() + elementSize * offset, source, elementSize * count);
}

void ModelDataArray::append(size_t count, const void *source)
{
    if (count == 0)
        return;
    const qsizetype oldLength = _data.size();
    const qsizetype addedLength = byteLength(_type, count);
    resizeHugePageBytes(_data, oldLength + addedLength);
    std::memcpy(_data.data() + oldLength, source, size_t(addedLength));
}

ModelDataStream *ModelDataArrayAllocator::alloc(unsigned int type, size_t count)
{
    return new ModelDataArray(type, count);
}

} // namespace Vardune::Qel
