// SPDX-License-Identifier: MIT

// The debug log: one switch for the whole process, off at first, and one function that writes
// diagnostic lines. Set the switch before other threads start: it is read without a lock. After
// that any thread may log, and every line is written whole.
#ifndef KT_DIAGNOSTICS_KTDEBUG_H
#define KT_DIAGNOSTICS_KTDEBUG_H

#include <string_view>
#include <type_traits>

#include "kt/foundation/Format.h"
#include "kt/foundation/LogLine.h"

// The switch: 0 is off, any other value is on. Programs may read and set it directly.
extern "C" unsigned char debug;

namespace kt {

// The parameter type of writeDebugLine for an argument. Numbers and pointers are passed by value: a
// reference would force the caller's variable into memory even while the switch is off.
template <typename T>
using DebugParameter = std::conditional_t<std::is_scalar_v<T>, std::remove_cv_t<T>, const T &>;

// Writes the line when the switch is on. Out of line and cold, so that a disabled call costs its
// caller one test and little code.
template <typename... Arguments>
[[gnu::cold, gnu::noinline]] void writeDebugLine(std::string_view format,
                                                 DebugParameter<Arguments>... arguments) {
  writeLogLine(kt::format(format, arguments...));
}

}  // namespace kt

// Writes one line to the log (kt/foundation/LogLine.h) if the switch is on. Placeholders and
// arguments are those of kt/foundation/Format.h. Percent signs inside arguments are printed
// unchanged. While the switch is off, a call costs one test of one byte: it formats and allocates
// nothing and does not read its arguments, whether or not they match the format.
//
//     KtDebug("Bound to port %d", port);
template <typename... Arguments>
inline void KtDebug(std::string_view format, const Arguments &...arguments) {
  if (debug != 0) [[unlikely]] {
    kt::writeDebugLine<Arguments...>(format, arguments...);
  }
}

// Sets the switch to `enabled`.
extern "C" void KtSetDebugEnabled(unsigned char enabled);

// Sets the switch to 1 if the user default `KtDebugEnabled` means yes
// (kt/foundation/UserDefaults.h), else to 0. A later change of the default has no effect until the
// next call.
extern "C" void KtAutoSetDebug(void);

#endif
