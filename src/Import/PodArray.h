#pragma once

#include "HugePages.h"

#include <QByteArray>

#include <cstring>
#include <type_traits>
#include <utility>

namespace Vardune::Qel {

// A growing array of plain values for the large per-line and per-corner arrays of an import.
//
// The bytes live in a QByteArray whose size is the capacity. An unshared QByteArray grows by
// realloc, which moves mapped blocks by remapping their pages instead of copying them, and the
// array asks for huge pages before the new space is written: every byte is touched once,
// however often the array grows. New elements are not initialised. takeBytes() hands the bytes
// over without a copy, so that a builder stream can adopt them.
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
    static constexpr size_t kFirstCapacity = 4096 / sizeof(T);
    static constexpr size_t kMapFromBytes = size_t(256) << 10;
    static constexpr size_t kHugePagesFromBytes = size_t(4) << 20;
    // Just above the largest threshold the C library maps from (32 MiB), a whole number of T.
    static constexpr size_t kMappedBytes = (size_t(32) << 20) + 4096 * sizeof(T);

    // _capacity is the part of the block in use so far; the block itself may be larger.
    void grow(size_t least)
    {
        size_t capacity = _capacity < kFirstCapacity ? kFirstCapacity : _capacity * 2;
        if (capacity < least)
            capacity = least;
        const size_t blockCapacity = size_t(_bytes.size()) / sizeof(T);
        if (capacity > blockCapacity) {
            // The C library grows only a mapped block by remapping its pages; a smaller block may
            // come from the heap and be copied at every growth. A growing array moves to a block
            // above the library's largest mapping threshold early, after one small copy; the
            // space it does not write stays untouched and costs no memory.
            size_t newBlockCapacity = capacity;
            if (capacity * sizeof(T) >= kMapFromBytes && capacity * sizeof(T) < kMappedBytes)
                newBlockCapacity = kMappedBytes / sizeof(T);
            _bytes.resize(qsizetype(newBlockCapacity * sizeof(T))); // no fill; reports exhaustion as Qt does
            _data = reinterpret_cast<T *>(_bytes.data());
        }
        // Huge pages only once the array itself is large, so that a small array in a large
        // block does not fault in a whole huge page.
        if (capacity * sizeof(T) >= kHugePagesFromBytes)
            adviseHugePages(_bytes);
        _capacity = capacity;
    }

    QByteArray _bytes;
    T *_data = nullptr;
    size_t _size = 0;
    size_t _capacity = 0;
};

} // namespace Vardune::Qel
