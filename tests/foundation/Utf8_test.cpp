// SPDX-License-Identifier: MIT

// UTF-8 in property lists: well-formed text is kept, ill-formed bytes are replaced by U+FFFD, both
// in reading and in writing.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

#include "kt/foundation/PropertyList.h"
#include "tests/foundation/PropertyListSupport.h"

namespace kt::test {
namespace {

constexpr const char *replacement = "\uFFFD";

std::string written(const PropertyList &value) {
  return value.description();
}

TEST(Utf8, KeepsWellFormedText) {
  std::string content;
  for (const unsigned code :
       {0x80u, 0x7FFu, 0x800u, 0xFFFu, 0x1000u, 0xCFFFu, 0xD000u, 0xD7FFu, 0xE000u, 0xFFFDu,
        0xFFFEu, 0xFFFFu, 0x10000u, 0x3FFFFu, 0x40000u, 0xFFFFFu, 0x100000u, 0x10FFFFu}) {
    RandomValues::appendEncoded(content, code);
    content += 'x';
  }
  EXPECT_EQ(stringOf(inQuotes(content)), content);
}

// Returns `text` with each U+FFFD replaced by a question mark.
std::string marked(std::string_view text) {
  std::string result(text);
  for (std::size_t at; (at = result.find(replacement)) != std::string::npos;) {
    result.replace(at, 3, "?");
  }
  return result;
}

// Examples from tables 3-8 to 3-11 of the Unicode standard.
TEST(Utf8, ReadsEachMaximalIllFormedPartAsOneReplacement) {
  const auto read = [](std::string_view content) { return marked(stringOf(inQuotes(content))); };
  EXPECT_EQ(read("\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41"), "????????A");
  EXPECT_EQ(read("\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41"), "????????A");
  EXPECT_EQ(read("\xF4\x91\x92\x93\xFF\x41\x80\xBF\x42"), "?????A??B");
  EXPECT_EQ(read("\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41"), "????A");
}

TEST(Utf8, ReadsTruncatedSequenceAsOneReplacement) {
  for (const std::string part : {"\xC3", "\xE2\x82", "\xE2", "\xF0\x9F\x98", "\xF0\x9F", "\xF0"}) {
    EXPECT_EQ(marked(stringOf(inQuotes(part))), "?");
    EXPECT_EQ(marked(stringOf(inQuotes(part + "\\n"))), "?\n");
    EXPECT_EQ(marked(stringOf("'" + part + "\"'")), "?\"");
    EXPECT_TRUE(errorOf('"' + part));
  }
}

// A slow UTF-8 decoder written from the definition: which bytes are well-formed, and which bytes
// can begin a well-formed sequence.
class ReferenceDecoder {
 public:
  static std::string replaceIllFormed(std::string_view text) {
    std::string result;
    while (!text.empty()) {
      const std::size_t count = wellFormedLength(text);
      if (count > 0) {
        result += text.substr(0, count);
        text.remove_prefix(count);
      } else {
        result += replacement;
        text.remove_prefix(longestBeginning(text));
      }
    }
    return result;
  }

 private:
  // Returns the length of the well-formed character at the start of `text`, or 0.
  static std::size_t wellFormedLength(std::string_view text) {
    for (std::size_t count = 1; count <= 4 && count <= text.size(); ++count) {
      if (isWellFormed(text.substr(0, count))) return count;
    }
    return 0;
  }

  // Decodes by the bits of the lead byte and encodes again: only the shortest form is the same.
  static bool isWellFormed(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) return text.size() == 1;
    unsigned code = lead & (0x7Fu >> text.size());
    for (const char byte : text.substr(1)) {
      if ((byte & 0xC0) != 0x80) return false;
      code = code * 64 + (static_cast<unsigned char>(byte) & 63u);
    }
    if (code < 0x80 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
    std::string again;
    RandomValues::appendEncoded(again, code);
    return again == text;
  }

  // Returns how many bytes of ill-formed `text` one U+FFFD replaces: the longest start of a
  // character.
  static std::size_t longestBeginning(std::string_view text) {
    std::size_t longest = 1;
    for (std::size_t count = 1; count <= 3 && count <= text.size(); ++count) {
      if (beginsCharacter(std::string(text.substr(0, count)))) longest = count;
    }
    return longest;
  }

  static bool beginsCharacter(const std::string &beginning) {
    if (isWellFormed(beginning)) return true;
    if (beginning.size() == 4) return false;
    return std::any_of(std::begin(continuations), std::end(continuations),
                       [&](char byte) { return beginsCharacter(beginning + byte); });
  }

  static constexpr char continuations[] = {'\x80', '\x8F', '\x90', '\x9F', '\xA0', '\xBF'};
};

TEST(Utf8, ReadsFourBytesOfEveryClassByDefinition) {
  const std::string interesting =
      "\x41\x80\x8F\x90\x9F\xA0\xBF\xC1\xC2\xE0\xE1\xED\xEF\xF0\xF1\xF4\xF5";
  for (const char first : interesting) {
    for (const char second : interesting) {
      std::string all;
      for (const char third : interesting) {
        for (const char fourth : interesting) {
          all += {first, second, third, fourth, ' '};
        }
      }
      ASSERT_EQ(stringOf(inQuotes(all)), ReferenceDecoder::replaceIllFormed(all));
    }
  }
}

TEST(Utf8, WritesEachMaximalIllFormedPartAsOneReplacement) {
  const std::string mark = "\\Ufffd";
  EXPECT_EQ(written("\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41"), inQuotes(repeated(mark, 8) + "A"));
  EXPECT_EQ(written("\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41"), inQuotes(repeated(mark, 8) + "A"));
  EXPECT_EQ(written("\xF4\x91\x92\x93\xFF\x41\x80\xBF\x42"),
            inQuotes(repeated(mark, 5) + "A" + mark + mark + "B"));
  EXPECT_EQ(written("\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41"), inQuotes(repeated(mark, 4) + "A"));
  EXPECT_EQ(written("a\xF0\x9F\x98"), inQuotes("a" + mark));
}

TEST(Utf8, ReadsBackAnyBytesWithIllFormedPartsReplaced) {
  constexpr std::uint32_t seed = 20260103;
  SCOPED_TRACE(seed);
  RandomValues random(seed);
  for (int round = 0; round < 20000; ++round) {
    std::string raw;
    for (std::uint32_t count = random.below(12); count > 0; --count) {
      const std::uint32_t code = random.below(256);
      if (code != '"' && code != '\\') raw += static_cast<char>(code);
    }
    // The reader replaces ill-formed bytes of a text and the writer those of a string, by one rule.
    ASSERT_EQ(PropertyList::parse(written(raw)), PropertyList::parse(inQuotes(raw))) << round;
  }
}

}  // namespace
}  // namespace kt::test
