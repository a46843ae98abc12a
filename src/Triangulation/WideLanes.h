#pragma once

// Eight-lane steps for processors with AVX: the files named *Wide.cpp compile their lane
// templates for AVX (WideLanePack.h) and are called only where WideLanesAvailable() says the
// processor runs them. Internal; not installed.

#if defined(__x86_64__) && defined(__GNUC__)
// The eight-lane copies are built for this target.
#define QEL_HAS_WIDE_LANES 1

// Around the code of a *Wide.cpp file: what the compiler builds in between may use AVX (and no
// FMA, whose fused products would round differently). Headers with functions of external
// linkage, the C++ library's included, go before the start.
#if defined(__clang__)
#define QEL_WIDE_LANES_BEGIN _Pragma("clang attribute push(__attribute__((target(\"avx\"))), apply_to = function)")
#define QEL_WIDE_LANES_END _Pragma("clang attribute pop")
#else
#define QEL_WIDE_LANES_BEGIN _Pragma("GCC push_options") _Pragma("GCC target(\"avx\")")
#define QEL_WIDE_LANES_END _Pragma("GCC pop_options")
#endif

namespace Vardune::Qel {

// Lanes of the AVX steps.
constexpr int kWideLanes = 8;

// Whether the processor runs the AVX steps: it has AVX, and the system keeps its registers.
bool WideLanesAvailable();

} // namespace Vardune::Qel
#endif
