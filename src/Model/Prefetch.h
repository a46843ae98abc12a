#pragma once

namespace Vardune::Qel {

// Asks for the cache line at `address` ahead of its use, so that misses of a loop over random
// places overlap instead of queueing. A hint only: it never faults.
inline void prefetch(const void *address)
{
#if defined(__GNUC__)
    __builtin_prefetch(address);
#else
    (void)address;
#endif
}

} // namespace Vardune::Qel
