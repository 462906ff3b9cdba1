// SPDX-License-Identifier: MIT

// What kt::Integer allocates, and what it does without memory. This program replaces operator new
// by one that counts its calls and can be told to refuse them.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <functional>
#include <new>
#include <string>
#include <utility>

#include "kt/bigint/Integer.h"

namespace {

int calls = 0;
bool refuses = false;

}  // namespace

// Not inlined, because g++ warns of `free` for what it knows to come from `new`.
// NOLINTBEGIN(cppcoreguidelines-no-malloc): operator new needs another allocator
[[gnu::noinline]] void *operator new(std::size_t size) {
  ++calls;
  void *const block = refuses ? nullptr : std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
[[gnu::noinline]] void operator delete(void *block) noexcept {
  std::free(block);
}
[[gnu::noinline]] void operator delete(void *block, std::size_t) noexcept {
  std::free(block);
}
// NOLINTEND(cppcoreguidelines-no-malloc)

namespace kt::test {
namespace {

// Returns how often `act` calls operator new.
template <class Act>
int callsOf(const Act &act) {
  const int before = calls;
  act();
  return calls - before;
}

// Returns whether `act` throws std::bad_alloc if operator new refuses every call.
template <class Act>
bool throwsWithoutMemory(const Act &act) {
  refuses = true;
  bool thrown = false;
  try {
    act();
  } catch (const std::bad_alloc &) {
    thrown = true;
  }
  refuses = false;
  return thrown;
}

TEST(IntegerMemory, ZeroAllocatesNothing) {
  Integer zero;
  EXPECT_EQ(callsOf([&] { zero = Integer(0) * Integer(0) - Integer(); }), 0);
}

TEST(IntegerMemory, MoveAllocatesNothing) {
  Integer from = pow(3, 2000), to = 1;
  EXPECT_EQ(callsOf([&] {
              Integer other = std::move(from);
              to = std::move(other);
            }),
            0);
  EXPECT_EQ(to, pow(3, 2000));
}

TEST(IntegerMemory, SumInPlaceAllocatesNothingWithinItsWords) {
  Integer sum = Integer(1) << 2000;
  const Integer addend = sum - 1;
  EXPECT_EQ(callsOf([&] { sum += addend; }), 0);
  EXPECT_EQ(callsOf([&] { sum -= addend; }), 0);
}

TEST(IntegerMemory, ThrowsBadAllocAndKeepsValue) {
  const Integer large = pow(7, 1000);
  const std::string digits = large.toString();
  const std::function<void(Integer &)> acts[] = {
      [&](Integer &a) { a = large; },    [&](Integer &a) { a += large; },
      [&](Integer &a) { a -= large; },   [&](Integer &a) { a *= large; },
      [&](Integer &a) { a <<= 1000; },   [&](Integer &a) { a = Integer(digits); },
      [&](Integer &a) { a = -large; },   [&](Integer &a) { a = pow(a, 100); },
      [&](Integer &a) { a = large % a; }};
  for (const auto &act : acts) {
    Integer value = -5;
    EXPECT_TRUE(throwsWithoutMemory([&] { act(value); }));
    EXPECT_EQ(value, -5);
  }
}

TEST(IntegerMemory, RightShiftNeedsNoMemory) {
  Integer value = -pow(2, 4000);
  EXPECT_EQ(callsOf([&] { value >>= 1; }), 0);
  EXPECT_EQ(value, -pow(2, 3999));
}

}  // namespace
}  // namespace kt::test
