// SPDX-License-Identifier: MIT

// UTF-8, one character at a time. Plain functions over their arguments; any thread may call them.
#ifndef KT_FOUNDATION_UTF8_H
#define KT_FOUNDATION_UTF8_H

#include <cstddef>
#include <string>
#include <string_view>

#pragma GCC visibility push(default)

namespace kt {

// What stands for text that cannot be read: U+FFFD.
inline constexpr char32_t replacementCharacter = 0xFFFD;

struct Utf8Character {
  char32_t codePoint;     // U+FFFD for what is ill-formed
  std::size_t byteCount;  // bytes taken from the text, 1 to 4
  bool wellFormed;
};

// The character at the front of `text`, which is not empty. Of an ill-formed sequence it takes the
// longest part that could begin a character, at least one byte, as Unicode recommends: E2 82 and C0
// before other bytes are one ill-formed part each, ED A0 80 are three.
[[nodiscard]] Utf8Character firstUtf8Character(std::string_view text) noexcept;

// Appends the character: one to four bytes. Requires: a code point up to 0x10FFFF that is no
// surrogate.
void appendUtf8(std::string &text, char32_t codePoint);

}  // namespace kt

#pragma GCC visibility pop

#endif
