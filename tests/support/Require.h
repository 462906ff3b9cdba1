// SPDX-License-Identifier: MIT

// Conditions without which a program cannot go on, for programs that are not GoogleTest programs.
#ifndef KT_TESTS_SUPPORT_REQUIRE_H
#define KT_TESTS_SUPPORT_REQUIRE_H

#include <cstdio>
#include <cstdlib>

namespace kt::test {

// Ends the program unless `condition` holds, with `what` and the system's reason on standard error.
inline void require(bool condition, const char *what) {
  if (condition) return;
  std::perror(what);
  std::exit(2);
}

// Aborts unless `condition` holds. Fuzzers report the input that led there.
inline void require(bool condition) {
  if (!condition) std::abort();
}

}  // namespace kt::test

#endif
