// SPDX-License-Identifier: MIT

// Runs the input as a program on four records of the library and of the plain model, and requires
// every field of both to be equal after each instruction.
//
// An instruction is one byte for the operation, one byte for its records, two bits each, and:
// - for a load, the number of words, the length of their period, and the words of one period;
// - for a conversion, the size of the alphabet, the size of the text, and the text;
// - for any other function, a number of four bytes.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/bigint/Twins.h"

namespace kt::test {
namespace {

constexpr int maxInstructions = 100;         // the model takes milliseconds for a long division
constexpr std::int64_t longestEncoded = 12;  // words; the model divides once for each digit
constexpr std::int32_t largestExponent = 64;

// The rest of the input. Reads as zeros past its end.
class Program {
 public:
  Program(const std::uint8_t *bytes, std::size_t size) : next_(bytes), end_(bytes + size) {}

  [[nodiscard]] bool ended() const { return next_ == end_; }
  std::uint8_t byte() { return ended() ? std::uint8_t{0} : *next_++; }
  std::uint16_t word() {
    const unsigned low = byte();
    return static_cast<std::uint16_t>(low | unsigned{byte()} << 8);
  }
  std::int32_t number() {
    const std::uint32_t low = word();
    return static_cast<std::int32_t>(low | std::uint32_t{word()} << 16);
  }
  std::string text() {
    std::string text(byte(), '0');
    for (char &character : text) {
      character = static_cast<char>(byte());
    }
    return text;
  }

 private:
  const std::uint8_t *next_;
  const std::uint8_t *end_;
};

// Returns 2 to 71 characters in the order of ASCII from '0', so without '-'.
std::string alphabetOf(std::size_t size) {
  std::string alphabet;
  for (char character = '0'; alphabet.size() < 2 + size % 70; ++character) {
    alphabet += character;
  }
  return alphabet;
}

void load(Program &program, Twins &records, std::uint8_t operands) {
  Words words(std::max<std::size_t>(program.byte(), 1), 0);
  const std::size_t period = std::max<std::size_t>(program.byte() % 9, 1);
  for (std::size_t k = 0; k < words.size(); ++k) {
    words[k] = k < period ? program.word() : words[k - period];
  }
  records.load(operands % 4, words, operands >= 128);
}

std::string convert(Program &program, Twins &records, std::uint8_t operands) {
  const std::string alphabet = alphabetOf(program.byte());
  const std::string text = program.text();
  if (operands >= 128) return records.decode(operands % 4, text, alphabet);
  if (records[operands % 4].plain.length > longestEncoded) return {};
  return records.encode(operands % 4, alphabet);
}

std::string call(Program &program, Twins &records, const Operation &operation,
                 std::uint8_t operands) {
  Step step{&operation, {}, program.number()};
  for (std::size_t &operand : step.operands) {
    operand = operands % 4;
    operands = static_cast<std::uint8_t>(operands / 4);
  }
  if (operation.name == "PowS") step.n = step.n % (largestExponent + 1);
  if (operation.name == "PowS" && step.n < 0) step.n = -step.n;
  return records.perform(step);
}

// Executes one instruction. Returns what differs from the model, or an empty text.
std::string execute(Program &program, Twins &records) {
  const std::size_t code = program.byte() % (operations().size() + 2);
  const std::uint8_t operands = program.byte();
  if (code == operations().size()) return load(program, records, operands), std::string();
  if (code == operations().size() + 1) return convert(program, records, operands);
  return call(program, records, operations()[code], operands);
}

}  // namespace
}  // namespace kt::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
  using namespace kt::test;
  Program program(bytes, size);
  Twins records(4);
  for (int count = 0; count < maxInstructions && !program.ended(); ++count) {
    const std::string difference = execute(program, records);
    if (difference.empty()) continue;
    std::fprintf(stderr, "instruction %d: %s\n", count, difference.c_str());
    std::abort();
  }
  return 0;
}
