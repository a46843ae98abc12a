#pragma once

#include "qelmodel_export.h"

namespace Vardune::Qel {

// The logging switch: on unless QEL_ENABLE_LOGGING is set to an empty value, "0" or "false"
// (any letter case). Read from the environment once, at the first call, and kept.
QELMODEL_EXPORT bool isLoggingEnabled();

// Reports a failed internal expectation at critical level while the logging switch is on:
//   [File.cpp:LINE] [ !! ] Assertion 'EXPRESSION' failed: DETAIL
// `file` is reduced to what follows its last "/", every "%" of the expression is shown as
// "\%", and `detailFormat` is a printf format of the values that follow. The caller carries
// on as if the expectation had held.
QELMODEL_EXPORT void reportAssertionFailure(const char *expression, const char *file, int line,
                                            const char *detailFormat, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 4, 5)))
#endif
    ;

} // namespace Vardune::Qel

// Checks CONDITION and reports it as failed under the stable check number LINE, which the
// report shows in place of a line number so that messages stay the same as the code moves.
#define QEL_CHECK(condition, line, ...)                                                                 \
    do {                                                                                               \
        if (!(condition))                                                                              \
            ::Vardune::Qel::reportAssertionFailure(#condition, __FILE__, line, __VA_ARGS__);           \
    } while (false)
