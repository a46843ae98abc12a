#pragma once

#include "HugePages.h"

#include <cstdlib>
#include <new>

namespace Vardune::Qel {

// An uninitialised array of vertex or corner numbers for the weld and the numbering, whose large
// instances get huge pages (see HugePages.h): their cost is mostly the page faults of the first
// touch. Throws std::bad_alloc as new[] would.
class WorkArray
{
public:
    explicit WorkArray(size_t count)
        : _data(allocate(count))
    { }
    ~WorkArray() { std::free(_data); }

    WorkArray(const WorkArray &) = delete;
    WorkArray &operator=(const WorkArray &) = delete;

    unsigned int *get() const { return _data; }
    unsigned int &operator[](size_t i) const { return _data[i]; }

    // Frees the array early.
    void reset()
    {
        std::free(_data);
        _data = nullptr;
    }

private:
    static unsigned int *allocate(size_t count)
    {
        if (count == 0)
            return nullptr;
        void *block = count <= size_t(-1) / sizeof(unsigned int) ? hugePageMalloc(count * sizeof(unsigned int)) : nullptr;
        if (block == nullptr)
            throw std::bad_alloc();
        return static_cast<unsigned int *>(block);
    }

    unsigned int *_data;
};

} // namespace Vardune::Qel
