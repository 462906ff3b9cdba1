// SPDX-License-Identifier: MIT

// The assertions of this folder's contract: a condition that does not hold writes one line to
// standard error and aborts, whatever the build type. Unit, line and text are those by which the
// contract names the condition; where it stands in our sources does not matter.
#ifndef KT_BIGINT_ASSERTION_H
#define KT_BIGINT_ASSERTION_H

namespace kt::bigint {

// The place that an assertion names.
struct Place {
  const char *unit;
  unsigned line;
  const char *condition;
};

// Writes ``unit:line: failed assertion `condition''' to standard error, flushes it and aborts.
[[noreturn, gnu::cold]] void failAssertion(const Place &place);

inline void require(bool holds, const Place &place) {
  if (!holds) [[unlikely]] {
    failAssertion(place);
  }
}

}  // namespace kt::bigint

#endif
