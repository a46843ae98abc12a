#pragma once

#include <cstddef>

namespace Vardune::Qel {

// Asks the system to back the large buffer [data, data + bytes) with huge pages, before it is
// first written: one page fault per 2 MiB instead of per 4 KiB, which is most of the cost of
// filling fresh memory. Only the whole pages inside the range are concerned; small buffers and
// systems without transparent huge pages are left alone.
void adviseHugePages(void *data, size_t bytes);

} // namespace Vardune::Qel
