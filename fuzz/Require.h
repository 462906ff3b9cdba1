// SPDX-License-Identifier: MIT

// require: how a fuzzer states a property of its input.
#ifndef KT_FUZZ_REQUIRE_H
#define KT_FUZZ_REQUIRE_H

#include <cstdlib>

namespace kt::test {

// Aborts if the condition is false, so that the fuzzer reports the input.
inline void require(bool condition) {
  if (!condition) std::abort();
}

}  // namespace kt::test

#endif
