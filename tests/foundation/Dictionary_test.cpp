// SPDX-License-Identifier: MIT

// Dictionaries of many entries, which are kept in another way than few.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kt/foundation/PropertyList.h"
#include "tests/foundation/PropertyListSupport.h"

namespace kt::test {

namespace {

static_assert(std::bidirectional_iterator<Dictionary::const_iterator>);

// Returns a key of eight characters; keys have the order of their numbers.
std::string keyOf(int number) {
  std::string digits = std::to_string(number);
  return std::string("k0000000", 8 - digits.size()) + digits;
}

std::vector<int> numbersBelow(int count) {
  std::vector<int> numbers(static_cast<std::size_t>(count));
  std::iota(numbers.begin(), numbers.end(), 0);
  return numbers;
}

std::vector<int> rising(int count) {
  return numbersBelow(count);
}

std::vector<int> falling(int count) {
  std::vector<int> numbers = numbersBelow(count);
  std::reverse(numbers.begin(), numbers.end());
  return numbers;
}

std::vector<int> shuffled(int count) {
  std::vector<int> numbers = numbersBelow(count);
  std::shuffle(numbers.begin(), numbers.end(), std::mt19937(20260104));
  return numbers;
}

Dictionary filledInOrder(const std::vector<int> &numbers) {
  Dictionary dictionary;
  for (const int number : numbers) {
    dictionary[keyOf(number)] = number;
  }
  return dictionary;
}

bool holdsEachNumberBelow(const Dictionary &dictionary, int count) {
  int expected = 0;
  for (const auto &[key, value] : dictionary) {
    if (key != keyOf(expected) || value.intValue() != expected) return false;
    ++expected;
  }
  return expected == count && dictionary.size() == static_cast<std::size_t>(count);
}

using Order = std::vector<int> (*)(int count);

class DictionaryFilling : public testing::TestWithParam<Order> {};

INSTANTIATE_TEST_SUITE_P(EachOrder, DictionaryFilling, testing::Values(rising, falling, shuffled));

TEST_P(DictionaryFilling, KeepsEveryEntryInKeyOrder) {
  for (int count = 0; count <= 100; ++count) {
    ASSERT_TRUE(holdsEachNumberBelow(filledInOrder(GetParam()(count)), count)) << count;
  }
}

TEST_P(DictionaryFilling, MakesEqualDictionariesInEveryOrder) {
  for (const int count : {5, 30, 31, 32, 33, 34, 35, 200}) {
    const Dictionary dictionary = filledInOrder(GetParam()(count));
    const Dictionary other = filledInOrder(rising(count));
    EXPECT_EQ(dictionary, other);
    EXPECT_EQ(dictionary.description(), other.description());
    EXPECT_EQ(PropertyList(dictionary), PropertyList(other));
    EXPECT_NE(dictionary, filledInOrder(rising(count + 1)));
  }
}

// Moving half of the entries for each insertion would take hours.
TEST_P(DictionaryFilling, FinishesWithMillionEntries) {
  constexpr int count = 1'000'000;
  Dictionary dictionary = filledInOrder(GetParam()(count));
  EXPECT_TRUE(holdsEachNumberBelow(dictionary, count));
  for (const int number : rising(count)) {
    ASSERT_TRUE(dictionary.erase(keyOf(number)));
  }
  EXPECT_TRUE(dictionary.empty());
}

TEST(DictionaryOfMany, FindsPresentKeysOnly) {
  const Dictionary dictionary = filledInOrder(falling(500));
  for (int number = 0; number < 500; ++number) {
    ASSERT_TRUE(dictionary.contains(keyOf(number)));
    ASSERT_EQ(dictionary.find(keyOf(number))->intValue(), number);
    ASSERT_FALSE(dictionary.contains(keyOf(number) + "x"));
  }
  for (const char *key : {"", "a", "k", "z"}) {
    EXPECT_EQ(dictionary.find(key), nullptr) << key;
  }
}

TEST(DictionaryOfMany, SubscriptReturnsPresentValueAndInsertsEmptyString) {
  Dictionary dictionary = filledInOrder(falling(100));
  dictionary[keyOf(50)] = "changed";
  EXPECT_EQ(dictionary.size(), 100u);
  EXPECT_EQ(*dictionary.find(keyOf(50)), PropertyList("changed"));
  EXPECT_EQ(dictionary["absent"], PropertyList(""));
  EXPECT_EQ(dictionary.size(), 101u);
  EXPECT_EQ(dictionary.begin()->first, "absent");
}

TEST(DictionaryOfMany, ReturnsReferenceToInsertedEntryAtEachSize) {
  for (int count = 0; count <= 100; ++count) {
    Dictionary dictionary = filledInOrder(rising(count));
    PropertyList &value = dictionary["a"];  // before all others
    value = "first";
    ASSERT_EQ(dictionary.begin()->first, "a");
    ASSERT_EQ(dictionary.begin()->second, PropertyList("first"));
  }
}

TEST(DictionaryOfMany, TakesKeyThatIsPartOfItsOwnKey) {
  for (int count = 1; count <= 100; ++count) {
    Dictionary dictionary = filledInOrder(rising(count));
    const std::string_view lastKey = std::prev(dictionary.end())->first;
    dictionary[lastKey.substr(1)] = "part";
    ASSERT_EQ(dictionary.size(), static_cast<std::size_t>(count) + 1);
    ASSERT_EQ(dictionary.begin()->first, keyOf(count - 1).substr(1));
    ASSERT_EQ(dictionary.begin()->second, PropertyList("part"));
  }
}

TEST(DictionaryOfMany, ErasesEntryWhoseOwnKeyIsGiven) {
  for (int count = 1; count <= 100; ++count) {
    Dictionary dictionary = filledInOrder(rising(count));
    ASSERT_TRUE(dictionary.erase(dictionary.begin()->first));
    ASSERT_EQ(dictionary.size(), static_cast<std::size_t>(count) - 1);
    ASSERT_FALSE(dictionary.contains(keyOf(0)));
  }
}

TEST(DictionaryOfMany, IteratorsWalkBackwardsToo) {
  for (const Order order : {rising, falling}) {
    const Dictionary dictionary = filledInOrder(order(100));
    int expected = 100;
    for (auto entry = dictionary.end(); entry != dictionary.begin();) {
      --entry;
      ASSERT_EQ(entry->second.intValue(), --expected);
    }
    EXPECT_EQ(expected, 0);
    EXPECT_EQ(std::distance(dictionary.begin(), dictionary.end()), 100);
    auto entry = dictionary.begin();
    EXPECT_EQ((*entry++).second.intValue(), 0);
    EXPECT_EQ((*entry--).second.intValue(), 1);
    EXPECT_EQ(entry, dictionary.begin());
  }
}

TEST(DictionaryOfMany, CopiesAndMovesAreIndependentValues) {
  Dictionary original = filledInOrder(falling(100));
  Dictionary copy = original;
  EXPECT_EQ(copy, original);
  copy["k"] = "new";
  EXPECT_NE(copy, original);
  EXPECT_TRUE(holdsEachNumberBelow(original, 100));
  Dictionary moved = std::move(original);
  EXPECT_TRUE(holdsEachNumberBelow(moved, 100));
  original = moved;
  EXPECT_EQ(original, moved);
  const Dictionary &itself = moved;
  moved = itself;
  EXPECT_TRUE(holdsEachNumberBelow(moved, 100));
  moved = Dictionary{{"a", 1}};
  EXPECT_EQ(moved.description(), "{ a = 1; }");
}

TEST(DictionaryOfMany, MayBeReplacedByDictionaryInsideIt) {
  Dictionary dictionary = filledInOrder(falling(100));
  dictionary["inner"] = filledInOrder(falling(50));
  dictionary = *dictionary.find("inner")->asDictionary();
  EXPECT_TRUE(holdsEachNumberBelow(dictionary, 50));
  dictionary["inner"] = filledInOrder(falling(40));
  dictionary = std::move(*dictionary["inner"].asDictionary());
  EXPECT_TRUE(holdsEachNumberBelow(dictionary, 40));
}

TEST(DictionaryOfMany, IsReadBackFromItsText) {
  const Dictionary dictionary = filledInOrder(shuffled(1000));
  const PropertyList read = PropertyList::parse(dictionary.description());
  EXPECT_EQ(read.description(), dictionary.description());
}

TEST(DictionaryOfMany, BehavesLikeMapUnderRandomChanges) {
  constexpr std::uint32_t seed = 20260105;
  SCOPED_TRACE(seed);
  RandomValues random(seed);
  for (const std::uint32_t keyCount : {5u, 40u, 70u, 300u}) {
    Dictionary dictionary;
    std::map<std::string, int> model;
    for (int step = 0; step < 5000; ++step) {
      const std::string key = keyOf(static_cast<int>(random.below(keyCount)));
      if (random.below(2) == 0) {
        dictionary[key] = step;
        model[key] = step;
      } else {
        ASSERT_EQ(dictionary.erase(key), model.erase(key) == 1);
      }
      if (random.below(100) == 0) dictionary = Dictionary(dictionary);
      ASSERT_EQ(dictionary.size(), model.size());
      ASSERT_EQ(dictionary.empty(), model.empty());
    }
    EXPECT_TRUE(std::equal(dictionary.begin(), dictionary.end(), model.begin(), model.end(),
                           [](const auto &entry, const auto &expected) {
                             return entry.first == expected.first &&
                                    entry.second.intValue() == expected.second;
                           }));
  }
}

// Each level is a dictionary of 40 entries that was filled from the last key to the first.
PropertyList nestedInTrees(int levels) {
  PropertyList value = "x";
  for (int level = 0; level < levels; ++level) {
    Dictionary dictionary = filledInOrder(falling(40));
    dictionary[keyOf(level % 40)] = std::move(value);
    value = std::move(dictionary);
  }
  return value;
}

// Runs `body` on a thread with 128 KiB of stack.
void onSmallStack(void (*body)()) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 128 * 1024), 0);
  pthread_t thread;
  const auto run = [](void *function) -> void * {
    (*static_cast<void (**)()>(function))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
  ASSERT_EQ(pthread_join(thread, nullptr), 0);
  ASSERT_EQ(pthread_attr_destroy(&attributes), 0);
}

TEST(DictionaryOfMany, MayBeNestedDeeply) {
  onSmallStack([] {
    constexpr int levels = 2000;
    PropertyList value = nestedInTrees(levels);
    const PropertyList copy = value;
    EXPECT_TRUE(copy == value);
    EXPECT_FALSE(copy == nestedInTrees(levels - 1));
    value = "x";
    EXPECT_FALSE(copy == value);
  });
}

}  // namespace

}  // namespace kt::test
