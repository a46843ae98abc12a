#include "HugePages.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

#if defined(__linux__) && defined(__GLIBC__)
#include <linux/mman.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace Vardune::Qel {

namespace {

// The usual size of a transparent huge page; advice on a range not aligned to another size
// only covers fewer pages.
constexpr size_t kHugePageBytes = size_t(2) << 20;
// Above the C library's largest mapping threshold (32 MiB), so that a request this large gets
// a mapping of its own.
constexpr size_t kSmallestMappingBytes = size_t(34) << 20;

bool getsHugePages(size_t size)
{
    return size >= kSmallestHugePageArrayBytes;
}

// Whether an array is smaller than the mapping it is given, header and page rounding included.
bool fitsSmallestMapping(size_t size)
{
    return size < kSmallestMappingBytes - 4096;
}

// The bytes to ask malloc for: a mapping of a whole number of huge pages once its header and
// the page rounding are added (they take less than 2 KiB), which the system aligns to a huge
// page, so that the array gets huge pages from its first byte.
size_t mappedRequest(size_t size)
{
    const size_t mapping = fitsSmallestMapping(size)
        ? kSmallestMappingBytes
        : (size + 4096 + kHugePageBytes - 1) / kHugePageBytes * kHugePageBytes;
    return mapping - 2048;
}

// Whether a block keeps the size it is made with, or grows.
enum class Growth { None, Expected };

// Advises the huge pages of a block that malloc returned, given by the pointer malloc returned,
// of which the first `used` bytes are to be written.
void adviseBlock(void *block, size_t used, Growth growth)
{
#if defined(__linux__) && defined(__GLIBC__) && defined(MADV_HUGEPAGE)
    if (block == nullptr || !getsHugePages(used))
        return;
    // A mapped block is preceded by the C library's two-word chunk header at the start of its
    // first page and ends where its last page ends. A growing one is advised whole: advice on
    // part of a mapping splits it, and the C library could then no longer grow it by remapping
    // (it would copy it). Any other block lies in a heap, which the C library grows without
    // remapping, so the whole huge pages inside it are advised.
    static const uintptr_t pageMask = uintptr_t(sysconf(_SC_PAGESIZE)) - 1;
    const uintptr_t first = uintptr_t(block) - 2 * sizeof(size_t);
    const uintptr_t end = uintptr_t(block) + malloc_usable_size(block);
    if ((first & pageMask) == 0 && (end & pageMask) == 0) {
        // An array that keeps its size and spans several huge pages leaves its last one to
        // small pages when it uses less than half of it: the memory a huge page would hold
        // unused matters more then than the time.
        uintptr_t adviseEnd = end;
        const size_t usedEnd = uintptr_t(block) + used - first;
        const size_t lastUsed = usedEnd % kHugePageBytes;
        if (growth == Growth::None && usedEnd > kHugePageBytes && lastUsed != 0 && lastUsed < kHugePageBytes / 2)
            adviseEnd = first + usedEnd - lastUsed;
        madvise(reinterpret_cast<void *>(first), adviseEnd - first, MADV_HUGEPAGE); // a refusal changes nothing
#ifdef MADV_COLLAPSE
        // The header was written before the advice, so the first huge page would be made of
        // small pages; it is made whole now, which costs less than their page faults.
        if ((first & (kHugePageBytes - 1)) == 0)
            madvise(reinterpret_cast<void *>(first), kHugePageBytes, MADV_COLLAPSE);
#endif
        return;
    }
    const uintptr_t hugeFirst = (uintptr_t(block) + kHugePageBytes - 1) & ~uintptr_t(kHugePageBytes - 1);
    const uintptr_t hugeEnd = end & ~uintptr_t(kHugePageBytes - 1);
    if (hugeFirst < hugeEnd)
        madvise(reinterpret_cast<void *>(hugeFirst), hugeEnd - hugeFirst, MADV_HUGEPAGE);
#else
    (void)block;
    (void)used;
    (void)growth;
#endif
}

// The array's header is the start of the block that malloc or realloc returned.
void adviseBytes(QByteArray &bytes, qsizetype used, Growth growth)
{
    adviseBlock(bytes.data_ptr().d_ptr(), size_t(used), growth);
}

QByteArray placedBytes(qsizetype size, Growth growth)
{
    if (!getsHugePages(size_t(size)))
        return QByteArray(size, Qt::Uninitialized);
    // Advice comes before resize(), which writes the terminating zero.
    QByteArray bytes;
    bytes.reserve(qsizetype(mappedRequest(size_t(size)))); // reports exhaustion as Qt does
    adviseBytes(bytes, size, growth);
    bytes.resize(size);
    return bytes;
}

} // namespace

QByteArray hugePageBytes(qsizetype size)
{
    return placedBytes(size, Growth::None);
}

void resizeHugePageBytes(QByteArray &bytes, qsizetype size)
{
    const qsizetype capacity = bytes.capacity();
    // A block smaller than a placed one grew in the heap, or was made small: the array moves.
    if (size > capacity && getsHugePages(size_t(size)) && fitsSmallestMapping(size_t(capacity))) {
        QByteArray block = placedBytes(size, Growth::Expected);
        if (!bytes.isEmpty())
            std::memcpy(block.data(), bytes.constData(), size_t(bytes.size()));
        bytes = std::move(block);
        return;
    }
    bytes.resize(size);
    // Advice stays with a block; only a new block, after growth, needs it.
    if (bytes.capacity() != capacity)
        adviseBytes(bytes, size, Growth::Expected);
}

void resizeWithinBlock(QByteArray &bytes, qsizetype size)
{
#if defined(__linux__) && defined(__GLIBC__)
    // Only pages that lie wholly inside the bytes given up: the page after them may hold another
    // block's bytes.
    static const uintptr_t pageMask = uintptr_t(sysconf(_SC_PAGESIZE)) - 1;
    const uintptr_t start = uintptr_t(bytes.constData());
    const uintptr_t keptEnd = (start + size_t(size) + kHugePageBytes - 1) & ~uintptr_t(kHugePageBytes - 1);
    const uintptr_t usedEnd = (start + size_t(bytes.size())) & ~pageMask;
    if (size < bytes.size() && keptEnd < usedEnd)
        madvise(reinterpret_cast<void *>(keptEnd), usedEnd - keptEnd, MADV_DONTNEED);
#endif
    bytes.resize(size);
}

void *hugePageMalloc(size_t size)
{
    void *block = std::malloc(getsHugePages(size) ? mappedRequest(size) : size);
    adviseBlock(block, size, Growth::None);
    return block;
}

} // namespace Vardune::Qel
