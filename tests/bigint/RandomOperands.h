// SPDX-License-Identifier: MIT

// RandomOperands: words, alphabets and texts for random tests of big integers. It prefers the
// values that find errors: runs of ones, few set bits, leading zero words, zeros and lengths at the
// limit.
#ifndef KT_TESTS_BIGINT_RANDOMOPERANDS_H
#define KT_TESTS_BIGINT_RANDOMOPERANDS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>

#include "tests/bigint/Records.h"

namespace kt::test {

// Returns the seed of a random run: the environment variable KT_SEED, or a fixed number.
inline std::uint32_t seed() {
  const char *text = std::getenv("KT_SEED");
  return text != nullptr ? static_cast<std::uint32_t>(std::strtoul(text, nullptr, 0)) : 20261121;
}

class RandomOperands {
 public:
  explicit RandomOperands(std::uint32_t seed) : engine_(seed) {}

  std::uint32_t below(std::uint32_t bound) {
    return std::uniform_int_distribution<std::uint32_t>(0, bound - 1)(engine_);
  }
  bool oneIn(std::uint32_t count) { return below(count) == 0; }
  std::uint16_t word() { return static_cast<std::uint16_t>(below(65536)); }

  // Returns a number of words, 1 to 255. Three in four are at most 40, because the model is slow
  // for long values.
  std::size_t length() {
    if (oneIn(4)) return oneIn(4) ? 253 + below(3) : 1 + below(255);
    return 1 + (oneIn(4) ? below(40) : below(10));
  }

  Words words(std::size_t length) {
    Words words(length, 0);
    switch (below(6)) {
      case 0:
        fillWithRuns(words);
        break;
      case 1:
        setBits(words, 1);
        break;
      case 2:
        setBits(words, 2 + below(3));
        break;
      case 3:
        words.assign(length, 0xFFFF);
        words[below(static_cast<std::uint32_t>(length))] = word();
        break;
      case 4:
        if (oneIn(3)) break;  // zero
        words[0] = static_cast<std::uint16_t>(below(4));
        break;
      default:
        for (std::uint16_t &each : words) {
          each = word();
        }
    }
    if (oneIn(4)) clearHighWords(words);
    return words;
  }

  Words words() { return words(length()); }

  // Returns `base` distinct characters in random order, without NUL and '-'.
  std::string alphabet(std::size_t base) {
    std::string characters;
    for (int character = 1; character <= 255; ++character) {
      if (character != '-') characters += static_cast<char>(character);
    }
    std::shuffle(characters.begin(), characters.end(), engine_);
    return characters.substr(0, base);
  }

  // Returns `size` characters, 19 of 20 from the alphabet, with or without a '-' before them.
  std::string text(const std::string &alphabet, std::size_t size) {
    std::string text = oneIn(3) ? "-" : "";
    for (std::size_t k = 0; k < size; ++k) {
      text += oneIn(20) ? static_cast<char>(1 + below(255)) : alphabet[digit(alphabet)];
    }
    return text;
  }

 private:
  std::size_t digit(const std::string &alphabet) {
    return below(static_cast<std::uint32_t>(alphabet.size()));
  }

  void fillWithRuns(Words &words) {
    std::uint16_t run = 0xFFFF;
    for (std::uint16_t &each : words) {
      if (oneIn(3)) run = oneIn(4) ? word() : static_cast<std::uint16_t>(~run);
      each = run;
    }
  }

  void setBits(Words &words, std::uint32_t count) {
    for (; count > 0; --count) {
      const std::uint32_t bit = below(static_cast<std::uint32_t>(16 * words.size()));
      words[bit / 16] = static_cast<std::uint16_t>(words[bit / 16] | 1U << (bit % 16));
    }
  }

  void clearHighWords(Words &words) {
    const std::size_t kept = below(static_cast<std::uint32_t>(words.size()));
    std::fill(words.begin() + static_cast<std::ptrdiff_t>(kept), words.end(), 0);
  }

  std::mt19937 engine_;
};

}  // namespace kt::test

#endif
