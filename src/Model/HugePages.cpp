#include "HugePages.h"

#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace Vardune::Qel {

namespace {

// Below this, the buffer does not span a whole huge page worth asking for.
constexpr size_t kSmallestAdvisedBytes = size_t(4) << 20;

} // namespace

void adviseHugePages(void *data, size_t bytes)
{
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    if (bytes < kSmallestAdvisedBytes)
        return;
    static const uintptr_t pageBytes = uintptr_t(sysconf(_SC_PAGESIZE));
    const uintptr_t first = (uintptr_t(data) + pageBytes - 1) & ~(pageBytes - 1);
    const uintptr_t end = (uintptr_t(data) + bytes) & ~(pageBytes - 1);
    if (end > first)
        madvise(reinterpret_cast<void *>(first), end - first, MADV_HUGEPAGE); // a refusal changes nothing
#else
    (void)data;
    (void)bytes;
#endif
}

} // namespace Vardune::Qel
