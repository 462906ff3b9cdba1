// SPDX-License-Identifier: MIT

// The debug log: one switch for the whole process and the function through which everything writes
// its diagnostic lines. The switch is off at first and stays as it was set. Set it while the
// program starts, before there are other threads, for it is read without a lock; after that any
// thread may log, and every line comes out whole.
#ifndef KT_DIAGNOSTICS_KTDEBUG_H
#define KT_DIAGNOSTICS_KTDEBUG_H

#include <string_view>
#include <type_traits>

#include "kt/foundation/Format.h"
#include "kt/foundation/LogLine.h"

// The switch: 0 is off, anything else is on. May be read and set directly.
extern "C" [[gnu::visibility("default")]] unsigned char debug;

namespace kt {

// How an argument reaches writeDebugLine. Numbers and pointers go by value: a reference would keep
// the caller's variable in memory, and cost it a store, while the switch is off too.
template <typename T>
using DebugParameter = std::conditional_t<std::is_scalar_v<T>, std::remove_cv_t<T>, const T &>;

// What KtDebug does when the switch is on. Kept out of the calling functions, and out of the way of
// their code.
template <typename... Arguments>
[[gnu::cold, gnu::noinline]] void writeDebugLine(std::string_view format,
                                                 DebugParameter<Arguments>... arguments) {
  writeLogLine(kt::format(format, arguments...));
}

}  // namespace kt

// Writes one line to the log (kt/foundation/LogLine.h) if the switch is on. Placeholders and
// arguments are those of kt/foundation/Format.h; percent signs inside arguments are printed as they
// stand. While the switch is off a call costs one test of one byte: nothing is formatted or
// allocated, and the arguments, bad ones too, are not looked at.
//
//     KtDebug("Bound to port %d", port);
template <typename... Arguments>
inline void KtDebug(std::string_view format, const Arguments &...arguments) {
  if (debug) [[unlikely]] {
    kt::writeDebugLine<Arguments...>(format, arguments...);
  }
}

// Sets the switch to `enabled`, as it is.
extern "C" [[gnu::visibility("default")]] void KtSetDebugEnabled(unsigned char enabled);

// Sets the switch to 1 or 0 by the user default `KtDebugEnabled` (kt/foundation/UserDefaults.h),
// off where the user chose nothing. Later changes of the default count when it is called again.
extern "C" [[gnu::visibility("default")]] void KtAutoSetDebug(void);

#endif
