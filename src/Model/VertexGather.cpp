// Vertex gather: one block copy per chosen vertex, from anywhere in the source to the next
// place in the target. The usual vertex sizes get loops with a fixed copy size, which the
// compiler turns into plain loads and stores instead of a library call per vertex. A weld's
// survivors are packed within their own stream, which spares a second stream and its first touch.

#include "VertexGather.h"

#include <cstring>

namespace Vardune::Qel {

namespace {

template<size_t VertexBytes>
void gatherFixed(unsigned char *target, const unsigned char *source, const unsigned int *order, size_t count)
{
    for (size_t v = 0; v < count; ++v)
        std::memcpy(target + v * VertexBytes, source + size_t(order[v]) * VertexBytes, VertexBytes);
}

} // namespace

void gatherVertices(void *target, const void *source, size_t vertexBytes, const unsigned int *order, size_t count)
{
    auto *to = static_cast<unsigned char *>(target);
    const auto *from = static_cast<const unsigned char *>(source);
    switch (vertexBytes) {
    case 4:
        return gatherFixed<4>(to, from, order, count);
    case 8:
        return gatherFixed<8>(to, from, order, count);
    case 12:
        return gatherFixed<12>(to, from, order, count);
    case 16:
        return gatherFixed<16>(to, from, order, count);
    default:
        for (size_t v = 0; v < count; ++v)
            std::memcpy(to + v * vertexBytes, from + size_t(order[v]) * vertexBytes, vertexBytes);
    }
}

void compactVertices(void *data, size_t vertexBytes, const unsigned int *survivors, size_t count)
{
    // Vertices before the first that moves stay in place. From there on every survivor lies past
    // its new place and past every place written before it, so each copy reads bytes that no
    // earlier copy overwrote, and never overlaps its own target.
    size_t first = 0;
    while (first < count && survivors[first] == first)
        ++first;
    auto *bytes = static_cast<unsigned char *>(data);
    gatherVertices(bytes + first * vertexBytes, bytes, vertexBytes, survivors + first, count - first);
}

} // namespace Vardune::Qel
