// SPDX-License-Identifier: MIT

// How work is counted; Evaluator_test.cpp covers the results.
#include "tools/calculator/BudgetedArithmetic.h"

#include <gtest/gtest.h>

namespace kt::test {
namespace {

using namespace tools;

constexpr std::uint64_t unlimited = std::uint64_t{1} << 62;

// Returns the smallest budget with which compute(arithmetic) succeeds.
template <typename Compute>
std::uint64_t costOf(Compute compute) {
  std::uint64_t tooFew = 0;
  std::uint64_t enough = unlimited;
  while (enough - tooFew > 1) {
    const std::uint64_t middle = tooFew + (enough - tooFew) / 2;
    BudgetedArithmetic arithmetic(middle);
    try {
      (void)compute(arithmetic);
      enough = middle;
    } catch (const ArithmeticError &) {
      tooFew = middle;
    }
  }
  return enough;
}

const Integer small = 3;
const Integer large = Integer(1) << 2000;

TEST(BudgetedArithmetic, ChargesMoreForLargerOperands) {
  EXPECT_LT(costOf([](auto &work) { return work.sum(small, small); }),
            costOf([](auto &work) { return work.sum(large, small); }));
  EXPECT_LT(costOf([](auto &work) { return work.product(large, small); }),
            costOf([](auto &work) { return work.product(large, large); }));
  EXPECT_LT(costOf([](auto &work) { return work.quotient(large, large); }),
            costOf([](auto &work) { return work.quotient(large * large, large); }));
  EXPECT_LT(costOf([](auto &work) { return work.factorial(3); }),
            costOf([](auto &work) { return work.factorial(300); }));
  EXPECT_LT(costOf([](auto &work) { return work.greatestCommonDivisor(small, large); }),
            costOf([](auto &work) { return work.greatestCommonDivisor(large, large); }));
  EXPECT_LT(costOf([](auto &work) { return work.squareRoot(small); }),
            costOf([](auto &work) { return work.squareRoot(large); }));
  EXPECT_LT(costOf([](auto &work) { return work.number("1", 10); }),
            costOf([](auto &work) { return work.number(std::string(600, '1'), 10); }));
}

TEST(BudgetedArithmetic, ChargesModularPowerInProportionToExponentBits) {
  const auto costWith = [](int bits) {
    const Integer exponent = (Integer(1) << bits) - 1;
    return costOf([&](auto &work) { return work.modularPower(3, exponent, large); });
  };
  EXPECT_NEAR(static_cast<double>(costWith(200)) / static_cast<double>(costWith(100)), 2, 0.1);
}

TEST(BudgetedArithmetic, ChargesNothingForRefusedOperation) {
  BudgetedArithmetic arithmetic(1000);
  EXPECT_THROW((void)arithmetic.modularPower(3, large, large), ArithmeticError);
  EXPECT_EQ(arithmetic.sum(1, 1), 2);
}

TEST(BudgetedArithmetic, AddsUpCostsOfOperations) {
  const std::uint64_t cost = costOf([](auto &work) { return work.sum(1, 1); });
  BudgetedArithmetic arithmetic(2 * cost);
  (void)arithmetic.sum(1, 1);
  (void)arithmetic.sum(1, 1);
  EXPECT_THROW((void)arithmetic.sum(1, 1), ArithmeticError);
}

}  // namespace
}  // namespace kt::test
