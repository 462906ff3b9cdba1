// SPDX-License-Identifier: MIT

// Every assertion of the C functions, each in a process of its own: it prints its exact line on
// standard error and aborts. Rows with two errors show which one is checked first.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/bigint/Records.h"

namespace kt::test {
namespace {

struct Row {
  const char *name;
  std::function<void()> call;
  std::string line;
};

void PrintTo(const Row &row, std::ostream *stream) {
  *stream << row.name;
}

// Returns the line that a failed assertion prints.
std::string failure(const char *unit, int line, const char *condition) {
  return unit + (':' + std::to_string(line)) + ": failed assertion `" + condition + "'\n";
}

class Assertion : public testing::TestWithParam<Row> {};

TEST_P(Assertion, PrintsLineAndAborts) {
  GTEST_FLAG_SET(death_test_style, "fast");
  EXPECT_EXIT(GetParam().call(), testing::KilledBySignal(SIGABRT), testing::Eq(GetParam().line));
}

// Records shared by the rows. Each row runs in a forked process, so that no row changes another's.
_KtInt *one() {
  static const Record made = number(1);
  return made.get();
}
_KtInt *other() {
  static const Record made = number(2);
  return made.get();
}
_KtInt *nothing() {
  static const Record made = number(0);
  return made.get();
}
_KtInt *unnormalisedZero() {
  static const Record made = negativeZero(3);
  return made.get();
}
_KtInt *const null = nullptr;

std::vector<Row> storageRows() {
  const auto line = [](int number, const char *condition) {
    return failure("_KtInt", number, condition);
  };
  const char *both = "src != NULL && dst != NULL";
  return {
      {"FreeOfNull", [] { _KtIntFree(null); }, line(34, "i != NULL")},
      {"CopyOfNull", [] { _KtIntCopy(null, one()); }, line(43, both)},
      {"CopyIntoNull", [] { _KtIntCopy(one(), null); }, line(43, both)},
      {"CopyOfNullIntoNull", [] { _KtIntCopy(null, null); }, line(43, both)},
      {"SetValue", [] { _KtIntSetValue(null, 1); }, line(80, "i != NULL")},
      {"Value", [] { (void)_KtIntValue(null); }, line(96, "i != NULL")},
      {"Shorten", [] { _KtIntShorten(null); }, line(109, "i != NULL")},
      {"SetMinLength", [] { _KtIntSetMinLength(null, 300); }, line(120, "i != NULL")},
      {"SetMinLengthOfZeroWords", [] { _KtIntSetMinLength(null, 0); }, line(120, "i != NULL")},
  };
}

std::vector<Row> comparisonRows() {
  const auto two = [](int number) {
    return failure("_KtComparison", number, "a != NULL && b != NULL");
  };
  const auto single = [](int number) { return failure("_KtComparison", number, "a != NULL"); };
  return {
      {"GEOfNull", [] { (void)_KtIntGE(null, one()); }, two(6)},
      {"GEWithNull", [] { (void)_KtIntGE(one(), null); }, two(6)},
      {"LEOfNull", [] { (void)_KtIntLE(null, one()); }, two(13)},
      {"LEWithNull", [] { (void)_KtIntLE(one(), null); }, two(13)},
      {"GTOfNull", [] { (void)_KtIntGT(null, one()); }, two(20)},
      {"GTWithNull", [] { (void)_KtIntGT(one(), null); }, two(20)},
      {"LTOfNull", [] { (void)_KtIntLT(null, one()); }, two(27)},
      {"LTWithNull", [] { (void)_KtIntLT(one(), null); }, two(27)},
      {"EQOfNull", [] { (void)_KtIntEQ(null, one()); }, two(34)},
      {"EQWithNull", [] { (void)_KtIntEQ(one(), null); }, two(34)},
      {"Zero", [] { (void)_KtIntZero(null); }, single(42)},
      {"Negative", [] { (void)_KtIntNegative(null); }, single(50)},
      {"Positive", [] { (void)_KtIntPositive(null); }, single(57)},
      {"SameSignOfNull", [] { (void)_KtIntSameSign(null, one()); }, two(65)},
      {"SameSignWithNull", [] { (void)_KtIntSameSign(one(), null); }, two(65)},
      {"Even", [] { (void)_KtIntEven(null); }, single(76)},
      {"Odd", [] { (void)_KtIntOdd(null); }, single(83)},
      {"CmpOfNull", [] { (void)_KtIntCmp(null, one()); }, two(94)},
      {"CmpWithNull", [] { (void)_KtIntCmp(one(), null); }, two(94)},
      {"CmpOfNullWithNull", [] { (void)_KtIntCmp(null, null); }, two(94)},
  };
}

std::string arithmetic(int number, const char *condition) {
  return failure("_KtArithmetic", number, condition);
}

std::vector<Row> sumRows() {
  const char *two = "a != NULL && b != NULL";
  const char *three = "a != NULL && b != NULL && c != NULL";
  return {
      {"AddS", [] { _KtIntAddS(null, 1); }, arithmetic(149, "a != NULL")},
      {"SubS", [] { _KtIntSubS(null, 1); }, arithmetic(170, "a != NULL")},
      {"NegOfNull", [] { _KtIntNeg(null, one()); }, arithmetic(250, two)},
      {"NegIntoNull", [] { _KtIntNeg(one(), null); }, arithmetic(250, two)},
      {"AbsOfNull", [] { _KtIntAbs(null, one()); }, arithmetic(259, two)},
      {"AbsIntoNull", [] { _KtIntAbs(one(), null); }, arithmetic(259, two)},
      {"Sign", [] { (void)_KtIntSign(null); }, arithmetic(267, "a != NULL")},
      {"AddFirst", [] { _KtIntAdd(null, one(), one()); }, arithmetic(378, three)},
      {"AddSecond", [] { _KtIntAdd(one(), null, one()); }, arithmetic(378, three)},
      {"AddThird", [] { _KtIntAdd(one(), one(), null); }, arithmetic(378, three)},
      {"SubFirst", [] { _KtIntSub(null, one(), one()); }, arithmetic(413, three)},
      {"SubSecond", [] { _KtIntSub(one(), null, one()); }, arithmetic(413, three)},
      {"SubThird", [] { _KtIntSub(one(), one(), null); }, arithmetic(413, three)},
  };
}

std::vector<Row> shiftRows() {
  const auto log = [](int number) { return failure("_KtLog", number, "a != NULL"); };
  const char *single = "a != NULL";
  return {
      {"BlockShiftLeft", [] { _KtIntBlockShiftLeft(null, 1); }, arithmetic(276, single)},
      {"BlockShiftLeftByZero", [] { _KtIntBlockShiftLeft(null, 0); }, arithmetic(276, single)},
      {"BlockShiftLeftBack", [] { _KtIntBlockShiftLeft(null, -1); }, arithmetic(276, single)},
      {"BlockShiftRight", [] { _KtIntBlockShiftRight(null, 1); }, arithmetic(296, single)},
      {"BlockShiftRightByZero", [] { _KtIntBlockShiftRight(null, 0); }, arithmetic(296, single)},
      {"BlockShiftRightBack", [] { _KtIntBlockShiftRight(null, -1); }, arithmetic(296, single)},
      {"ShiftLeft", [] { _KtIntShiftLeft(null, 1); }, arithmetic(324, single)},
      {"ShiftLeftByZero", [] { _KtIntShiftLeft(null, 0); }, arithmetic(324, single)},
      {"ShiftLeftBack", [] { _KtIntShiftLeft(null, -1); }, arithmetic(324, single)},
      {"ShiftRight", [] { _KtIntShiftRight(null, 1); }, arithmetic(354, single)},
      {"ShiftRightByZero", [] { _KtIntShiftRight(null, 0); }, arithmetic(354, single)},
      {"ShiftRightBack", [] { _KtIntShiftRight(null, -1); }, arithmetic(354, single)},
      {"Log2", [] { (void)_KtIntLog2(null); }, log(30)},
      {"Exp2", [] { _KtIntExp2(null, 5000); }, log(40)},
      {"ClearHighBit", [] { _KtIntClearHighBit(null); }, log(55)},
  };
}

std::vector<Row> productRows() {
  const char *three = "a != NULL && b != NULL && c != NULL";
  const char *divisor = "!_KtIntZero(b)";
  return {
      {"MulS", [] { _KtIntMulS(null, 1); }, arithmetic(193, "a != NULL")},
      {"PowS", [] { _KtIntPowS(null, 0); }, arithmetic(215, "a != NULL")},
      {"MulFirst", [] { _KtIntMul(null, one(), one()); }, arithmetic(450, three)},
      {"MulSecond", [] { _KtIntMul(one(), null, one()); }, arithmetic(450, three)},
      {"MulThird", [] { _KtIntMul(one(), one(), null); }, arithmetic(450, three)},
      {"ModFirst", [] { _KtIntMod(null, one(), one()); }, arithmetic(483, three)},
      {"ModSecond", [] { _KtIntMod(one(), null, one()); }, arithmetic(483, three)},
      {"ModThird", [] { _KtIntMod(one(), one(), null); }, arithmetic(483, three)},
      {"ModNullBeforeZero", [] { _KtIntMod(one(), nothing(), null); }, arithmetic(483, three)},
      {"ModByZero", [] { _KtIntMod(one(), nothing(), other()); }, arithmetic(484, divisor)},
      {"ModByUnnormalisedZero", [] { _KtIntMod(one(), unnormalisedZero(), other()); },
       arithmetic(484, divisor)},
  };
}

std::vector<Row> divisionRows() {
  const std::string operands = arithmetic(497, "dividend != NULL && divisor != NULL");
  const std::string results = arithmetic(498, "quotient != NULL && remainder != NULL");
  const std::string distinct = arithmetic(499, "quotient != remainder");
  const std::string divisor = arithmetic(500, "!_KtIntZero(divisor)");
  return {
      {"DivOfNull", [] { _KtIntDiv(null, one(), one(), other()); }, operands},
      {"DivByNull", [] { _KtIntDiv(one(), null, one(), other()); }, operands},
      {"DivOfNullBeforeNullResults", [] { _KtIntDiv(null, one(), null, null); }, operands},
      {"DivByNullBeforeOneResult", [] { _KtIntDiv(one(), null, one(), one()); }, operands},
      {"DivWithoutQuotient", [] { _KtIntDiv(one(), one(), null, other()); }, results},
      {"DivWithoutRemainder", [] { _KtIntDiv(one(), one(), other(), null); }, results},
      {"DivWithoutResultsBeforeOneResult", [] { _KtIntDiv(one(), one(), null, null); }, results},
      {"DivWithoutQuotientBeforeZero", [] { _KtIntDiv(one(), nothing(), null, other()); }, results},
      {"DivIntoOneResult", [] { _KtIntDiv(one(), one(), other(), other()); }, distinct},
      {"DivIntoOneResultBeforeZero", [] { _KtIntDiv(one(), nothing(), other(), other()); },
       distinct},
      {"DivByZero", [] { _KtIntDiv(one(), nothing(), one(), other()); }, divisor},
      {"DivByUnnormalisedZero", [] { _KtIntDiv(one(), unnormalisedZero(), one(), other()); },
       divisor},
      {"DivOfZeroByZero", [] { _KtIntDiv(nothing(), nothing(), one(), other()); }, divisor},
  };
}

std::vector<Row> encodingRows() {
  const auto encode = [](const _KtInt *value, const char *alphabet) {
    std::string output(100, ' ');
    _KtIntEncode(value, output.data(), alphabet);
  };
  return {
      {"Encode", [encode] { encode(null, _KTINT_DEC_VECTOR); },
       failure("_KtEncoding", 38, "v != NULL")},
      {"EncodeWithoutAlphabet", [encode] { encode(one(), ""); },
       arithmetic(500, "!_KtIntZero(divisor)")},
  };
}

std::string rowName(const testing::TestParamInfo<Row> &info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(KtInt, Assertion, testing::ValuesIn(storageRows()), rowName);
INSTANTIATE_TEST_SUITE_P(KtComparison, Assertion, testing::ValuesIn(comparisonRows()), rowName);
INSTANTIATE_TEST_SUITE_P(KtArithmeticSums, Assertion, testing::ValuesIn(sumRows()), rowName);
INSTANTIATE_TEST_SUITE_P(KtArithmeticShifts, Assertion, testing::ValuesIn(shiftRows()), rowName);
INSTANTIATE_TEST_SUITE_P(KtArithmeticProducts, Assertion, testing::ValuesIn(productRows()),
                         rowName);
INSTANTIATE_TEST_SUITE_P(KtArithmeticDivisions, Assertion, testing::ValuesIn(divisionRows()),
                         rowName);
INSTANTIATE_TEST_SUITE_P(KtEncoding, Assertion, testing::ValuesIn(encodingRows()), rowName);

}  // namespace
}  // namespace kt::test
