// SPDX-License-Identifier: MIT

// A long random run of every function on a pool of records, each call compared field by field with
// the plain model's and, where there is one, its value with GMP's. KT_SEED chooses another run.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

#include "tests/bigint/Gmp.h"
#include "tests/bigint/RandomValues.h"
#include "tests/bigint/Twins.h"

namespace {

using namespace kt::test;

constexpr int stepCount = KT_BIGINT_STEPS;  // the build's: fewer where each is slow

std::int32_t randomNumber(RandomValues &random) {
  switch (random.below(8)) {
    case 0:
      return static_cast<std::int32_t>(random.below(0xFFFFFFFF));
    case 1:
      return static_cast<std::int32_t>(0x80000000U + random.below(3) - 1);
    case 2:
      return static_cast<std::int32_t>(random.below(10000)) - 5000;
    case 3:
      return static_cast<std::int32_t>(random.below(600)) - 300;
    default:
      return static_cast<std::int32_t>(random.below(40)) - 20;
  }
}

// A power of a long value takes the model milliseconds.
std::int32_t randomExponent(RandomValues &random) {
  return static_cast<std::int32_t>(random.oneIn(200) ? random.below(65536) : random.below(12));
}

Step randomStep(RandomValues &random, std::size_t poolSize) {
  const std::vector<Operation> &all = operations();
  Step step{&all[random.below(static_cast<std::uint32_t>(all.size()))], {}, 0};
  for (std::size_t &operand : step.operands) {
    operand = random.below(static_cast<std::uint32_t>(poolSize));
  }
  step.n = step.operation->name == "PowS" ? randomExponent(random) : randomNumber(random);
  return step;
}

std::string description(const Step &step) {
  std::string text =
      "in _KtInt" + step.operation->name + ", n = " + std::to_string(step.n) + ", of";
  for (const std::size_t operand : step.operands) {
    text += ' ' + std::to_string(operand);
  }
  return text;
}

void reload(RandomValues &random, Twins &pool) {
  const auto poolSize = static_cast<std::uint32_t>(pool.size());
  pool.load(random.below(poolSize), random.words(), random.oneIn(2));
}

std::string convert(RandomValues &random, Twins &pool) {
  const std::size_t index = random.below(static_cast<std::uint32_t>(pool.size()));
  const std::string alphabet = random.alphabet(2 + random.below(random.oneIn(2) ? 15 : 253));
  if (random.oneIn(2)) return pool.decode(index, random.text(alphabet, random.below(90)), alphabet);
  if (pool[index].plain.length > 12) return {};  // the model takes a division for every digit
  return pool.encode(index, alphabet);
}

#ifdef KT_HAVE_GMP

// What a step must give, by GMP; for those functions alone whose results have a name there.
class Expectation {
 public:
  Expectation(const Step &step, const Twins &pool) : step_(step), pool_(pool) {
    const Gmp a(*pool[step.operands[0]].library);
    const Gmp b(*pool[step.operands[1]].library);
    known_ = compute(step.operation->name, a.get(), b.get()) && number_.fits();
  }

  [[nodiscard]] bool holds() const {
    return !known_ || number_.isNormal(*pool_[step_.operands[result_]].library);
  }

 private:
  bool compute(const std::string &name, mpz_srcptr a, mpz_srcptr b) {
    const auto word = static_cast<std::uint16_t>(step_.n);
    const auto &operands = step_.operands;
    const bool thirdIsApart = operands[2] != operands[0] && operands[2] != operands[1];
    const bool noNegativeZeros = mpz_sgn(a) != 0 && mpz_sgn(b) != 0;
    result_ = 2;
    if (name == "Add" && noNegativeZeros) return mpz_add(number_.get(), a, b), true;
    if (name == "Sub" && noNegativeZeros) return mpz_sub(number_.get(), a, b), true;
    if (name == "Mul" && thirdIsApart) return mpz_mul(number_.get(), a, b), true;
    if (name == "Mod" && mpz_sgn(b) != 0) {
      mpz_mod(number_.get(), Absolute(a).get(), Absolute(b).get());
      return true;
    }
    const bool fourthIsApart = operands[3] != operands[0] && operands[3] != operands[1];
    if (name == "Div" && thirdIsApart && fourthIsApart && operands[2] != operands[3] &&
        noNegativeZeros) {
      return mpz_fdiv_q(number_.get(), a, b), true;
    }
    result_ = 0;
    if (name == "AddS") return mpz_add_ui(number_.get(), a, word), true;
    if (name == "SubS") return mpz_sub_ui(number_.get(), a, word), true;
    if (name == "MulS") return mpz_mul_ui(number_.get(), a, word), true;
    if (name == "PowS" && word < 40) return mpz_pow_ui(number_.get(), a, word), true;
    // Zero words on top count as words that a shift pushes past the limit.
    if (name == "ShiftLeft" && step_.n > 0 && noNegativeZeros &&
        pool_[operands[0]].plain.length + step_.n / 16 <= 255) {
      return mpz_mul_2exp(number_.get(), a, static_cast<mp_bitcnt_t>(step_.n)), true;
    }
    if (name == "ShiftRight" && step_.n > 0) {
      return mpz_tdiv_q_2exp(number_.get(), a, static_cast<mp_bitcnt_t>(step_.n)), true;
    }
    return false;
  }

  // |number|
  class Absolute : public Gmp {
   public:
    explicit Absolute(mpz_srcptr number) { mpz_abs(get(), number); }
  };

  const Step &step_;
  const Twins &pool_;
  Gmp number_;
  std::size_t result_ = 0;  // which operand it is
  bool known_ = false;
};

#else

struct Expectation {
  Expectation(const Step &, const Twins &) {}
  [[nodiscard]] bool holds() const { return true; }
};

#endif

TEST(Differential, EveryStepOfALongRandomRunIsTheModels) {
  RandomValues random(seed());
  SCOPED_TRACE("KT_SEED=" + std::to_string(seed()));
  Twins pool(10);
  for (int count = 0; count < stepCount; ++count) {
    if (!random.oneIn(3)) reload(random, pool);
    if (random.oneIn(20)) {
      ASSERT_EQ(convert(random, pool), "") << "in a conversion";
    }
    const Step step = randomStep(random, pool.size());
    const Expectation expectation(step, pool);
    ASSERT_EQ(pool.perform(step), "") << description(step) << ", step " << count;
    ASSERT_TRUE(expectation.holds()) << description(step) << ", step " << count;
  }
}

// Few records, loaded anew for each step, so that operands meet in every aliasing at lengths around
// the limit.
TEST(Differential, EveryStepWithLongOperandsIsTheModels) {
  RandomValues random(seed() + 1);
  SCOPED_TRACE("KT_SEED=" + std::to_string(seed()));
  Twins pool(3);
  for (int count = 0; count < stepCount / 10; ++count) {
    for (std::size_t index = 0; index < pool.size(); ++index) {
      pool.load(index, random.words(random.oneIn(4) ? random.length() : 250 + random.below(6)),
                random.oneIn(2));
    }
    const Step step = randomStep(random, pool.size());
    const Expectation expectation(step, pool);
    ASSERT_EQ(pool.perform(step), "") << description(step) << ", step " << count;
    ASSERT_TRUE(expectation.holds()) << description(step) << ", step " << count;
  }
}

}  // namespace
