#pragma once

#include <cstdint>

namespace Vardune::Qel {

// One indirect indexed draw, laid out as OpenGL reads it from a GL_DRAW_INDIRECT_BUFFER.
struct DrawElementsIndirectCommand
{
    uint32_t count = 0;
    uint32_t instanceCount = 0;
    uint32_t firstIndex = 0;
    int32_t baseVertex = 0;
    uint32_t baseInstance = 0;

    friend bool operator==(const DrawElementsIndirectCommand &a, const DrawElementsIndirectCommand &b)
    {
        return a.count == b.count && a.instanceCount == b.instanceCount && a.firstIndex == b.firstIndex
            && a.baseVertex == b.baseVertex && a.baseInstance == b.baseInstance;
    }
    friend bool operator!=(const DrawElementsIndirectCommand &a, const DrawElementsIndirectCommand &b)
    {
        return !(a == b);
    }
};

static_assert(sizeof(DrawElementsIndirectCommand) == 20, "OpenGL reads five packed 32-bit fields");

} // namespace Vardune::Qel
