// SPDX-License-Identifier: MIT

// Random runs of every function on a pool of records. Each call is compared with the plain model,
// field by field, and its value with GMP's if GMP is installed. KT_SEED selects another run.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/bigint/Gmp.h"
#include "tests/bigint/RandomOperands.h"
#include "tests/bigint/Twins.h"

namespace kt::test {
namespace {

constexpr int stepCount = KT_BIGINT_STEPS;  // fewer in builds whose steps are slow

std::int32_t randomNumber(RandomOperands &random) {
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

// Returns a mostly small exponent: the model takes milliseconds for a power of a long value.
std::int32_t randomExponent(RandomOperands &random) {
  return static_cast<std::int32_t>(random.oneIn(200) ? random.below(65536) : random.below(12));
}

Step randomStep(RandomOperands &random, std::size_t poolSize) {
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

// Loads random words into one record of the pool.
void reload(RandomOperands &random, Twins &pool) {
  const auto poolSize = static_cast<std::uint32_t>(pool.size());
  pool.load(random.below(poolSize), random.words(), random.oneIn(2));
}

// Writes a record as text, or reads text into it. Returns what differs, or an empty text.
std::string convert(RandomOperands &random, Twins &pool) {
  const std::size_t index = random.below(static_cast<std::uint32_t>(pool.size()));
  const std::string alphabet = random.alphabet(2 + random.below(random.oneIn(2) ? 15 : 253));
  if (random.oneIn(2)) return pool.decode(index, random.text(alphabet, random.below(90)), alphabet);
  if (pool[index].plain.length > 12) return {};  // the model divides once for each digit
  return pool.encode(index, alphabet);
}

#ifdef KT_HAVE_GMP

// GMP's result of a step. Known only for functions that GMP has too, and for operands that are not
// changed while the function reads them.
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
    // A shift counts leading zero words towards the limit.
    if (name == "ShiftLeft" && step_.n > 0 && noNegativeZeros &&
        pool_[operands[0]].plain.length + step_.n / 16 <= 255) {
      return mpz_mul_2exp(number_.get(), a, static_cast<mp_bitcnt_t>(step_.n)), true;
    }
    if (name == "ShiftRight" && step_.n > 0) {
      return mpz_tdiv_q_2exp(number_.get(), a, static_cast<mp_bitcnt_t>(step_.n)), true;
    }
    return false;
  }

  // The absolute value of a number.
  class Absolute : public Gmp {
   public:
    explicit Absolute(mpz_srcptr number) { mpz_abs(get(), number); }
  };

  const Step &step_;
  const Twins &pool_;
  Gmp number_;
  std::size_t result_ = 0;  // the index of the operand that receives the result
  bool known_ = false;
};

#else

struct Expectation {
  Expectation(const Step &, const Twins &) {}
  [[nodiscard]] bool holds() const { return true; }
};

#endif

TEST(KtIntFamily, MatchesModelInLongRandomRun) {
  RandomOperands random(seed());
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

// A pool of three records, reloaded before each step, so that every aliasing of operands occurs at
// lengths around the limit.
TEST(KtIntFamily, MatchesModelOnOperandsNearLimit) {
  RandomOperands random(seed() + 1);
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
}  // namespace kt::test
