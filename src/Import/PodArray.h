#pragma once

#include "HugePages.h"

#include <QByteArray>

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

namespace Vardune::Qel {

// A growing array of plain values for the large per-line and per-corner arrays of an import.
//
// The bytes live in a QByteArray, whose reserved capacity the elements fill. It grows as
// HugePages.h places large arrays: into a mapped block early, which the C library grows by
// remapping its pages instead of copying them, with huge pages asked for before the new space
// is written. New elements are not initialised. takeBytes() hands the bytes over without a
// copy, so that a builder stream can adopt them.
template<typename T>
class PodArray
{
    static_assert(std::is_trivially_copyable_v<T>, "PodArray holds plain values only");

public:
    PodArray() = default;
    PodArray(const PodArray &) = delete;
    PodArray &operator=(const PodArray &) = delete;
    PodArray(PodArray &&other) noexcept
        : _bytes(std::move(other._bytes))
        , _data(std::exchange(other._data, nullptr))
        , _size(std::exchange(other._size, 0))
        , _capacity(std::exchange(other._capacity, 0))
    { }
    PodArray &operator=(PodArray &&other) noexcept
    {
        _bytes = std::move(other._bytes);
        _data = std::exchange(other._data, nullptr);
        _size = std::exchange(other._size, 0);
        _capacity = std::exchange(other._capacity, 0);
        return *this;
    }

    size_t size() const { return _size; }
    bool empty() const { return _size == 0; }
    T *data() { return _data; }
    const T *data() const { return _data; }
    T *begin() { return _data; }
    T *end() { return _data + _size; }
    const T *begin() const { return _data; }
    const T *end() const { return _data + _size; }
    T &operator[](size_t i) { return _data[i]; }
    const T &operator[](size_t i) const { return _data[i]; }
    T &back() { return _data[_size - 1]; }
    const T &back() const { return _data[_size - 1]; }

    void push_back(const T &value)
    {
        if (_size == _capacity)
            grow(_size + 1);
        _data[_size++] = value;
    }
    void append(const T *values, size_t count)
    {
        if (count == 0) // the arrays may still be null
            return;
        if (_size + count > _capacity)
            grow(_size + count);
        std::memcpy(_data + _size, values, count * sizeof(T));
        _size += count;
    }
    // Shrinking keeps the capacity; growing leaves the new elements uninitialised.
    void resize(size_t count)
    {
        if (count > _capacity)
            grow(count);
        _size = count;
    }
    // Frees the storage.
    void release() { takeBytes(); }
    // The elements as bytes, moved out; the array is left empty. Shrinking a QByteArray moves
    // nothing, so the spare capacity stays allocated but untouched.
    QByteArray takeBytes()
    {
        _bytes.resize(qsizetype(_size * sizeof(T)));
        _data = nullptr;
        _size = _capacity = 0;
        return std::exchange(_bytes, QByteArray());
    }

private:
    static constexpr size_t kFirstBytes = 4096;
    static constexpr size_t kSmallUpToBytes = size_t(64) << 10;

    // A small array starts at a page and doubles; one that outgrows 64 KiB is taken for a large
    // one and moves at once to a block placed for huge pages, rather than copying its way up
    // through the heap; from there QByteArray grows it. The bytes' size is brought up to the
    // elements in use first, which growth keeps; elements past it are written into the
    // capacity that QByteArray reserved. The size asked for is never far past the elements in
    // use, since QByteArray writes a terminating zero there.
    void grow(size_t least)
    {
        size_t bytes = least * sizeof(T);
        if (bytes <= kSmallUpToBytes)
            bytes = std::max(bytes, std::max(kFirstBytes, 2 * _capacity * sizeof(T)));
        else
            bytes = std::max(bytes, kSmallestHugePageArrayBytes);
        _bytes.resize(qsizetype(_size * sizeof(T))); // within the capacity: nothing moves
        resizeHugePageBytes(_bytes, qsizetype(bytes)); // reports exhaustion as Qt does
        _data = reinterpret_cast<T *>(_bytes.data());
        _capacity = size_t(_bytes.capacity()) / sizeof(T);
    }

    QByteArray _bytes;
    T *_data = nullptr;
    size_t _size = 0;
    size_t _capacity = 0;
};

} // namespace Vardune::Qel
