// SPDX-License-Identifier: MIT

// UTF-8, one character at a time. Any thread may call these functions; they have no state.
#ifndef KT_FOUNDATION_UTF8_H
#define KT_FOUNDATION_UTF8_H

#include <cstddef>
#include <string>
#include <string_view>

namespace kt {

// The character that replaces ill-formed text: U+FFFD.
inline constexpr char32_t replacementCharacter = 0xFFFD;

struct Utf8Character {
  char32_t codePoint;     // U+FFFD if it is ill-formed
  std::size_t byteCount;  // its bytes in the text, 1 to 4
  bool wellFormed;
};

// Returns the first character of `text`. As Unicode recommends, an ill-formed part is the longest
// prefix that could begin a character, or else a single byte: E2 82 without a third byte is one
// part, C0 is one part, and ED A0 80 is three parts. Requires: !text.empty().
[[nodiscard]] Utf8Character firstUtf8Character(std::string_view text) noexcept;

// Appends the character, one to four bytes. Requires: codePoint <= 0x10FFFF, not a surrogate.
void appendUtf8(std::string &text, char32_t codePoint);

}  // namespace kt

#endif
