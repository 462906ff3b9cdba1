// SPDX-License-Identifier: MIT

// What the reader and the writer of property-list text share: what each byte may be in it. One
// table, so that what is written bare can be read bare.
#ifndef KT_FOUNDATION_PROPERTYLISTTEXT_H
#define KT_FOUNDATION_PROPERTYLISTTEXT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kt {

// The most containers that a text may nest in each other.
inline constexpr std::size_t nestingLimit = 512;

// What a byte may be; a byte may be several of them.
enum CharacterClass : std::uint8_t {
  writtenBare = 1,      // may stand in a string that is written without quotes
  readBare = 2,         // may stand in a string that is read without quotes
  blank = 4,            // white space between tokens and between the digits of data
  writtenAsItself = 8,  // needs no escape inside quotes
  readAsItself = 16,    // inside quotes neither ends the string nor is to be looked at
  hexadecimalDigit = 32,
  beginsString = 64  // as a bare character or a quotation mark
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

// Whether `character` is in one of `classes`.
[[nodiscard]] constexpr bool isA(unsigned classes, char character) noexcept {
  return (characters::table[static_cast<unsigned char>(character)] & classes) != 0;
}

// How many bytes at the front of `text` are in one of `classes`.
[[nodiscard]] constexpr std::size_t runOf(unsigned classes, std::string_view text) noexcept {
  std::size_t count = 0;
  while (count < text.size() && isA(classes, text[count])) {
    ++count;
  }
  return count;
}

// The value of a hexadecimal digit.
[[nodiscard]] constexpr unsigned hexadecimalValue(char digit) noexcept {
  const unsigned code = static_cast<unsigned char>(digit);
  return (code & 15) + (code >> 6) * 9;  // letters have bit 6, and 1 to 6 in the low bits
}

}  // namespace kt

#endif
