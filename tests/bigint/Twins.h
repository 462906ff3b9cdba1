// SPDX-License-Identifier: MIT

// Twins: a pool of records of the library, each paired with a record of the plain model. A step
// runs on both sides and then compares every field of every record that took part. Random tests and
// a fuzzer choose the steps.
#ifndef KT_TESTS_BIGINT_TWINS_H
#define KT_TESTS_BIGINT_TWINS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/bigint/Records.h"
#include "tests/bigint/model/Model.h"

namespace kt::test {

struct Twin {
  Record library = number(0);
  model::Int plain = model::alloc(0);
};

// A function called with up to four records and, if it takes one, the number `n`. Returns its
// result, or 0 for a void function.
template <typename Integer>
using Call = std::function<std::int64_t(const std::array<Integer *, 4> &records, std::int32_t n)>;

struct Operation {
  std::string name;
  Call<_KtInt> library;
  Call<model::Int> plain;
  bool composed = false;  // the contract bounds the capacity of its result but does not fix it
};

// Returns all functions on records except those that read or write text.
const std::vector<Operation> &operations();

// One call: the function, the indexes of its records (unused ones are ignored) and its number.
struct Step {
  const Operation *operation;
  std::array<std::size_t, 4> operands;
  std::int32_t n;
};

class Twins {
 public:
  explicit Twins(std::size_t count) : twins_(count) {}

  [[nodiscard]] const Twin &operator[](std::size_t index) const { return twins_[index]; }
  [[nodiscard]] std::size_t size() const { return twins_.size(); }

  // Loads these words into both records of a pair without normalising them.
  void load(std::size_t index, const Words &words, bool negative);

  // Performs the step on both sides and returns what differs, or an empty text if they agree. A
  // step that fails an assertion runs in the model only, whose values the library's records then
  // take.
  std::string perform(const Step &step);

  // Writes a record as text, or reads text into it, on both sides. Returns a difference as
  // perform().
  std::string encode(std::size_t index, const std::string &alphabet);
  std::string decode(std::size_t index, const std::string &text, const std::string &alphabet);

 private:
  // Returns how the two records differ, or an empty text.
  std::string difference(std::size_t index, bool composed);
  // Copies the value of the model's record into the library's.
  void copyFromModel(std::size_t index);

  std::vector<Twin> twins_;
};

}  // namespace kt::test

#endif
