#include "kt/bigint/Record.h"

namespace kt::bigint {

namespace {

// How many words a value has, without zeros at the top.
std::size_t wordCount(Limbs value) {
  if (value.empty()) return 0;
  const auto topBits = static_cast<std::size_t>(std::bit_width(value.back()));
  return (value.size() - 1) * wordsPerLimb + (topBits + wordBits - 1) / wordBits;
}

}  // namespace

void Magnitude::load(Words value) {
  count_ = (value.size() + wordsPerLimb - 1) / wordsPerLimb;
  if (count_ == 0) return;
  limbs_[count_ - 1] = 0;
  std::memcpy(limbs_.data(), value.data(), value.size_bytes());
}

void Magnitude::cut(Limbs value) {
  value = significant(value);
  const std::size_t kept = wordCount(value);
  if (kept <= maxWords) {
    count_ = value.size();
    std::copy(value.begin(), value.end(), limbs_.begin());
    return;
  }
  std::array<Word, maxWords> low;
  std::memcpy(low.data(), value.data(), kept % (maxWords + 1) * sizeof(Word));
  load(significant(Words(low).first(kept % (maxWords + 1))));
}

void Magnitude::store(_KtInt &i) const {
  const std::size_t count = std::max<std::size_t>(wordCount(limbs()), 1);
  reserve(i, count);
  if (isZero()) return setZero(i);
  std::memcpy(i.digits, limbs_.data(), count * sizeof(Word));
  i.length = static_cast<std::uint8_t>(count);
  i.negative = 0;
}

}  // namespace kt::bigint
