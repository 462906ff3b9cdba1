// SPDX-License-Identifier: MIT

#include "tools/calculator/Evaluator.h"

#include <gtest/gtest.h>

namespace kt::test {
namespace {

using namespace tools;

std::string valueOf(std::string_view expression, std::uint64_t steps = unlimitedSteps) {
  return evaluate(expression, steps).toString();
}

// "7: division by zero"
std::string errorOf(std::string_view expression, std::uint64_t steps = unlimitedSteps) {
  try {
    return "the value " + valueOf(expression, steps);
  } catch (const EvaluationError &error) {
    return std::to_string(error.column()) + ": " + error.what();
  }
}

std::string repeated(const std::string &text, int count) {
  std::string whole;
  for (int round = 0; round < count; ++round) {
    whole += text;
  }
  return whole;
}

// ---- Values ----

TEST(Evaluator, ReadsDecimalHexadecimalAndBinaryNumbers) {
  EXPECT_EQ(valueOf("12"), "12");
  EXPECT_EQ(valueOf("0xfF"), "255");
  EXPECT_EQ(valueOf("0b101"), "5");
  EXPECT_EQ(valueOf("007"), "7");
  EXPECT_EQ(valueOf("00"), "0");
  EXPECT_EQ(valueOf("0x0000000000000000000000000000000001"), "1");
}

TEST(Evaluator, IgnoresBlanksBetweenTokens) {
  EXPECT_EQ(valueOf(" \t1\r\n+ 2 "), "3");
  EXPECT_EQ(valueOf("gcd ( 4 , 6 )"), "2");
}

TEST(Evaluator, BindsShiftsLooserThanSumsAndSumsLooserThanProducts) {
  EXPECT_EQ(valueOf("1 + 2 * 3"), "7");
  EXPECT_EQ(valueOf("1 << 2 + 3"), "32");
  EXPECT_EQ(valueOf("(1 << 2) + 3"), "7");
  EXPECT_EQ(valueOf("2 * 3 << 1 + 1 * 2"), "48");
}

TEST(Evaluator, AssociatesEqualOperatorsFromLeft) {
  EXPECT_EQ(valueOf("10 - 3 - 2"), "5");
  EXPECT_EQ(valueOf("100 / 10 / 5 * 3 % 4"), "2");
  EXPECT_EQ(valueOf("1 << 2 << 3 >> 1"), "16");
}

TEST(Evaluator, AssociatesPowersFromRightAndTighterThanMinus) {
  EXPECT_EQ(valueOf("2 ^ 3 ^ 2"), "512");
  EXPECT_EQ(valueOf("-2 ^ 2"), "-4");
  EXPECT_EQ(valueOf("(-2) ^ 2"), "4");
  EXPECT_EQ(valueOf("2 ^ -0"), "1");
  EXPECT_EQ(valueOf("2 * 3 ^ 2"), "18");
}

TEST(Evaluator, BindsFactorialsTightest) {
  EXPECT_EQ(valueOf("3!"), "6");
  EXPECT_EQ(valueOf("0! + 1!"), "2");
  EXPECT_EQ(valueOf("2 ^ 3!"), "64");
  EXPECT_EQ(valueOf("-3!"), "-6");
  EXPECT_EQ(valueOf("3!!"), "720");
  EXPECT_EQ(valueOf("(1 + 2)! ^ 2"), "36");
}

TEST(Evaluator, AcceptsRepeatedMinusSigns) {
  EXPECT_EQ(valueOf("--5"), "5");
  EXPECT_EQ(valueOf("- - -5"), "-5");
  EXPECT_EQ(valueOf("1--1"), "2");
  EXPECT_EQ(valueOf("2 * -3"), "-6");
}

TEST(Evaluator, TruncatesQuotientsAndRoundsRightShiftsDown) {
  EXPECT_EQ(valueOf("-7 / 2"), "-3");
  EXPECT_EQ(valueOf("-7 % 2"), "-1");
  EXPECT_EQ(valueOf("-7 >> 1"), "-4");
  EXPECT_EQ(valueOf("-1 >> 2^100"), "-1");
  EXPECT_EQ(valueOf("0 << 2^100"), "0");
}

TEST(Evaluator, AcceptsExpressionsAsFunctionArguments) {
  EXPECT_EQ(valueOf("gcd(12, -18)"), "6");
  EXPECT_EQ(valueOf("gcd(0, 0) + gcd(5, 0)"), "5");
  EXPECT_EQ(valueOf("sqrt(2 * 50 - 1)"), "9");
  EXPECT_EQ(valueOf("powmod(2, 10^9, 10^9 + 7)"), "140625001");
  EXPECT_EQ(valueOf("-sqrt(gcd(16, 24)!)"), "-200");
}

TEST(Evaluator, ComputesMersennePrime) {
  EXPECT_EQ(
      valueOf("2^521 - 1"),
      "686479766013060971498190079908139321726943530014330540939446345918554318339765605212255"
      "9640661454554977296311391480858037121987999716643812574028291115057151");
}

// ---- Errors ----

TEST(Evaluator, ReportsColumnOfFailedOperation) {
  EXPECT_EQ(errorOf("12 + 1/0"), "7: division by zero");
  EXPECT_EQ(errorOf("1 % (2 - 2)"), "3: division by zero");
  EXPECT_EQ(errorOf("powmod(2, 3, 0)"), "1: division by zero");
  EXPECT_EQ(errorOf("1 + sqrt(-1)"), "5: the square root of a negative number");
  EXPECT_EQ(errorOf("2 ^ -1"), "3: the exponent is negative");
  EXPECT_EQ(errorOf("powmod(2, -1, 5)"), "1: the exponent is negative");
  EXPECT_EQ(errorOf("1 << -1"), "3: the shift count is negative");
  EXPECT_EQ(errorOf("(-1)!"), "5: the factorial of a negative number");
}

TEST(Evaluator, CountsColumnsInCharacters) {
  EXPECT_EQ(errorOf("1 + \u00fc"), "5: expected a number, found '\\U00fc'");
  EXPECT_EQ(errorOf("\u00fc"), "1: expected a number, found '\\U00fc'");
  EXPECT_EQ(errorOf("\U0001f600"), "1: expected a number, found '\\Ud83d\\Ude00'");
  EXPECT_EQ(errorOf("1\xff"), "2: expected an operator, found '\\Ufffd'");
}

TEST(Evaluator, ReportsWhatWasExpected) {
  EXPECT_EQ(errorOf(""), "1: expected a number, found the end of the expression");
  EXPECT_EQ(errorOf("1 + "), "5: expected a number, found the end of the expression");
  EXPECT_EQ(errorOf("(1"), "3: expected ')', found the end of the expression");
  EXPECT_EQ(errorOf("()"), "2: expected a number, found ')'");
  EXPECT_EQ(errorOf("1 2"), "3: expected an operator, found '2'");
  EXPECT_EQ(errorOf("1)"), "2: expected an operator, found ')'");
  EXPECT_EQ(errorOf("1 < 2"), "3: expected an operator, found '<'");
  EXPECT_EQ(errorOf("+1"), "1: expected a number, found '+'");
  EXPECT_EQ(errorOf("gcd 1"), "5: expected '(', found '1'");
  EXPECT_EQ(errorOf("gcd(1)"), "6: expected ',', found ')'");
  EXPECT_EQ(errorOf("sqrt(1, 2)"), "7: expected ')', found ','");
  EXPECT_EQ(errorOf("sqrt()"), "6: expected a number, found ')'");
}

TEST(Evaluator, ReportsDigitsOfOtherBase) {
  EXPECT_EQ(errorOf("12a"), "3: expected a decimal digit, found 'a'");
  EXPECT_EQ(errorOf("0b12"), "4: expected a binary digit, found '2'");
  EXPECT_EQ(errorOf("1 + 0xfg"), "8: expected a hexadecimal digit, found 'g'");
  EXPECT_EQ(errorOf("0x"), "3: expected a hexadecimal digit");
  EXPECT_EQ(errorOf("0x + 1"), "3: expected a hexadecimal digit");
}

TEST(Evaluator, ReportsKnownFunctionsForUnknownOne) {
  EXPECT_EQ(errorOf("2 * lcm(1, 2)"),
            "5: no function is called 'lcm'; there are gcd, sqrt and powmod");
  EXPECT_EQ(errorOf(std::string(100, 'x')),
            "1: no function is called 'xxxxxxxxxxxxxxxxxxxx...'; there are gcd, sqrt and powmod");
}

TEST(Evaluator, EscapesWhatItFound) {
  EXPECT_EQ(errorOf("1 \x1b[2J"), "3: expected an operator, found '\\033'");
  EXPECT_EQ(errorOf(std::string_view("1\0", 2)), "2: expected an operator, found '\\000'");
}

// ---- Limits ----

TEST(Evaluator, RejectsResultsAbove4080Bits) {
  const std::string tooLarge = ": the result takes more than 4,080 bits";
  EXPECT_EQ(errorOf("2^2^64"), "2" + tooLarge);
  EXPECT_EQ(errorOf("1 << 4080"), "3" + tooLarge);
  EXPECT_EQ(errorOf("1 << 2^100"), "3" + tooLarge);
  EXPECT_EQ(errorOf("2^4079 + 2^4079"), "8" + tooLarge);
  EXPECT_EQ(errorOf("2^2040 * 2^2040"), "8" + tooLarge);
  EXPECT_EQ(errorOf("-2^4079 - 2^4079"), "9" + tooLarge);
  EXPECT_EQ(errorOf("535!"), "4" + tooLarge);
  EXPECT_EQ(errorOf("(2^4000)!"), "9" + tooLarge);
  EXPECT_EQ(errorOf("1 + " + std::string(1300, '9')), "5" + tooLarge);
  EXPECT_EQ(errorOf(std::string(60'000, '9')), "1" + tooLarge);
}

TEST(Evaluator, AllowsResultsOf4080Bits) {
  EXPECT_EQ(evaluate("2^4079 - 1 + 2^4079").bitLength(), 4080);
  EXPECT_EQ(evaluate("534!").bitLength(), 4074);
  EXPECT_EQ(evaluate("0b" + std::string(4080, '1')).bitLength(), 4080);
  EXPECT_EQ(valueOf(std::string(60'000, '0') + "1"), "1");
}

TEST(Evaluator, LimitsNestingOfBrackets) {
  EXPECT_EQ(valueOf(repeated("(", 64) + "1" + repeated(")", 64)), "1");
  EXPECT_EQ(errorOf(repeated("(", 65) + "1" + repeated(")", 65)), "65: nested too deeply");
  EXPECT_EQ(errorOf(repeated("(", 60'000)), "65: nested too deeply");
  EXPECT_EQ(errorOf(repeated("sqrt(", 60'000 / 5)), "321: nested too deeply");
}

TEST(Evaluator, CountsWaitingOperationsAsNesting) {
  EXPECT_EQ(valueOf(repeated("1^", 64) + "1"), "1");
  EXPECT_EQ(errorOf(repeated("1^", 65) + "1"), "130: nested too deeply");
  EXPECT_EQ(errorOf(repeated("1<<(1+(1*(1^(", 1000)), "106: nested too deeply");
  EXPECT_EQ(errorOf(repeated("powmod(1, 1, ", 1000)), "274: nested too deeply");
}

TEST(Evaluator, DoesNotCountFinishedOperationsAsNesting) {
  EXPECT_EQ(valueOf("0" + repeated("+(1)", 10'000)), "10000");
  EXPECT_EQ(valueOf(repeated("-", 60'000) + "1"), "1");
  EXPECT_EQ(valueOf("3" + repeated("*1", 10'000)), "3");
}

TEST(Evaluator, RefusesWorkBeyondBudgetBeforeDoingIt) {
  const std::string tooMuch = ": the expression takes more work than is allowed";
  EXPECT_EQ(errorOf("powmod(3, 2^4079 - 1, 2^4079 - 1)", servedSteps), "1" + tooMuch);
  EXPECT_EQ(errorOf("1 + 1", 10), "1" + tooMuch);
  EXPECT_NE(errorOf("0" + repeated("+534!-534!", 6'000), servedSteps).find(tooMuch),
            std::string::npos);
}

TEST(Evaluator, ComputesCommonExpressionsWithinServerBudget) {
  for (const char *expression : {"2^521 - 1", "534!", "sqrt(2^4079)", "3^2574 / 7^1000",
                                 "powmod(3, 2^521 - 2, 2^521 - 1)"}) {
    EXPECT_NO_THROW((void)evaluate(expression, servedSteps)) << expression;
  }
}

TEST(Evaluator, ComputesLongExpressionsOn64BitServersOnly) {
  for (const char *expression :
       {"gcd(2^4079 - 1, 3^2500)", "powmod(5, 2^2048 - 1, 2^2048 - 1942289)"}) {
    const std::string answer = errorOf(expression, servedSteps);
    EXPECT_EQ(answer.starts_with("the value"), sizeof(void *) == 8) << answer;
  }
}

TEST(Evaluator, FindsOffsetOfColumn) {
  EXPECT_EQ(offsetOfColumn("abc", 1), 0U);
  EXPECT_EQ(offsetOfColumn("abc", 3), 2U);
  EXPECT_EQ(offsetOfColumn("\u00fcb", 2), 2U);
  EXPECT_EQ(offsetOfColumn("abc", 100), 3U);
}

}  // namespace
}  // namespace kt::test
