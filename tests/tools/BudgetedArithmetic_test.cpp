// SPDX-License-Identifier: MIT

// What Evaluator_test.cpp does not show: how the work is counted.
#include "tools/common/Calculation.h"

#include <gtest/gtest.h>

namespace kt::tools {
namespace {

constexpr std::uint64_t unlimited = std::uint64_t{1} << 62;

// The fewest steps with which compute(calculation) is done.
template <typename Compute>
std::uint64_t costOf(Compute compute) {
  std::uint64_t tooFew = 0;
  std::uint64_t enough = unlimited;
  while (enough - tooFew > 1) {
    const std::uint64_t middle = tooFew + (enough - tooFew) / 2;
    Calculation calculation(middle);
    try {
      (void)compute(calculation);
      enough = middle;
    } catch (const CalculationError &) {
      tooFew = middle;
    }
  }
  return enough;
}

const Integer small = 3;
const Integer large = Integer(1) << 2000;

TEST(Calculation, LargerOperandsCostMore) {
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

TEST(Calculation, AModularPowerCostsInProportionToTheExponentsBits) {
  const auto costWith = [](int bits) {
    const Integer exponent = (Integer(1) << bits) - 1;
    return costOf([&](auto &work) { return work.modularPower(3, exponent, large); });
  };
  EXPECT_NEAR(static_cast<double>(costWith(200)) / static_cast<double>(costWith(100)), 2, 0.1);
}

TEST(Calculation, WhatIsRefusedCostsNothing) {
  Calculation calculation(1000);
  EXPECT_THROW((void)calculation.modularPower(3, large, large), CalculationError);
  EXPECT_EQ(calculation.sum(1, 1), 2);
}

TEST(Calculation, WhatIsSpentIsGone) {
  const std::uint64_t cost = costOf([](auto &work) { return work.sum(1, 1); });
  Calculation calculation(2 * cost);
  (void)calculation.sum(1, 1);
  (void)calculation.sum(1, 1);
  EXPECT_THROW((void)calculation.sum(1, 1), CalculationError);
}

}  // namespace
}  // namespace kt::tools
