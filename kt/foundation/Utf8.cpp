// SPDX-License-Identifier: MIT

#include "kt/foundation/Utf8.h"

namespace kt {
namespace {

// The sequence that a lead byte begins. The bounds of the second byte exclude overlong forms,
// surrogates and code points > U+10FFFF; later bytes are 80 to BF (Unicode, table 3-7).
struct Sequence {
  std::size_t byteCount;  // 0 if the byte cannot begin a character
  unsigned char secondLow;
  unsigned char secondHigh;
};

constexpr Sequence sequenceOf(unsigned char lead) {
  if (lead < 0x80) return {1, 0, 0};
  if (lead < 0xC2) return {0, 0, 0};
  if (lead < 0xE0) return {2, 0x80, 0xBF};
  if (lead == 0xE0) return {3, 0xA0, 0xBF};
  if (lead == 0xED) return {3, 0x80, 0x9F};
  if (lead < 0xF0) return {3, 0x80, 0xBF};
  if (lead == 0xF0) return {4, 0x90, 0xBF};
  if (lead < 0xF4) return {4, 0x80, 0xBF};
  if (lead == 0xF4) return {4, 0x80, 0x8F};
  return {0, 0, 0};
}

constexpr char continuationByte(char32_t bits) {
  return static_cast<char>(0x80 | (bits & 0x3F));
}

}  // namespace

Utf8Character firstUtf8Character(std::string_view text) noexcept {
  const auto lead = static_cast<unsigned char>(text.front());
  const Sequence sequence = sequenceOf(lead);
  if (sequence.byteCount == 0) return {replacementCharacter, 1, false};
  if (sequence.byteCount == 1) return {lead, 1, true};
  char32_t codePoint = lead & (0x7Fu >> sequence.byteCount);
  for (std::size_t position = 1; position < sequence.byteCount; ++position) {
    if (position == text.size()) return {replacementCharacter, position, false};
    const auto byte = static_cast<unsigned char>(text[position]);
    const unsigned char low = position == 1 ? sequence.secondLow : 0x80;
    const unsigned char high = position == 1 ? sequence.secondHigh : 0xBF;
    if (byte < low || byte > high) return {replacementCharacter, position, false};
    codePoint = (codePoint << 6) | (byte & 0x3F);
  }
  return {codePoint, sequence.byteCount, true};
}

void appendUtf8(std::string &text, char32_t codePoint) {
  if (codePoint < 0x80) {
    text += static_cast<char>(codePoint);
  } else if (codePoint < 0x800) {
    text += static_cast<char>(0xC0 | (codePoint >> 6));
    text += continuationByte(codePoint);
  } else if (codePoint < 0x10000) {
    text += static_cast<char>(0xE0 | (codePoint >> 12));
    text += continuationByte(codePoint >> 6);
    text += continuationByte(codePoint);
  } else {
    text += static_cast<char>(0xF0 | (codePoint >> 18));
    text += continuationByte(codePoint >> 12);
    text += continuationByte(codePoint >> 6);
    text += continuationByte(codePoint);
  }
}

}  // namespace kt
