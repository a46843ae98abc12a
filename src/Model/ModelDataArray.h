#pragma once

#include "ModelDataStream.h"

#include <QByteArray>

namespace Vardune::Qel {

// The library's stream: elements kept in an implicitly shared QByteArray.
//
// Copies are values: they share bytes until one side writes, and every writing operation
// detaches first. New elements (from the constructor's count or a growing resize) are zero.
// A type code that is not a scalar type has element size 0: such an array holds no bytes and
// its size() is 0.
class QELMODEL_EXPORT ModelDataArray : public ModelDataStream
{
public:
    explicit ModelDataArray(unsigned int type = 0x1406 /* GL_FLOAT */, size_t count = 0);
    ModelDataArray(const ModelDataArray &) = default;
    ModelDataArray &operator=(const ModelDataArray &) = default;
    ~ModelDataArray() override;

    unsigned int type() const override;
    // Keeps the element count and reinterprets the leading bytes; nothing is converted.
    void setType(unsigned int type) override;
    bool isEmpty() const override;
    size_t size() const override;
    void resize(size_t count) override;
    size_t byteCount() const override;
    void *data(size_t offset) override;
    void setData(size_t offset, size_t count, const void *source) override;
    void append(size_t count, const void *source) override;

private:
    friend class ModelBuilder; // for streams it fills completely, or adopts, right after making them

    // `count` elements left unwritten, for a stream that is overwritten in full at once.
    ModelDataArray(unsigned int type, size_t count, Qt::Initialization);
    // Takes `bytes` as the elements, without a copy; its length must be a multiple of the
    // element size.
    ModelDataArray(unsigned int type, QByteArray &&bytes);
    // resize() without the zero fill of new elements.
    void resizeUninitialised(size_t count);

    unsigned int _type;
    QByteArray _data;
};

// Makes ModelDataArray streams; the allocator a builder uses when it is given none.
class QELMODEL_EXPORT ModelDataArrayAllocator : public ModelDataStreamAllocator
{
public:
    ModelDataStream *alloc(unsigned int type, size_t count) override;
};

} // namespace Vardune::Qel
