#pragma once

// The order in which ear clipping cuts ears: sharpest first (largest cosAngle), ties to the lowest
// corner number, exactly as a scan of the whole ring would choose. Internal; not installed.

#include "PolygonTriangulation.h"

#include <vector>

namespace Vardune::Qel {

class EarQueue
{
public:
    // Empties the queue for a ring of `count` corners, keeping the buffers' capacity.
    void reset(int count);
    // Files ring[corner] after UpdateEarState changed it; any earlier entry of it turns stale.
    void update(int corner, const EarVertex *ring);
    // The sharpest active ear, or -1 when there is none.
    int sharpestEar(const EarVertex *ring);

private:
    struct Entry
    {
        float cosAngle;
        int corner;
        unsigned int stamp;
    };

    std::vector<Entry> _heap;
    // The stamp of each corner's newest entry; older entries are stale.
    std::vector<unsigned int> _stamps;
};

} // namespace Vardune::Qel
