// SPDX-License-Identifier: MIT

#include "kt/foundation/Format.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "kt/foundation/PropertyList.h"

namespace kt::test {
namespace {

using namespace std::literals;

struct Point {
  int x;
  int y;
  std::string description() const { return format("(%d, %d)", x, y); }
};

struct Percentage {
  std::string_view description() const { return "100%d %s %@ %n"; }
};

enum class Colour : std::uint8_t { red = 7 };
enum Weight { heavy = -2 };

// Returns the C library's text for the format. The compiler checks the arguments.
[[gnu::format(printf, 1, 2)]] std::string printed(const char *format, ...) {
  std::array<char, 4096> text;
  va_list arguments;
  va_start(arguments, format);
  const int size = vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  return std::string(text.data(), static_cast<std::size_t>(size));
}

TEST(Format, CopiesTextWithoutPlaceholders) {
  EXPECT_EQ(format(""), "");
  EXPECT_EQ(format("two\nlines\t\xC3\xA4"), "two\nlines\t\xC3\xA4");
  EXPECT_EQ(format("a\0b"sv), "a\0b"s);
}

TEST(Format, WritesTwoPercentSignsAsOne) {
  EXPECT_EQ(format("100%%"), "100%");
  EXPECT_EQ(format("%%d", 5), "%d");
  EXPECT_EQ(format("%5%|%d", 5), "%|5");
}

TEST(Format, MatchesDocumentedExamples) {
  const kt::PropertyList list(kt::Array{"a", "b"});
  EXPECT_EQ(format("%s has %d of %5.2f", "ktd", 3, 0.5), "ktd has 3 of  0.50");
  EXPECT_EQ(format("%d%%, %@", std::int64_t{1} << 40, list),
            "1099511627776%, " + list.description());
}

// ---- Integers ----

TEST(Format, ShowsIntegersAtTheirOwnWidth) {
  EXPECT_EQ(format("%d", INT64_MIN), "-9223372036854775808");
  EXPECT_EQ(format("%u", UINT64_MAX), "18446744073709551615");
  EXPECT_EQ(format("%x", -1), "ffffffff");
  EXPECT_EQ(format("%x", std::int64_t{-1}), "ffffffffffffffff");
  EXPECT_EQ(format("%o", -1), "37777777777");
  EXPECT_EQ(format("%u", -1), "4294967295");
  EXPECT_EQ(format("%i", UINT32_MAX), "-1");
}

TEST(Format, IgnoresWrongOrMissingLength) {
  for (const char *conversion : {"%d", "%ld", "%lld", "%jd", "%zd", "%td", "%Ld", "%qd"}) {
    EXPECT_EQ(format(conversion, std::int64_t{-5'000'000'000}), "-5000000000") << conversion;
    EXPECT_EQ(format(conversion, -5), "-5") << conversion;
  }
  EXPECT_EQ(format("%llx", -1), "ffffffff");
}

TEST(Format, NarrowsIntegersByShortLengths) {
  EXPECT_EQ(format("%hhd", 511), "-1");
  EXPECT_EQ(format("%hhu", -1), "255");
  EXPECT_EQ(format("%hd", 65535), "-1");
  EXPECT_EQ(format("%hx", -1), "ffff");
  EXPECT_EQ(format("%hhx", std::int64_t{0x123456789A}), "9a");
}

TEST(Format, PromotesSmallTypesToInt) {
  EXPECT_EQ(format("%x", std::int8_t{-1}), "ffffffff");
  EXPECT_EQ(format("%d %d", std::uint8_t{200}, std::int16_t{-3}), "200 -3");
  EXPECT_EQ(format("%d %d", true, false), "1 0");
  EXPECT_EQ(format("%d", 'A'), "65");
}

TEST(Format, ShowsEnumerationsAsIntegers) {
  EXPECT_EQ(format("%d %d", Colour::red, heavy), "7 -2");
}

TEST(Format, WritesCharacterAsOneByte) {
  EXPECT_EQ(format("%c%c", 'o', 0x16B), "ok");
  EXPECT_EQ(format("[%c]", 0), "[\0]"s);
  EXPECT_EQ(format("[%3c|%-3c|%.0c]", 'a', 'b', 'c'), "[  a|b  |c]");
  EXPECT_EQ(format("%lc", 'a'), "a");
}

// ---- Floating point ----

TEST(Format, KeepsPrecisionOfFloatingPointTypes) {
  EXPECT_EQ(format("%.10g", 0.1f), printed("%.10g", 0.1f));
  EXPECT_EQ(format("%.17g", 0.1), "0.10000000000000001");
  EXPECT_EQ(format("%.21g", 0.1L), printed("%.21Lg", 0.1L));
  EXPECT_EQ(format("%Lf|%lf", 0.5, 0.5L), "0.500000|0.500000");
}

TEST(Format, MatchesPrintfOnFloatingPointExtremes) {
  EXPECT_EQ(format("%f", 1e308), printed("%f", 1e308));
  EXPECT_EQ(format("%a", std::numeric_limits<double>::denorm_min()), "0x0.0000000000001p-1022");
  EXPECT_EQ(format("%f %F %05.1f", HUGE_VAL, -HUGE_VAL, HUGE_VAL), "inf -INF   inf");
  EXPECT_EQ(format("%g", std::nan("")), "nan");
}

// ---- Strings ----

TEST(Format, ShowsStringsOfEveryKind) {
  const std::string text = "string";
  char array[] = "array";
  char *pointer = array;
  EXPECT_EQ(format("%s %s %s %s %s", "literal", array, pointer, text, std::string_view(text)),
            "literal array array string string");
  EXPECT_EQ(format("%@ %@ %@", "literal", pointer, text), "literal array string");
  EXPECT_EQ(format("%ls", "still narrow"), "still narrow");
}

TEST(Format, CopiesStringsByteByByte) {
  EXPECT_EQ(format("%s", "a\0\xFF\n"s), "a\0\xFF\n"s);
}

TEST(Format, CountsStringWidthAndPrecisionInBytes) {
  EXPECT_EQ(format("[%5s|%-5s|%.2s|%5.1s|%.0s|%.s]", "abc", "abc", "abc", "abc", "abc", "abc"),
            "[  abc|abc  |ab|    a||]");
  EXPECT_EQ(format("[%3s|%.1s]", "\xC3\xA4", "\xC3\xA4"), "[ \xC3\xA4|\xC3]");
  EXPECT_EQ(format("[%5@|%.2@]", "abc", Point{1, 2}), "[  abc|(1]");
}

TEST(Format, SetsNoLimitToStringPrecision) {
  const std::string text(3 * kt::formatSizeLimit, 'x');
  EXPECT_EQ(format("%.*s", text.size(), text), text);
  EXPECT_EQ(format("%.*s", 2 * kt::formatSizeLimit, text).size(), 2u * kt::formatSizeLimit);
}

TEST(Format, ReadsNoByteBeyondArrayOrPrecision) {
  const char array[3] = {'a', 'b', 'c'};
  EXPECT_EQ(format("%s", array), "abc");
  const std::vector<char> unterminated = {'x', 'y'};  // a sanitizer would see a read past the end
  EXPECT_EQ(format("%.2s|%.*s", unterminated.data(), 1, unterminated.data()), "xy|x");
}

TEST(Format, EndsCharArrayAtNul) {
  const std::array<char, 8> text{'a', 'b'};
  char array[8] = "ab";
  EXPECT_EQ(format("%s|%s", array, text.data()), "ab|ab");
}

TEST(Format, ShowsNullPointers) {
  const char *text = nullptr;
  const Point *point = nullptr;
  EXPECT_EQ(format("%s %@ %@ %@", text, text, point, nullptr), "(null) (null) (null) (null)");
  EXPECT_EQ(format("[%8s|%.2s]", text, text), "[  (null)|(n]");
}

// ---- Objects and pointers ----

TEST(Format, ShowsDescribedObjectsByValueAndByAddress) {
  Point point{1, -2};
  const Point *address = &point;
  EXPECT_EQ(format("%@ %@ %@", point, &point, address), "(1, -2) (1, -2) (1, -2)");
}

TEST(Format, ShowsPropertyListsAsTheirText) {
  const kt::Dictionary dictionary{{"key", "value"}};
  EXPECT_EQ(format("%@", dictionary), dictionary.description());
  EXPECT_EQ(format("%@", kt::PropertyList(dictionary)), dictionary.description());
}

TEST(Format, ShowsAddressOfEveryPointerType) {
  int number = 0;
  const volatile int *observed = &number;
  const char *text = "text";
  Point point{};
  EXPECT_EQ(format("%p", &number), printed("%p", static_cast<void *>(&number)));
  EXPECT_EQ(format("%p", observed), format("%p", &number));
  EXPECT_EQ(format("%p", text), printed("%p", static_cast<const void *>(text)));
  EXPECT_EQ(format("%p", &point), printed("%p", static_cast<void *>(&point)));
  EXPECT_EQ(format("%p", &printed), printed("%p", reinterpret_cast<void *>(&printed)));
  EXPECT_EQ(format("%p %5p", nullptr, static_cast<void *>(nullptr)), "(nil) (nil)");
}

TEST(Format, PropagatesExceptionOfDescription) {
  struct Failing {
    std::string description() const { throw std::runtime_error("no description"); }
  };
  EXPECT_THROW((void)format("%@", Failing{}), std::runtime_error);
}

// ---- Formatted text is not a format ----

TEST(Format, LeavesPlaceholdersInArgumentsLiteral) {
  EXPECT_EQ(format("%s|%@|%d", "%d %s %n %%", Percentage{}, 1), "%d %s %n %%|100%d %s %@ %n|1");
}

// ---- Stars and positions ----

TEST(Format, TakesStarArgumentsInOrder) {
  EXPECT_EQ(format("[%*d|%-*d|%*.*f]", 4, 7, 4, 7, 6, 2, 1.0), "[   7|7   |  1.00]");
}

TEST(Format, LeftAlignsNegativeStarWidth) {
  EXPECT_EQ(format("[%*d]", -4, 7), "[7   ]");
  EXPECT_EQ(format("[%*s]", std::int64_t{-4}, "x"), "[x   ]");
}

TEST(Format, IgnoresNegativeStarPrecision) {
  EXPECT_EQ(format("[%.*f|%.*s]", -1, 0.5, INT_MIN, "text"), "[0.500000|text]");
}

TEST(Format, ChoosesArgumentsByPosition) {
  EXPECT_EQ(format("%2$s %1$s %2$s", "a", "b"), "b a b");
  EXPECT_EQ(format("[%3$*1$.*2$f]", 6, 1, 2.5), printed("[%*.*f]", 6, 1, 2.5));
  EXPECT_EQ(format("%1$d %1$x %1$c", 65), "65 41 A");
}

TEST(Format, KeepsOrderOfPlaceholdersWithoutPosition) {
  EXPECT_EQ(format("%d %1$d %d", 1, 2), "1 1 2");
}

TEST(Format, MarksPositionWithoutArgument) {
  EXPECT_EQ(format("%0$d %3$d %99999999999999999999$d", 1, 2),
            "%!d(missing) %!d(missing) %!d(missing)");
  EXPECT_EQ(format("%1$*7$d", 1), "%!*(missing)");
}

// ---- Mistakes ----

TEST(Format, MarksMissingArgument) {
  EXPECT_EQ(format("%d"), "%!d(missing)");
  EXPECT_EQ(format("%s and %@", "one"), "one and %!@(missing)");
  EXPECT_EQ(format("%-08.3lld"), "%!d(missing)");
}

TEST(Format, MarksArgumentOfWrongKindByName) {
  int number = 0;
  EXPECT_EQ(format("%d", "text"), "%!d(string)");
  EXPECT_EQ(format("%x", std::string("text")), "%!x(string)");
  EXPECT_EQ(format("%c", 1.5), "%!c(floating-point)");
  EXPECT_EQ(format("%d", 1.5L), "%!d(floating-point)");
  EXPECT_EQ(format("%f", 1), "%!f(integer)");
  EXPECT_EQ(format("%s", 1), "%!s(integer)");
  EXPECT_EQ(format("%s", Point{}), "%!s(object)");
  EXPECT_EQ(format("%@", &number), "%!@(pointer)");
  EXPECT_EQ(format("%@", 1), "%!@(integer)");
  EXPECT_EQ(format("%u", nullptr), "%!u(string)");
  EXPECT_EQ(format("%d", &number), "%!d(pointer)");
  EXPECT_EQ(format("%p %p %p", 1, std::string(), Point{}), "%!p(integer) %!p(string) %!p(object)");
}

TEST(Format, KeepsOtherArgumentsAfterMistake) {
  EXPECT_EQ(format("%d %d", "text", 2), "%!d(string) 2");
  EXPECT_EQ(format("%y %d", 1, 2), "%!y(unknown) 2");
  EXPECT_EQ(format("%*d %d", "text", 1, 2), "%!*(string) 2");
}

TEST(Format, MarksStarWithoutInteger) {
  EXPECT_EQ(format("%*d"), "%!*(missing)");
  EXPECT_EQ(format("%.*f", 1.5, 2.5), "%!*(floating-point)");
  EXPECT_EQ(format("%*d", 3), "%!d(missing)");
}

TEST(Format, MarksUnknownConversion) {
  EXPECT_EQ(format("%y"), "%!y(unknown)");
  EXPECT_EQ(format("%-5.2lky", 1), "%!k(unknown)y");
  EXPECT_EQ(format("%llld", 1), "%!l(unknown)d");
  EXPECT_EQ(format("%.-5d", 1), "%!-(unknown)5d");
  EXPECT_EQ(format("%m %C %S %D", 1, 2, 3, 4),
            "%!m(unknown) %!C(unknown) %!S(unknown) %!D(unknown)");
  EXPECT_EQ(format("%\0!"sv), "%!\0(unknown)!"s);
}

TEST(Format, KeepsUnknownNonAsciiConversionWhole) {
  EXPECT_EQ(format("%\xE2\x82\xAC!"), "%!\xE2\x82\xAC(unknown)!");
  EXPECT_EQ(format("%\xE2"), "%!\xE2(unknown)");
}

TEST(Format, DoesNotWriteToMemoryForPercentN) {
  int count = 42;
  EXPECT_EQ(format("abc%n%hhn%d", &count, &count, 1), "abc%!n(unknown)%!n(unknown)1");
  EXPECT_EQ(count, 42);
}

TEST(Format, MarksIncompletePlaceholder) {
  for (const char *incomplete : {"%", "%-", "%1$", "%5", "%5.", "%.3", "%l", "%hh", "%#0 +l"}) {
    EXPECT_EQ(format(incomplete, 1), "%!(incomplete)") << incomplete;
  }
  EXPECT_EQ(format("%*", 1), "%!(incomplete)");
  EXPECT_EQ(format("done 100%"), "done 100%!(incomplete)");
}

TEST(Format, ReadsNothingAfterFormat) {
  const std::string_view whole = "%d%d";
  EXPECT_EQ(format(whole.substr(0, 3), 1, 2), "1%!(incomplete)");
}

TEST(Format, IgnoresSurplusArguments) {
  EXPECT_EQ(format("%d", 1, "two", 3.0), "1");
  EXPECT_EQ(format("nothing", Point{}), "nothing");
}

TEST(Format, LimitsAbsurdSizes) {
  const std::string spaces(formatSizeLimit - 1, ' ');
  const std::string zeros(formatSizeLimit - 1, '0');
  EXPECT_EQ(format("%65537d", 1), spaces + "1");
  EXPECT_EQ(format("%99999999999999999999d", 1), spaces + "1");
  EXPECT_EQ(format("%2147483648s", "x"), spaces + "x");
  EXPECT_EQ(format("%*d", INT_MIN, 1), "1" + spaces);
  EXPECT_EQ(format("%*d", INT64_MAX, 1), spaces + "1");
  EXPECT_EQ(format("%.99999999999d", 1), zeros + "1");
  EXPECT_EQ(format("%.*f", INT_MAX, 0.0), "0." + zeros + "0");
  EXPECT_EQ(format("%*.*x", 10, INT64_MAX, 1), zeros + "1");
}

// Reading a width or a precision one digit at a time must not overflow an int on the way.
TEST(Format, LimitsSizesAroundLargestInt) {
  const std::string spaces(formatSizeLimit - 1, ' ');
  const std::string zeros(formatSizeLimit - 1, '0');
  for (const char *size : {"2147483639", "2147483640", "2147483646", "2147483647", "2147483648",
                           "2147483649", "2147483650", "4294967295", "4294967297", "21474836470",
                           "21474836480", "42949672970", "9223372036854775808"}) {
    EXPECT_EQ(format("%"s + size + "d", 1), spaces + "1") << size;
    EXPECT_EQ(format("%-"s + size + "d", 1), "1" + spaces) << size;
    EXPECT_EQ(format("%."s + size + "d", 1), zeros + "1") << size;
  }
}

TEST(Format, WritesLongNumbersInFull) {
  for (const int width : {62, 63, 64, 65, 66, 4000}) {
    EXPECT_EQ(format("<%*d>", width, 7), printed("<%*d>", width, 7));
  }
}

TEST(Format, IgnoresFlagsWithoutMeaning) {
  EXPECT_EQ(format("[%#d|%+u|% x|%05s|%+c|%#@]", 1, 2, 3, "s", 'c', "o"), "[1|2|3|    s|c|o]");
  EXPECT_EQ(format("%-----------------------------5d|", 1), "1    |");
}

// ---- Random formats against the C library ----

class RandomFormats {
 public:
  explicit RandomFormats(unsigned seed) : random_(seed) {}

  std::size_t below(std::size_t bound) { return static_cast<std::size_t>(random_() % bound); }

  template <typename Number>
  Number integer() {  // every number of bits is equally likely
    return static_cast<Number>(random_() >> below(64));
  }

  double real() { return std::ldexp(static_cast<double>(integer<std::int64_t>()), exponent()); }

  // Returns "<%", some of the flags, and in half of the cases each a width and a precision.
  std::string start(std::string_view flags) {
    std::string text = "<%";
    for (const char candidate : flags) {
      if (below(4) == 0) text += candidate;
    }
    if (below(2) == 0) text += std::to_string(1 + below(30));
    if (below(2) == 0) text += "." + (below(4) ? std::to_string(below(25)) : std::string());
    return text;
  }

  char oneOf(std::string_view characters) { return characters[below(characters.size())]; }

 private:
  int exponent() { return static_cast<int>(below(400)) - 200; }

  std::mt19937_64 random_;
};

// Expects kt::format to write what the C library writes.
template <typename Value>
void expectAsPrintf(const std::string &text, Value value) {
  std::array<char, 4096> expected;
  const int size = std::snprintf(expected.data(), expected.size(), text.c_str(), value);
  ASSERT_GE(size, 0) << text;
  ASSERT_EQ(format(text, value), std::string(expected.data(), static_cast<std::size_t>(size)))
      << text;
}

template <typename Signed>
void expectIntegersAsPrintf(RandomFormats &random, const char *length) {
  const std::string signedText = random.start("-+ 0'") + length + random.oneOf("di") + ">";
  expectAsPrintf(signedText, random.integer<Signed>());
  using Unsigned = std::make_unsigned_t<Signed>;
  const std::string octalOrHex = random.start("-#0") + length + random.oneOf("oxX") + ">";
  expectAsPrintf(octalOrHex, random.integer<Unsigned>());
  expectAsPrintf(random.start("-0'") + length + "u>", random.integer<Unsigned>());
}

TEST(Format, MatchesPrintfOnRandomIntegers) {
  constexpr unsigned seed = 20261121;
  RecordProperty("seed", static_cast<int>(seed));
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  RandomFormats random(seed);
  for (int round = 0; round < 5000 && !HasFatalFailure(); ++round) {
    expectIntegersAsPrintf<signed char>(random, "hh");
    expectIntegersAsPrintf<short>(random, "h");
    expectIntegersAsPrintf<int>(random, "");
    expectIntegersAsPrintf<long>(random, "l");
    expectIntegersAsPrintf<long long>(random, "ll");
    expectIntegersAsPrintf<std::intmax_t>(random, "j");
    expectIntegersAsPrintf<std::ptrdiff_t>(random, "t");
    expectIntegersAsPrintf<std::ptrdiff_t>(random, "z");
  }
}

TEST(Format, MatchesPrintfOnRandomFloatingPoint) {
  constexpr unsigned seed = 20261122;
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  RandomFormats random(seed);
  for (int round = 0; round < 20000 && !HasFatalFailure(); ++round) {
    const double number = random.real();
    const std::string start = random.start("-+ #0");
    const char conversion = random.oneOf("fFeEgGaA");
    expectAsPrintf(start + conversion + ">", number);
    expectAsPrintf(start + "L" + conversion + ">", static_cast<long double>(number));
  }
}

TEST(Format, MatchesPrintfOnRandomText) {
  constexpr unsigned seed = 20261123;
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  RandomFormats random(seed);
  for (int round = 0; round < 20000 && !HasFatalFailure(); ++round) {
    const std::string text(random.below(40), random.oneOf("a%\xFF\n"));
    expectAsPrintf(random.start("-") + "s>", text.c_str());
    expectAsPrintf("%" + std::to_string(1 + random.below(9)) + "c",
                   static_cast<int>(random.below(256)));
  }
}

// Any bytes are a format: formatting ends and returns text. A sanitizer would see invalid reads.
TEST(Format, TakesRandomBytesAsFormat) {
  constexpr unsigned seed = 20261124;
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  RandomFormats random(seed);
  const char unterminated[2] = {'o', 'k'};
  for (int round = 0; round < 50000; ++round) {
    std::string text;
    for (std::size_t count = random.below(20); count > 0; --count) {
      text += random.oneOf("%%%%*.$0123 -+#'hljztLqdiouxXcspfFeEgGaA@ny\xE2\x82");
    }
    const std::string result = format(text, 3, "text", 2.5, Point{1, 2}, unterminated, -7);
    ASSERT_TRUE(text.find('%') != std::string::npos || result == text) << text;
  }
}

}  // namespace
}  // namespace kt::test
