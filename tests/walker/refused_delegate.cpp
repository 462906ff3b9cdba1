// SPDX-License-Identifier: MIT

// Delegates that a walker refuses: compiles only if no case is defined.
#include "kt/walker/_KtWalker.h"

#ifdef Misspelt
struct Delegate {
  bool filefound(const std::string &) { return true; }
};
#elif defined(WrongResult)
struct Delegate {
  void fileFound(const std::string &) {}
};
#elif defined(Lambda)
const auto lambda = [](const std::string &) { return true; };
using Delegate = decltype(lambda);
#else
struct Delegate {
  bool fileFound(const std::string &) { return true; }
};
#endif

void use(_KtWalker &walker, Delegate &delegate) {
  walker.setDelegate(&delegate);
}
