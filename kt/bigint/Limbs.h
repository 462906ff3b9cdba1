// Arithmetic on magnitudes: spans of words or of limbs, least significant first. Knows nothing of
// signs, records or assertions, and allocates nothing. A result may stand where an operand stands,
// starting at the same place, where that is said.
#ifndef KT_BIGINT_LIMBS_H
#define KT_BIGINT_LIMBS_H

#include <span>

#include "kt/bigint/Limb.h"

namespace kt::bigint {

using Words = std::span<const Word>;
using Limbs = std::span<const Limb>;

// ---- Words, in a record's block -----------------------------------------------------------------

// sum = longer + shorter, as many words as `longer` has; the carry out of them. `sum` may be either
// operand. Requires: `longer` is not the shorter one.
Word add(Word *sum, Words longer, Words shorter);

// difference = larger - smaller, as many words as `larger` has. `difference` may be either operand.
// Requires: larger >= smaller, and it has as many words or more.
void subtract(Word *difference, Words larger, Words smaller);

// -1, 0 or 1 as a is smaller than b, equal or larger. Requires: as many words in both.
int compare(Words a, Words b);

// words = words * factor; the word that goes out at the top.
Word multiply(std::span<Word> words, Word factor);

// Shifts by 1 to 15 bits in place. The left one gives what goes out at the top.
Word shiftLeft(std::span<Word> words, unsigned bits);
void shiftRight(std::span<Word> words, unsigned bits);

// The words without zeros at the top: none for 0.
inline Words significant(Words words) {
  while (!words.empty() && words.back() == 0) words = words.first(words.size() - 1);
  return words;
}

// ---- Limbs, on the stack ------------------------------------------------------------------------

// The limbs without zeros at the top: none for 0.
inline Limbs significant(Limbs limbs) {
  while (!limbs.empty() && limbs.back() == 0) limbs = limbs.first(limbs.size() - 1);
  return limbs;
}

// product = a * b, a.size() + b.size() limbs. `product` overlaps neither. Requires: neither is
// empty.
void multiply(Limb *product, Limbs a, Limbs b);

// product = a * a, 2 * a.size() limbs. `product` does not overlap it. Requires: it is not empty.
void square(Limb *product, Limbs a);

// limbs = limbs * factor + addend; the limb that goes out at the top.
Limb multiplyAdd(std::span<Limb> limbs, Limb factor, Limb addend);

// Divides in place: `quotient` gets dividend.size() - divisor.size() + 1 limbs, the dividend
// becomes the remainder. Requires: the divisor's top limb is not 0; it is not the longer one.
void divide(Limb *quotient, std::span<Limb> dividend, Limbs divisor);

// The same with one limb: as many limbs of quotient as `dividend` has, which may be in its place.
// The remainder.
Limb divide(Limb *quotient, Limbs dividend, Limb divisor);

}  // namespace kt::bigint

#endif
