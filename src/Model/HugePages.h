#pragma once

#include <QByteArray>

namespace Vardune::Qel {

// Asks the system to back the storage of a large byte array with huge pages: one page fault
// per 2 MiB instead of per 4 KiB, which is most of the cost of filling fresh memory. Advice
// applies to new pages, so it is best given before the first write, and again after growth.
//
// A block the C library mapped on its own is advised as a whole: advice on part of a mapping
// splits it in two, and the C library can then no longer grow the block by remapping its pages,
// so every growth would copy it. Of a block inside a heap, which is never remapped, the whole
// huge pages it spans are advised. Small arrays and systems without transparent huge pages are
// left alone.
void adviseHugePages(QByteArray &bytes);

// The same for a block that malloc returned, given by the pointer malloc returned.
void adviseHugePagesOfBlock(void *block);

} // namespace Vardune::Qel
