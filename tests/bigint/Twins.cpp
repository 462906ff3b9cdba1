// SPDX-License-Identifier: MIT

#include "tests/bigint/Twins.h"

#include <algorithm>
#include <sstream>
#include <type_traits>
#include <utility>

namespace kt::test {

namespace {

template <typename Argument, typename Integer>
Argument argument(Integer *record, std::int32_t n) {
  if constexpr (std::is_pointer_v<Argument>) {
    return record;
  } else {
    return static_cast<Argument>(n);
  }
}

template <typename Integer, typename Result, typename... Arguments, std::size_t... indices>
Call<Integer> callOf(Result (*function)(Arguments...), std::index_sequence<indices...>) {
  return [function](const std::array<Integer *, 4> &records, std::int32_t n) -> std::int64_t {
    if constexpr (std::is_void_v<Result>) {
      return function(argument<Arguments>(records[indices], n)...), 0;
    } else {
      return function(argument<Arguments>(records[indices], n)...);
    }
  };
}

template <typename Result, typename... Ours, typename... Plain>
Operation operation(const char *name, Result (*ours)(Ours...), Result (*plain)(Plain...),
                    bool composed = false) {
  return {name, callOf<_KtInt>(ours, std::index_sequence_for<Ours...>()),
          callOf<model::Int>(plain, std::index_sequence_for<Plain...>()), composed};
}

// Returns a record's fields as a text for a failure's message, with at most 300 words.
template <typename Integer>
std::string description(const Integer &i) {
  std::ostringstream text;
  text << (i.negative != 0 ? '-' : '+') << int{i.negative} << " length " << i.length + 0
       << " capacity " << i.capacity + 0 << ':';
  for (std::size_t k = 0; k < static_cast<std::size_t>(i.length) && k < 300; ++k) {
    text << ' ' << i.digits[k];
  }
  return text.str();
}

bool sameValue(const _KtInt &library, const model::Int &plain) {
  return library.length == plain.length && library.negative == plain.negative &&
         std::equal(library.digits, library.digits + library.length, plain.digits.begin());
}

}  // namespace

const std::vector<Operation> &operations() {
  static const std::vector<Operation> all{
      operation("Copy", _KtIntCopy, model::copy),
      operation("Swap", _KtIntSwap, model::swap),
      operation("SetValue", _KtIntSetValue, model::setValue),
      operation("Value", _KtIntValue, model::value),
      operation("Shorten", _KtIntShorten, model::shorten),
      operation("SetMinLength", _KtIntSetMinLength, model::setMinLength),
      operation("GE", _KtIntGE, model::ge),
      operation("LE", _KtIntLE, model::le),
      operation("GT", _KtIntGT, model::gt),
      operation("LT", _KtIntLT, model::lt),
      operation("EQ", _KtIntEQ, model::eq),
      operation("Zero", _KtIntZero, model::zero),
      operation("Negative", _KtIntNegative, model::negative),
      operation("Positive", _KtIntPositive, model::positive),
      operation("SameSign", _KtIntSameSign, model::sameSign),
      operation("Even", _KtIntEven, model::even),
      operation("Odd", _KtIntOdd, model::odd),
      operation("Cmp", _KtIntCmp, model::cmp),
      operation("Add", _KtIntAdd, model::add),
      operation("Sub", _KtIntSub, model::sub),
      operation("AddS", _KtIntAddS, model::addS),
      operation("SubS", _KtIntSubS, model::subS),
      operation("Neg", _KtIntNeg, model::neg),
      operation("Abs", _KtIntAbs, model::abs),
      operation("Sign", _KtIntSign, model::sign),
      operation("BlockShiftLeft", _KtIntBlockShiftLeft, model::blockShiftLeft),
      operation("BlockShiftRight", _KtIntBlockShiftRight, model::blockShiftRight),
      operation("ShiftLeft", _KtIntShiftLeft, model::shiftLeft),
      operation("ShiftRight", _KtIntShiftRight, model::shiftRight),
      operation("Log2", _KtIntLog2, model::log2),
      operation("Exp2", _KtIntExp2, model::exp2),
      operation("ClearHighBit", _KtIntClearHighBit, model::clearHighBit),
      operation("MulS", _KtIntMulS, model::mulS),
      operation("Mul", _KtIntMul, model::mul, true),
      operation("Mod", _KtIntMod, model::mod, true),
      operation("Div", _KtIntDiv, model::div, true),
      operation("PowS", _KtIntPowS, model::powS, true),
  };
  return all;
}

void Twins::load(std::size_t index, const Words &words, bool negative) {
  model::Int &plain = twins_[index].plain;
  model::setMinLength(&plain, static_cast<std::int64_t>(words.size()));
  std::copy(words.begin(), words.end(), plain.digits.begin());
  plain.length = static_cast<std::int64_t>(words.size());
  plain.negative = negative ? 1 : 0;
  _KtIntSetMinLength(twins_[index].library.get(), static_cast<std::int32_t>(words.size()));
  copyFromModel(index);
}

void Twins::copyFromModel(std::size_t index) {
  const model::Int &plain = twins_[index].plain;
  _KtInt *library = twins_[index].library.get();
  std::copy_n(plain.digits.begin(), plain.length, library->digits);
  library->length = static_cast<std::uint8_t>(plain.length);
  library->negative = plain.negative;
}

std::string Twins::perform(const Step &step) {
  std::array<_KtInt *, 4> library{};
  std::array<model::Int *, 4> plain{};
  for (std::size_t k = 0; k < library.size(); ++k) {
    Twin &twin = twins_[step.operands[k]];
    library[k] = twin.library.get();
    plain[k] = &twin.plain;
  }
  try {
    const std::int64_t expected = step.operation->plain(plain, step.n);
    const std::int64_t result = step.operation->library(library, step.n);
    if (result != expected) {
      return "result " + std::to_string(result) + " instead of " + std::to_string(expected);
    }
  } catch (const model::FailedAssertion &) {
    // The model has normalised the divisor before the assertion failed; the library must not abort.
    for (const std::size_t index : step.operands) {
      copyFromModel(index);
    }
    return {};
  }
  for (const std::size_t index : step.operands) {
    const std::string text = difference(index, step.operation->composed);
    if (!text.empty()) return text;
  }
  return {};
}

std::string Twins::encode(std::size_t index, const std::string &alphabet) {
  const std::string expected = model::encode(&twins_[index].plain, alphabet);
  std::string text(expected.size() + 9, '\x7E');  // the NUL, and guard bytes after it
  _KtIntEncode(twins_[index].library.get(), text.data(), alphabet.c_str());
  if (text != expected + '\0' + std::string(8, '\x7E')) {
    return "text " + text + " instead of " + expected;
  }
  return difference(index, false);
}

std::string Twins::decode(std::size_t index, const std::string &text, const std::string &alphabet) {
  model::decode(text.substr(0, text.find('\0')), &twins_[index].plain, alphabet);
  _KtIntDecode(text.c_str(), twins_[index].library.get(), alphabet.c_str());
  return difference(index, true);
}

std::string Twins::difference(std::size_t index, bool composed) {
  const _KtInt &library = *twins_[index].library;
  model::Int &plain = twins_[index].plain;
  const bool boundedCapacity = composed && library.length <= library.capacity &&
                               library.capacity <= std::max(plain.capacity, plain.length);
  const bool sameCapacity = boundedCapacity || library.capacity == plain.capacity;
  if (!sameValue(library, plain) || !sameCapacity) {
    return "record " + std::to_string(index) + " is   " + description(library) + "\n  instead of " +
           description(plain);
  }
  plain.capacity = library.capacity;
  return {};
}

}  // namespace kt::test
