// SPDX-License-Identifier: MIT

// Values nested too deeply for recursion. The tests run on threads with small stacks.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "kt/foundation/PropertyList.h"
#include "tests/foundation/PropertyListSupport.h"

namespace kt::test {
namespace {

thread_local std::size_t allocationCount = 0;  // allocations by this thread

}  // namespace
}  // namespace kt::test

// These operators count allocations. They are not inlined: the compiler would warn about memory
// that comes from operator new and goes to free().
[[gnu::noinline]] void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
  ++kt::test::allocationCount;
  return std::malloc(size);
}
[[gnu::noinline]] void *operator new(std::size_t size) {
  if (void *memory = operator new(size, std::nothrow); memory != nullptr) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void *memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void *memory, std::size_t) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void *memory, const std::nothrow_t &) noexcept {
  std::free(memory);
}

namespace kt::test {
namespace {

constexpr int depth = 100'000;
constexpr std::size_t smallStack =
    128 * 1024;  // bytes; a call for each of 100,000 levels needs more

// Runs `body` on a thread with a small stack.
void onSmallStack(std::function<void()> body) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, smallStack), 0);
  pthread_t thread;
  const auto run = [](void *function) -> void * {
    (*static_cast<std::function<void()> *>(function))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
  ASSERT_EQ(pthread_join(thread, nullptr), 0);
  ASSERT_EQ(pthread_attr_destroy(&attributes), 0);
}

// Returns a container around `inner`.
using Level = PropertyList (*)(PropertyList inner);

PropertyList loneElement(PropertyList inner) {
  Array array;
  array.push_back(std::move(inner));
  return array;
}

PropertyList loneEntry(PropertyList inner) {
  Dictionary dictionary;
  dictionary["k"] = std::move(inner);
  return dictionary;
}

PropertyList elementAmongContainers(PropertyList inner) {
  Array array{Array{"a", Array{"b"}}};
  array.push_back(std::move(inner));
  array.push_back(Dictionary{{"c", Dictionary{{"d", "e"}}}});
  return array;
}

PropertyList firstElement(PropertyList inner) {
  Array array;
  array.push_back(std::move(inner));
  array.push_back(Array{"a"});
  return array;
}

PropertyList lastEntry(PropertyList inner) {
  Dictionary dictionary{{"a", Array{"b"}}, {"c", "d"}};
  dictionary["z"] = std::move(inner);
  return dictionary;
}

PropertyList nested(int levels, Level level) {
  PropertyList value = "x";
  for (int i = 0; i < levels; ++i) {
    value = level(std::move(value));
  }
  return value;
}

class DeepPropertyList : public testing::TestWithParam<Level> {};

INSTANTIATE_TEST_SUITE_P(EachShape, DeepPropertyList,
                         testing::Values(loneElement, loneEntry, elementAmongContainers,
                                         firstElement, lastEntry));

TEST_P(DeepPropertyList, IsCopiedComparedAndDestroyed) {
  onSmallStack([] {
    const PropertyList value = nested(depth, GetParam());
    const PropertyList copy = value;
    EXPECT_TRUE(copy == value);
    EXPECT_FALSE(copy == nested(depth - 1, GetParam()));
  });
}

TEST_P(DeepPropertyList, IsAssigned) {
  onSmallStack([] {
    PropertyList value = nested(depth, GetParam());
    const PropertyList copy = value;
    value = nested(10, GetParam());
    EXPECT_EQ(value, nested(10, GetParam()));
    value = copy;
    EXPECT_TRUE(value == copy);
    value = "x";
    EXPECT_EQ(value, PropertyList("x"));
  });
}

// The first levels are destroyed differently from those below.
TEST_P(DeepPropertyList, IsCopiedComparedAndDestroyedAtEveryDepthUpTo100) {
  for (int levels = 0; levels <= 100; ++levels) {
    const PropertyList value = nested(levels, GetParam());
    const PropertyList copy = value;
    ASSERT_TRUE(copy == value) << levels;
    ASSERT_FALSE(copy == nested(levels + 1, GetParam())) << levels;
  }
}

TEST_P(DeepPropertyList, IsDestroyedWithoutAllocation) {
  onSmallStack([] {
    auto value = std::make_unique<PropertyList>(nested(depth, GetParam()));
    const std::size_t before = allocationCount;
    value.reset();
    EXPECT_EQ(allocationCount, before);
  });
}

TEST(PropertyListTree, WritesDeepValues) {
  onSmallStack([] {
    const std::string arrays = nested(depth, loneElement).description();
    EXPECT_EQ(arrays, repeated("( ", depth) + "x" + repeated(" )", depth));
    const std::string dictionaries = nested(depth, loneEntry).description();
    EXPECT_EQ(dictionaries, repeated("{ k = ", depth) + "x" + repeated("; }", depth));
  });
}

TEST(PropertyListTree, CopiesDeepDictionariesAndArrays) {
  onSmallStack([] {
    Dictionary dictionary = *nested(depth, loneEntry).asDictionary();
    const Dictionary copy = dictionary;
    EXPECT_TRUE(copy == dictionary);
    dictionary = Dictionary();
    dictionary = copy;
    Array array = *nested(depth, loneElement).asArray();
    const Array arrayCopy = array;
    EXPECT_TRUE(arrayCopy == array);
    array.clear();
  });
}

TEST(PropertyListTree, AssignsValueFromItsOwnMiddle) {
  onSmallStack([] {
    PropertyList value = nested(depth, firstElement);
    const PropertyList *middle = &value;
    for (int i = 0; i < depth / 2; ++i) {
      middle = &middle->asArray()->front();
    }
    value = *middle;
    EXPECT_TRUE(value == nested(depth - depth / 2, firstElement));
  });
}

TEST(PropertyListTree, CopiesAndWritesMillionLevels) {
  onSmallStack([] {
    const PropertyList value = nested(1'000'000, firstElement);
    const PropertyList copy = value;
    EXPECT_TRUE(copy == value);
    EXPECT_EQ(copy.description(), value.description());
  });
}

TEST(PropertyListTree, FindsDifferenceAtDeepestLevel) {
  onSmallStack([] {
    PropertyList left = "x";
    PropertyList right = "y";
    for (int i = 0; i < depth; ++i) {
      left = lastEntry(std::move(left));
      right = lastEntry(std::move(right));
    }
    EXPECT_FALSE(left == right);
  });
}

// The sanitizers check that every tree frees all its memory.
TEST(PropertyListTree, CopiesRandomShapes) {
  constexpr std::uint32_t seed = 20260104;
  SCOPED_TRACE(seed);
  RandomValues random(seed);
  for (int round = 0; round < 2000; ++round) {
    const PropertyList value = random.value(8);
    const PropertyList copy = value;
    ASSERT_EQ(copy, value);
    ASSERT_EQ(copy.description(), value.description());
  }
}

TEST(PropertyListTree, CopiesWideValues) {
  const PropertyList value = Array(1'000'000, Array{"a"});
  const PropertyList copy = value;
  EXPECT_TRUE(copy == value);
}

}  // namespace
}  // namespace kt::test
