// SPDX-License-Identifier: MIT

// The assertions of the contract of the _KtInt functions. They are checked in every build type. An
// assertion is named by the unit, line and condition that the contract gives it, not by its place
// in these sources.
#ifndef KT_BIGINT_ASSERTION_H
#define KT_BIGINT_ASSERTION_H

namespace kt::bigint {

// The name of an assertion.
struct Place {
  const char *unit;
  unsigned line;
  const char *condition;
};

// Writes ``unit:line: failed assertion `condition''' to standard error, flushes it and aborts.
[[noreturn, gnu::cold]] void failAssertion(const Place &place);

// Fails the assertion unless `holds`.
inline void require(bool holds, const Place &place) {
  if (!holds) [[unlikely]] {
    failAssertion(place);
  }
}

}  // namespace kt::bigint

#endif
