// SPDX-License-Identifier: MIT

// What a call throws, as a text to compare. For the thread of a test.
#ifndef KT_TESTS_BIGINT_THROWN_H
#define KT_TESTS_BIGINT_THROWN_H

#include <exception>
#include <string>

namespace kt::test {

// The message of the `Error` that call() throws, or what happened instead.
template <typename Error, typename Call>
std::string thrownBy(Call call) {
  try {
    call();
    return "nothing was thrown";
  } catch (const Error &error) {
    return error.what();
  } catch (const std::exception &error) {
    return std::string("another exception: ") + error.what();
  }
}

}  // namespace kt::test

#endif
