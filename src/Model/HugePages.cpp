#include "HugePages.h"

#include <cstdint>

#if defined(__linux__) && defined(__GLIBC__)
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace Vardune::Qel {

namespace {

// Below this, the block does not span a whole huge page worth asking for.
constexpr size_t kSmallestAdvisedBytes = size_t(4) << 20;
// The usual size of a transparent huge page; advice on a range not aligned to another size
// only covers fewer pages.
constexpr uintptr_t kHugePageBytes = uintptr_t(2) << 20;

} // namespace

void adviseHugePages(QByteArray &bytes)
{
    // The array's header is the start of the block that malloc or realloc returned.
    adviseHugePagesOfBlock(bytes.data_ptr().d_ptr());
}

void adviseHugePagesOfBlock(void *block)
{
#if defined(__linux__) && defined(__GLIBC__) && defined(MADV_HUGEPAGE)
    if (block == nullptr)
        return;
    const size_t usable = malloc_usable_size(block);
    if (usable < kSmallestAdvisedBytes)
        return;
    // A mapped block is preceded by the C library's two-word chunk header at the start of its
    // first page and ends where its last page ends: it is advised whole. Any other block lies in
    // a heap, which the C library grows without remapping, so the whole huge pages inside it are
    // advised; they also serve whatever the heap hands out there after the block is freed.
    static const uintptr_t pageMask = uintptr_t(sysconf(_SC_PAGESIZE)) - 1;
    const uintptr_t first = uintptr_t(block) - 2 * sizeof(size_t);
    const uintptr_t end = uintptr_t(block) + usable;
    if ((first & pageMask) == 0 && (end & pageMask) == 0) {
        madvise(reinterpret_cast<void *>(first), end - first, MADV_HUGEPAGE); // a refusal changes nothing
        return;
    }
    const uintptr_t hugeFirst = (uintptr_t(block) + kHugePageBytes - 1) & ~(kHugePageBytes - 1);
    const uintptr_t hugeEnd = end & ~(kHugePageBytes - 1);
    if (hugeFirst < hugeEnd)
        madvise(reinterpret_cast<void *>(hugeFirst), hugeEnd - hugeFirst, MADV_HUGEPAGE);
#else
    (void)block;
#endif
}

} // namespace Vardune::Qel
