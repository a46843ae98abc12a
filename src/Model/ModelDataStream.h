#pragma once

#include "qelmodel_export.h"

#include <cstddef>

namespace Vardune::Qel {

// A run of elements of one OpenGL scalar type, addressed by element number.
//
// An element is one scalar (a byte, a short, a float, an index), never a vertex: sizes, counts
// and offsets are in elements and only byteCount() is in bytes. Element i lies at byte
// i * typeSize(type()), with no gaps, so callers may walk data(0) as a packed array.
class QELMODEL_EXPORT ModelDataStream
{
public:
    ModelDataStream() = default;
    ModelDataStream(const ModelDataStream &) = default;
    ModelDataStream &operator=(const ModelDataStream &) = default;
    virtual ~ModelDataStream();

    virtual unsigned int type() const = 0;
    virtual void setType(unsigned int type) = 0;
    virtual bool isEmpty() const;
    virtual size_t size() const = 0;
    virtual void resize(size_t count) = 0;
    virtual size_t byteCount() const;
    // Pointer to element `offset`; no bounds check, offset size() is the end.
    virtual void *data(size_t offset) = 0;
    // Copies `count` elements to element `offset`; the caller keeps offset + count <= size().
    virtual void setData(size_t offset, size_t count, const void *source) = 0;
    // Appends `count` elements: size(), resize() and setData() through the virtual calls.
    virtual void append(size_t count, const void *source);

    // Bytes per element of an OpenGL data-type code; 0 for codes that are not scalar types.
    static size_t typeSize(unsigned int type);
};

// Makes the streams of a model builder; a host may supply its own to place every array.
class QELMODEL_EXPORT ModelDataStreamAllocator
{
public:
    ModelDataStreamAllocator() = default;
    ModelDataStreamAllocator(const ModelDataStreamAllocator &) = default;
    ModelDataStreamAllocator &operator=(const ModelDataStreamAllocator &) = default;
    virtual ~ModelDataStreamAllocator();

    // A new heap stream of `type` holding `count` elements, owned by the caller and deletable
    // through ModelDataStream's virtual destructor.
    virtual ModelDataStream *alloc(unsigned int type, size_t count) = 0;
};

} // namespace Vardune::Qel
