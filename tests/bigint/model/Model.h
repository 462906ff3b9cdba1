// SPDX-License-Identifier: MIT

// The plain model of the big integers: every function of the family, written as simply as possible,
// one word or one bit at a time, over a record of its own. It shares no code with the library, so
// that an error in one shows as a difference. It is slow.
//
// Each function leaves every field as the library's function of the same name does. One field is
// not fixed by the contract: the capacity after a composed function (product, quotient, remainder,
// power, decode). There the model has the largest capacity that the contract allows. A failed
// assertion throws FailedAssertion. A record serves one thread at a time.
#ifndef KT_TESTS_BIGINT_MODEL_MODEL_H
#define KT_TESTS_BIGINT_MODEL_MODEL_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace kt::test::model {

using Word = std::uint16_t;

struct Int {
  // Least significant word first. Words at `length` and above are not part of the value.
  std::vector<Word> digits;
  // Words that belong to the value.
  std::int64_t length = 0;
  // Words that the library has allocated. The model may hold more.
  std::int64_t capacity = 0;
  // Not 0 for a negative value.
  std::uint8_t negative = 0;
  // True for a scratch record, whose length may exceed 255 words.
  bool unlimited = false;
};

// Its message is the line that a failed assertion prints, without the line feed.
class FailedAssertion : public std::logic_error {
 public:
  FailedAssertion(const std::string &unit, int line, const std::string &condition)
      : std::logic_error(unit + ':' + std::to_string(line) + ": failed assertion `" + condition +
                         '\'') {}
};

// ---- Storage ----

Int alloc(std::int32_t value);
void copy(const Int *src, Int *dst);
void swap(Int *a, Int *b);
void setValue(Int *i, std::int32_t value);
std::int32_t value(const Int *i);
void shorten(Int *i);
void setMinLength(Int *i, std::int64_t n);

// ---- Comparison ----

int ge(Int *a, Int *b);
int le(Int *a, Int *b);
int gt(Int *a, Int *b);
int lt(Int *a, Int *b);
int eq(Int *a, Int *b);
int zero(Int *a);
int negative(const Int *a);
int positive(Int *a);
int sameSign(Int *a, Int *b);
int even(const Int *a);
int odd(const Int *a);
int cmp(Int *a, Int *b);

// ---- Sums ----

void add(Int *a, Int *b, Int *c);
void sub(Int *a, Int *b, Int *c);
void addS(Int *a, Word s);
void subS(Int *a, Word s);
void neg(const Int *a, Int *b);
void abs(const Int *a, Int *b);
std::int32_t sign(Int *a);

// ---- Shifts and powers of two ----

void blockShiftLeft(Int *a, std::int32_t n);
void blockShiftRight(Int *a, std::int32_t n);
void shiftLeft(Int *a, std::int32_t n);
void shiftRight(Int *a, std::int32_t n);
std::int32_t log2(Int *a);
void exp2(Int *a, std::uint32_t n);
void clearHighBit(Int *a);

// ---- Products and quotients ----

void mulS(Int *a, Word s);
void mul(const Int *a, const Int *b, Int *c);
void mod(const Int *a, Int *b, Int *c);
void div(const Int *dividend, Int *divisor, Int *quotient, Int *remainder);
void powS(Int *a, Word e);

// ---- Text ----

std::string encode(const Int *v, const std::string &alphabet);
void decode(const std::string &text, Int *result, const std::string &alphabet);

}  // namespace kt::test::model

#endif
