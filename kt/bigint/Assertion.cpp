// SPDX-License-Identifier: MIT

#include "kt/bigint/Assertion.h"

#include <cstdio>
#include <cstdlib>

namespace kt::bigint {

void failAssertion(const Place &place) {
  std::fprintf(stderr, "%s:%u: failed assertion `%s'\n", place.unit, place.line, place.condition);
  std::fflush(stderr);
  std::abort();
}

}  // namespace kt::bigint
