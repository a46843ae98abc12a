#pragma once

// Eight-lane steps for processors with AVX: the files named *Wide.cpp compile their lane
// templates for AVX (WideLanePack.h) and are called only where WideLanesAvailable() says the
// processor runs them. Internal; not installed.

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
// The eight-lane copies are built for this target.
#define QEL_HAS_WIDE_LANES 1

namespace Vardune::Qel {

// Lanes of the AVX steps.
constexpr int kWideLanes = 8;

// Whether the processor runs the AVX steps: it has AVX, and the system keeps its registers.
bool WideLanesAvailable();

} // namespace Vardune::Qel
#endif
