// SPDX-License-Identifier: MIT

// thrownBy: the message of the exception that a call throws, as a text to compare.
#ifndef KT_TESTS_BIGINT_THROWN_H
#define KT_TESTS_BIGINT_THROWN_H

#include <exception>
#include <string>

namespace kt::test {

// Returns the message of the `Error` that call() throws, or a text that says what happened instead.
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
