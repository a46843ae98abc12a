#pragma once

#include <QByteArray>

#include <cstddef>

namespace Vardune::Qel {

// Memory for large arrays that are about to be written, placed so that the system can back it
// with huge pages: one page fault per 2 MiB instead of one per 4 KiB, which is most of the cost
// of filling fresh memory.
//
// A huge page needs its whole 2 MiB range inside one mapping and untouched, and advice applies
// to new pages only. So an array from 256 KiB on gets a mapping of its own, aligned to a huge
// page and advised before its first write; a small one gets at least more than the C library's
// largest mapping threshold (32 MiB), of which the part it does not write is never touched and
// costs no memory. An array grows by remapping. Small arrays and systems without transparent
// huge pages are left alone.

// The smallest array placed for huge pages: below it, its small page faults cost less than
// making a huge page for it.
constexpr size_t kSmallestHugePageArrayBytes = size_t(256) << 10;

// `size` uninitialised bytes.
QByteArray hugePageBytes(qsizetype size);

// QByteArray::resize() for a growing array: new bytes are uninitialised, and an array that
// grows out of a small block moves to a block placed as above.
void resizeHugePageBytes(QByteArray &bytes, qsizetype size);

// malloc() placed as above; free the block with free().
void *hugePageMalloc(size_t size);

// QByteArray::resize() to a size within the array's capacity, which keeps its block. When it
// shrinks, the whole huge pages after the new end are handed back to the system, so that the
// block holds no more memory than a fresh one of the new size would.
void resizeWithinBlock(QByteArray &bytes, qsizetype size);

} // namespace Vardune::Qel
