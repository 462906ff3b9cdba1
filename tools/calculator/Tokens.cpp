// SPDX-License-Identifier: MIT

#include "tools/calculator/Tokens.h"

#include <algorithm>

#include "kt/foundation/Utf8.h"

namespace kt::tools {

namespace {

constexpr std::string_view blanks = " \t\r\n";

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

bool isLetterOrDigit(char character) {
  return isDigit(character) || (character >= 'a' && character <= 'z') ||
         (character >= 'A' && character <= 'Z');
}

std::size_t wordSize(std::string_view text) {
  const auto *const end = std::ranges::find_if_not(text, isLetterOrDigit);
  return static_cast<std::size_t>(end - text.begin());
}

// Returns the first token of `rest`. Requires: rest is not empty and does not begin with a blank.
Token firstOf(std::string_view rest, std::size_t offset) {
  using Kind = Token::Kind;
  if (const std::size_t size = wordSize(rest)) {
    return {isDigit(rest.front()) ? Kind::number : Kind::name, rest.substr(0, size), offset};
  }
  const bool isPair = rest.starts_with("<<") || rest.starts_with(">>");
  const std::size_t size = isPair ? 2 : firstUtf8Character(rest).byteCount;
  return {Kind::symbol, rest.substr(0, size), offset};
}

}  // namespace

void Tokens::advance() {
  offset_ = std::min(expression_.find_first_not_of(blanks, offset_), expression_.size());
  const std::string_view rest = expression_.substr(offset_);
  next_ = rest.empty() ? Token{Token::Kind::end, rest, offset_} : firstOf(rest, offset_);
  offset_ += next_.text.size();
}

}  // namespace kt::tools
