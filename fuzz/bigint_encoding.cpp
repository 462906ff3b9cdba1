// SPDX-License-Identifier: MIT

// Decodes any text in any alphabet and compares the value with the plain model's. The value,
// written again, has only digits of the alphabet and reads back as the same value. Nothing is
// written after its NUL.
//
// The input is one byte for the number of the alphabet's characters, these characters, and the
// text.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "kt/bigint.h"
#include "tests/bigint/Records.h"
#include "tests/bigint/model/Model.h"
#include "tests/support/Require.h"

namespace kt::test {
namespace {

constexpr std::size_t longestForModel = 3000;  // digits; the model's time grows with their square

// Returns the distinct characters that can be digits, without NUL and '-'; decimal if fewer than
// two.
std::string alphabetOf(const std::string &characters) {
  std::string alphabet;
  for (const char character : characters) {
    if (character != '\0' && character != '-' && alphabet.find(character) == std::string::npos) {
      alphabet += character;
    }
  }
  return alphabet.size() < 2 ? _KTINT_DEC_VECTOR : alphabet;
}

// Requires the model to decode the text to the same value, within the capacity that it allows.
void checkAgainstModel(const Record &value, const std::string &text, const std::string &alphabet) {
  if (text.size() > longestForModel) return;
  model::Int plain = model::alloc(-1);
  model::decode(text, &plain, alphabet);
  require(plain.length == value->length && plain.negative == value->negative);
  require(std::equal(value->digits, value->digits + value->length, plain.digits.begin()));
  require(value->length <= value->capacity && value->capacity <= plain.capacity);
}

// Returns the value as text, and requires that nothing is written after its NUL.
std::string written(const Record &value, const std::string &alphabet) {
  std::string text = encoded(value.get(), alphabet);
  std::string exact(text.size() + 9, '\x7E');
  _KtIntEncode(value.get(), exact.data(), alphabet.c_str());
  require(exact == text + '\0' + std::string(8, '\x7E'));
  return text;
}

// Requires digits of the alphabet only, the sign of the value, and no leading zero.
void checkDigits(const Record &value, const std::string &text, const std::string &alphabet) {
  const std::size_t start = value->negative ? 1 : 0;
  require(text.find_first_not_of(alphabet, start) == std::string::npos);
  require((text[0] == '-') == (value->negative != 0));
  require(text.size() > start && (text.size() == 1 || text[start] != alphabet[0]));
}

}  // namespace
}  // namespace kt::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
  using namespace kt::test;
  if (size == 0) return 0;
  const std::string input(bytes + 1, bytes + size);
  const std::size_t alphabetSize = std::min<std::size_t>(bytes[0], input.size());
  const std::string alphabet = alphabetOf(input.substr(0, alphabetSize));
  const std::string rest = input.substr(alphabetSize);
  const std::string text = rest.substr(0, rest.find('\0'));

  const Record value = number(-1);
  _KtIntDecode(text.c_str(), value.get(), alphabet.c_str());
  checkAgainstModel(value, text, alphabet);
  const std::string again = written(value, alphabet);
  checkDigits(value, again, alphabet);
  const Record back = number(1);
  _KtIntDecode(again.c_str(), back.get(), alphabet.c_str());
  require(valueOf(back) == valueOf(value));
  return 0;
}
