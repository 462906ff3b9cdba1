// SPDX-License-Identifier: MIT

// Records of the library, each beside its twin of the plain model. A step is done with both, and
// then every field of every record that took part must be the same. Random tests and a fuzzer make
// the steps.
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

// What a function does to up to four records, with a number where it takes one, and gives back.
template <typename Integer>
using Call = std::function<std::int64_t(const std::array<Integer *, 4> &records, std::int32_t n)>;

struct Operation {
  std::string name;
  Call<_KtInt> library;
  Call<model::Int> plain;
  bool composed = false;  // its capacity is bounded, but not told
};

// All functions on records but those on text.
const std::vector<Operation> &operations();

// One call: which function, of which records (as many as it takes), with which number.
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

  // Gives a record these words as they stand.
  void load(std::size_t index, const Words &words, bool negative);

  // Does the step. Empty when both agree, else what differs. A step whose assertion fails is the
  // model's alone.
  std::string perform(const Step &step);

  // Writes a record as text, and reads text into one; likewise.
  std::string encode(std::size_t index, const std::string &alphabet);
  std::string decode(std::size_t index, const std::string &text, const std::string &alphabet);

 private:
  std::string difference(std::size_t index, bool composed);
  void follow(std::size_t index);  // gives the library's record the value of the model's

  std::vector<Twin> twins_;
};

}  // namespace kt::test

#endif
