// SPDX-License-Identifier: MIT

// The character classes of property-list text. The parser and the writer share one table, so that
// whatever is written bare can be read bare.
#ifndef KT_FOUNDATION_PROPERTYLISTTEXT_H
#define KT_FOUNDATION_PROPERTYLISTTEXT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kt::plist {

// How many containers a text may nest.
inline constexpr std::size_t nestingLimit = 512;

// The classes of a byte; a byte may be in several.
enum CharacterClass : std::uint8_t {
  writtenBare = 1,      // allowed in a string that is written without quotes
  readBare = 2,         // allowed in a string that is read without quotes
  blank = 4,            // white space between tokens and between the digits of data
  writtenAsItself = 8,  // needs no escape inside quotes
  readAsItself = 16,    // copied inside quotes: ASCII, not a quotation mark, not a backslash
  hexadecimalDigit = 32,
  beginsString = 64  // a bare character or a quotation mark
};

namespace characters {

constexpr bool isIn(std::string_view set, char character) {
  return set.find(character) != std::string_view::npos;
}

constexpr std::uint8_t classesOf(char character) {
  const bool letterOrDigit = (character >= 'a' && character <= 'z') ||
                             (character >= 'A' && character <= 'Z') ||
                             (character >= '0' && character <= '9');
  const bool printable = character >= ' ' && character <= '~';
  const bool ascii = (static_cast<unsigned char>(character) & 0x80) == 0;
  int classes = 0;
  if (letterOrDigit || isIn("_.", character)) classes |= writtenBare | readBare;
  if (isIn("$/:-", character)) classes |= readBare;
  if ((classes & readBare) != 0 || isIn("\"'", character)) classes |= beginsString;
  if (isIn(" \t\n\v\f\r", character)) classes |= blank;
  if (printable && !isIn("\"\\", character)) classes |= writtenAsItself;
  if (ascii && !isIn("\"'\\", character)) classes |= readAsItself;
  if (isIn("0123456789abcdefABCDEF", character)) classes |= hexadecimalDigit;
  return static_cast<std::uint8_t>(classes);
}

constexpr std::array<std::uint8_t, 256> makeTable() {
  std::array<std::uint8_t, 256> table{};
  for (std::size_t code = 0; code < table.size(); ++code) {
    table[code] = classesOf(static_cast<char>(code));
  }
  return table;
}

inline constexpr std::array<std::uint8_t, 256> table = makeTable();

}  // namespace characters

// Returns whether `character` is in one of `classes`.
[[nodiscard]] constexpr bool isA(unsigned classes, char character) noexcept {
  return (characters::table[static_cast<unsigned char>(character)] & classes) != 0;
}

// Returns how many bytes at the start of `text` are in one of `classes`.
[[nodiscard]] constexpr std::size_t runOf(unsigned classes, std::string_view text) noexcept {
  std::size_t count = 0;
  while (count < text.size() && isA(classes, text[count])) {
    ++count;
  }
  return count;
}

// Returns the value of a hexadecimal digit.
[[nodiscard]] constexpr unsigned hexadecimalValue(char digit) noexcept {
  const unsigned code = static_cast<unsigned char>(digit);
  return (code & 15) + (code >> 6) * 9;  // letters have bit 6, and 1 to 6 in the low bits
}

}  // namespace kt::plist

#endif
