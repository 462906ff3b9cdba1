// SPDX-License-Identifier: MIT

// Any text in any alphabet reads as the value that the plain model reads; what is written of it has
// digits of the alphabet only, ends with a NUL behind which nothing is touched, and reads back as
// the same value.
//
// The input: how many characters the alphabet has, its characters, the text.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "kt/bigint.h"
#include "tests/bigint/Records.h"
#include "tests/bigint/model/Model.h"

namespace {

using namespace kt::test;

constexpr std::size_t longestForModel = 3000;  // digits; a plain decode takes the square of it

void require(bool condition) {
  if (!condition) std::abort();
}

// The characters that can be digits, each once: neither a NUL nor a sign. Without two, decimal.
std::string alphabetOf(const std::string &characters) {
  std::string alphabet;
  for (const char character : characters) {
    if (character != '\0' && character != '-' && alphabet.find(character) == std::string::npos) {
      alphabet += character;
    }
  }
  return alphabet.size() < 2 ? _KTINT_DEC_VECTOR : alphabet;
}

void checkAgainstModel(const Record &value, const std::string &text, const std::string &alphabet) {
  if (text.size() > longestForModel) return;
  model::Int plain = model::alloc(-1);
  model::decode(text, &plain, alphabet);
  require(plain.length == value->length && plain.negative == value->negative);
  require(std::equal(value->digits, value->digits + value->length, plain.digits.begin()));
  require(value->length <= value->capacity && value->capacity <= plain.capacity);
}

// What is written, in a block that is as long as it has to be.
std::string written(const Record &value, const std::string &alphabet) {
  std::string text = encoded(value.get(), alphabet);
  std::string exact(text.size() + 9, '\x7E');
  _KtIntEncode(value.get(), exact.data(), alphabet.c_str());
  require(exact == text + '\0' + std::string(8, '\x7E'));
  return text;
}

void checkDigits(const Record &value, const std::string &text, const std::string &alphabet) {
  const std::size_t start = value->negative ? 1 : 0;
  require(text.find_first_not_of(alphabet, start) == std::string::npos);
  require((text[0] == '-') == (value->negative != 0));
  require(text.size() > start && (text.size() == 1 || text[start] != alphabet[0]));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
  if (size == 0) return 0;
  const std::string input(bytes + 1, bytes + size);
  const std::size_t alphabetSize = std::min<std::size_t>(bytes[0], input.size());
  const std::string alphabet = alphabetOf(input.substr(0, alphabetSize));
  const std::string behind = input.substr(alphabetSize);
  const std::string text = behind.substr(0, behind.find('\0'));

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
