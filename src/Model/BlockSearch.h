#pragma once

#include <algorithm>
#include <cstddef>

namespace Vardune::Qel {

// The position of the first of `count` values that `matches`, or `count` when none does. Each
// block is tested whole, without an early exit, which vectorises (the test should be a plain
// comparison); only a block that holds a match is searched. For scans of large index arrays
// that rarely find anything. Internal; not installed.
template<typename T, typename Matches>
size_t firstMatch(const T *values, size_t count, Matches matches)
{
    constexpr size_t kBlock = 4096;
    for (size_t start = 0; start < count; start += kBlock) {
        const size_t end = std::min(count, start + kBlock);
        unsigned found = 0; // an integer: an OR of bools is not vectorised
        for (size_t k = start; k < end; ++k)
            found |= matches(values[k]) ? 1u : 0u;
        if (found)
            return size_t(std::find_if(values + start, values + end, matches) - values);
    }
    return count;
}

} // namespace Vardune::Qel
