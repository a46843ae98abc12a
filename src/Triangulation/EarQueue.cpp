// A binary heap of ear candidates with lazy invalidation: every change of a corner's state files a
// new entry with a new stamp, and entries whose stamp is old, or whose corner was cut off or is no
// longer an ear, are dropped when they reach the top. The heap holds at most the n initial entries
// plus two per cut, so choosing every ear costs O(n log n) in all instead of a scan per cut.
//
// It chooses what the scan chooses: an ear has cross > 0, which a NaN or infinite direction cannot
// give (any NaN component makes the cross product NaN), so its cosAngle is finite and the key
// (cosAngle descending, corner ascending) is a strict total order over the ears. Equal cosines,
// -0 and +0 included, tie as they do in the scan's strict comparison.

#include "EarQueue.h"

#include <algorithm>

namespace Vardune::Qel {

namespace {

struct LessSharp
{
    template<typename Entry>
    bool operator()(const Entry &a, const Entry &b) const
    {
        return a.cosAngle < b.cosAngle || (a.cosAngle == b.cosAngle && a.corner > b.corner);
    }
};

} // namespace

void EarQueue::reset(int count)
{
    _heap.clear();
    _heap.reserve(3 * size_t(count));
    _stamps.assign(size_t(count), 0);
}

void EarQueue::update(int corner, const EarVertex *ring)
{
    const unsigned int stamp = ++_stamps[size_t(corner)];
    if (!ring[corner].isEar)
        return;
    _heap.push_back({ ring[corner].cosAngle, corner, stamp });
    std::push_heap(_heap.begin(), _heap.end(), LessSharp());
}

int EarQueue::sharpestEar(const EarVertex *ring)
{
    while (!_heap.empty()) {
        const Entry &top = _heap.front();
        const EarVertex &vertex = ring[top.corner];
        if (top.stamp == _stamps[size_t(top.corner)] && vertex.active && vertex.isEar)
            return top.corner;
        std::pop_heap(_heap.begin(), _heap.end(), LessSharp());
        _heap.pop_back();
    }
    return -1;
}

} // namespace Vardune::Qel
