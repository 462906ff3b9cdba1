// SPDX-License-Identifier: MIT

// Prints the primes of the form 2^p - 1 up to 2^127, found by the Lucas-Lehmer test.
#include <iostream>

#include "kt/bigint/Integer.h"

int main() {
  for (int p = 3; p <= 127; p += 2) {
    const kt::Integer candidate = kt::pow(2, p) - 1;
    kt::Integer rest = 4;
    for (int i = 2; i < p; ++i) {
      rest = (rest * rest - 2) % candidate;
    }
    if (rest == 0) std::cout << "2^" << p << " - 1 = " << candidate << '\n';
  }
}
