// SPDX-License-Identifier: MIT

#include "kt/foundation/PropertyList.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/foundation/PropertyListSupport.h"

namespace kt::test {
namespace {

constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();

std::vector<std::string> keysOf(const Dictionary &dictionary) {
  std::vector<std::string> keys;
  for (const auto &[key, value] : dictionary) {
    keys.push_back(key);
  }
  return keys;
}

// ---- Kinds ----

TEST(PropertyList, IsEmptyStringByDefault) {
  EXPECT_EQ(PropertyList(), PropertyList(""));
  EXPECT_EQ(*PropertyList().asString(), "");
}

TEST(PropertyList, ConvertsToItsOwnKindOnly) {
  const PropertyList values[] = {"text", 1, Data(), Array(), Dictionary()};
  for (std::size_t kind = 0; kind < std::size(values); ++kind) {
    EXPECT_EQ(values[kind].asString() != nullptr, kind == 0);
    EXPECT_EQ(values[kind].asData() != nullptr, kind == 2);
    EXPECT_EQ(values[kind].asArray() != nullptr, kind == 3);
    EXPECT_EQ(values[kind].asDictionary() != nullptr, kind == 4);
  }
}

TEST(PropertyList, HoldsWhatItWasMadeFrom) {
  EXPECT_EQ(*PropertyList("a").asString(), "a");
  EXPECT_EQ(*PropertyList(std::string_view("b")).asString(), "b");
  EXPECT_EQ(*PropertyList(std::string("c\0d", 3)).asString(), std::string("c\0d", 3));
  EXPECT_EQ(*PropertyList(Data{std::byte{1}}).asData(), Data{std::byte{1}});
  EXPECT_EQ(*PropertyList(Array{"a", 1}).asArray(), (Array{"a", 1}));
  EXPECT_EQ(*PropertyList(Dictionary{{"a", 1}}).asDictionary(), (Dictionary{{"a", 1}}));
}

TEST(PropertyList, IsSmallAndMovesWithoutThrowing) {
  EXPECT_LE(sizeof(PropertyList), sizeof(std::string) + sizeof(std::uint64_t));
  EXPECT_TRUE(std::is_nothrow_move_constructible_v<PropertyList>);
  EXPECT_TRUE(std::is_nothrow_move_assignable_v<PropertyList>);
  EXPECT_TRUE(std::is_nothrow_move_constructible_v<Dictionary>);
  EXPECT_TRUE(std::is_nothrow_move_assignable_v<Dictionary>);
}

// ---- Equality ----

TEST(PropertyList, DiffersFromValuesOfOtherKinds) {
  const PropertyList values[] = {"", 0, Data(), Array(), Dictionary(), "0", "()", "{}"};
  for (std::size_t left = 0; left < std::size(values); ++left) {
    for (std::size_t right = 0; right < std::size(values); ++right) {
      EXPECT_EQ(values[left] == values[right], left == right);
    }
  }
}

TEST(PropertyList, EqualsSameIntegerOfAnotherType) {
  EXPECT_EQ(PropertyList(7), PropertyList(std::uint64_t{7}));
  EXPECT_EQ(PropertyList(-7), PropertyList(std::int64_t{-7}));
  EXPECT_EQ(PropertyList(true), PropertyList(1));
  EXPECT_EQ(PropertyList(std::int8_t{-128}), PropertyList(-128));
  EXPECT_NE(PropertyList(-1), PropertyList(std::numeric_limits<std::uint64_t>::max()));
  EXPECT_NE(PropertyList(-1), PropertyList(1));
}

TEST(PropertyList, ComparesArraysByElement) {
  EXPECT_EQ(PropertyList(Array{"a", "b"}), PropertyList(Array{"a", "b"}));
  EXPECT_NE(PropertyList(Array{"a", "b"}), PropertyList(Array{"b", "a"}));
  EXPECT_NE(PropertyList(Array{"a"}), PropertyList(Array{"a", "a"}));
  EXPECT_NE(PropertyList(Array{Array{"a", Array{1}}}), PropertyList(Array{Array{"a", Array{2}}}));
}

TEST(PropertyList, ComparesDictionariesWithoutOrder) {
  EXPECT_EQ((Dictionary{{"a", 1}, {"b", 2}}), (Dictionary{{"b", 2}, {"a", 1}}));
  EXPECT_NE((Dictionary{{"a", 1}}), (Dictionary{{"a", 2}}));
  EXPECT_NE((Dictionary{{"a", 1}}), (Dictionary{{"b", 1}}));
  EXPECT_NE((Dictionary{{"a", 1}}), (Dictionary{{"a", 1}, {"b", 2}}));
  EXPECT_NE(PropertyList(Array{Dictionary{{"a", 1}}}), PropertyList(Array{Dictionary{{"b", 1}}}));
}

// ---- intValue ----

TEST(PropertyList, IntValueOfNumberSaturates) {
  EXPECT_EQ(PropertyList(0).intValue(), 0);
  EXPECT_EQ(PropertyList(-5).intValue(), -5);
  EXPECT_EQ(PropertyList(true).intValue(), 1);
  EXPECT_EQ(PropertyList(largest).intValue(), largest);
  EXPECT_EQ(PropertyList(smallest).intValue(), smallest);
  EXPECT_EQ(PropertyList(std::int64_t{largest} + 1).intValue(), largest);
  EXPECT_EQ(PropertyList(std::int64_t{smallest} - 1).intValue(), smallest);
  EXPECT_EQ(PropertyList(std::numeric_limits<std::uint64_t>::max()).intValue(), largest);
  EXPECT_EQ(PropertyList(std::numeric_limits<std::int64_t>::min()).intValue(), smallest);
}

TEST(PropertyList, IntValueOfStringIsLeadingInteger) {
  EXPECT_EQ(PropertyList("42").intValue(), 42);
  EXPECT_EQ(PropertyList("+42").intValue(), 42);
  EXPECT_EQ(PropertyList("-42").intValue(), -42);
  EXPECT_EQ(PropertyList("007").intValue(), 7);
  EXPECT_EQ(PropertyList(" \t\n\v\f\r42").intValue(), 42);
  EXPECT_EQ(PropertyList("42abc").intValue(), 42);
  EXPECT_EQ(PropertyList("42 7").intValue(), 42);
  EXPECT_EQ(PropertyList("1.9").intValue(), 1);
  EXPECT_EQ(PropertyList("0x1F").intValue(), 0);
}

TEST(PropertyList, IntValueWithoutDigitsIsZero) {
  for (const char *text : {"", " ", "-", "+", "abc", "a1", "--1", "+-1", "- 1", ".5", "\u00A01"}) {
    EXPECT_EQ(PropertyList(text).intValue(), 0) << text;
  }
}

TEST(PropertyList, IntValueOfStringSaturates) {
  EXPECT_EQ(PropertyList("2147483647").intValue(), largest);
  EXPECT_EQ(PropertyList("2147483648").intValue(), largest);
  EXPECT_EQ(PropertyList("-2147483648").intValue(), smallest);
  EXPECT_EQ(PropertyList("-2147483649").intValue(), smallest);
  EXPECT_EQ(PropertyList("18446744073709551616").intValue(), largest);
  EXPECT_EQ(PropertyList("-18446744073709551617").intValue(), smallest);
  EXPECT_EQ(PropertyList(std::string(10'000, '9')).intValue(), largest);
  EXPECT_EQ(PropertyList(std::string(10'000, '0') + '3').intValue(), 3);
}

TEST(PropertyList, IntValueOfOtherKindsIsZero) {
  EXPECT_EQ(PropertyList(Data{std::byte{49}}).intValue(), 0);
  EXPECT_EQ(PropertyList(Array{1}).intValue(), 0);
  EXPECT_EQ(PropertyList(Dictionary{{"1", 1}}).intValue(), 0);
}

// ---- Copies and moves ----

TEST(PropertyList, AsIntegerOfNumberIsExact) {
  EXPECT_EQ(PropertyList(0).asInteger(), 0);
  EXPECT_EQ(PropertyList(true).asInteger(), 1);
  EXPECT_EQ(PropertyList(std::numeric_limits<std::int64_t>::min()).asInteger(),
            std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(PropertyList(std::numeric_limits<std::int64_t>::max()).asInteger(),
            std::numeric_limits<std::int64_t>::max());
}

TEST(PropertyList, AsIntegerOfNumberThatDoesNotFitIsNothing) {
  EXPECT_EQ(PropertyList(std::uint64_t{1} << 63).asInteger(), std::nullopt);
  EXPECT_EQ(PropertyList(std::numeric_limits<std::uint64_t>::max()).asInteger(), std::nullopt);
}

TEST(PropertyList, AsIntegerOfStringTakesWholeString) {
  EXPECT_EQ(PropertyList("12").asInteger(), 12);
  EXPECT_EQ(PropertyList("-12").asInteger(), -12);
  EXPECT_EQ(PropertyList("+12").asInteger(), 12);
  EXPECT_EQ(PropertyList("007").asInteger(), 7);
  EXPECT_EQ(PropertyList("-9223372036854775808").asInteger(),
            std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(PropertyList("9223372036854775807").asInteger(),
            std::numeric_limits<std::int64_t>::max());
}

TEST(PropertyList, AsIntegerOfOtherStringsIsNothing) {
  for (const char *text : {"", "-", "+", "+-1", "-+1", "--1", " 1", "1 ", "1x", "0x1", "1.0", "x",
                           "9223372036854775808", "-9223372036854775809"}) {
    EXPECT_EQ(PropertyList(text).asInteger(), std::nullopt) << '"' << text << '"';
  }
  EXPECT_EQ(PropertyList(std::string("1\0", 2)).asInteger(), std::nullopt);
}

TEST(PropertyList, AsIntegerOfOtherKindsIsNothing) {
  EXPECT_EQ(PropertyList(Array{1}).asInteger(), std::nullopt);
  EXPECT_EQ(PropertyList(Dictionary{{"a", 1}}).asInteger(), std::nullopt);
  EXPECT_EQ(PropertyList(Data{std::byte{'1'}}).asInteger(), std::nullopt);
}

TEST(PropertyList, ChangesInPlace) {
  PropertyList value = Dictionary{{"array", Array{"a"}}, {"data", Data()}, {"string", "s"}};
  Dictionary &dictionary = *value.asDictionary();
  dictionary["array"].asArray()->push_back("b");
  dictionary["data"].asData()->push_back(std::byte{1});
  dictionary["string"].asString()->append("t");
  EXPECT_EQ(value.description(), "{ array = ( a, b ); data = <01>; string = st; }");
  EXPECT_EQ(dictionary["array"].asString(), nullptr);
  EXPECT_EQ(dictionary["string"].asArray(), nullptr);
  EXPECT_EQ(dictionary["string"].asData(), nullptr);
}

TEST(PropertyList, CopyIsEqualAndIndependent) {
  Dictionary original{{"a", Array{1, "text longer than a small string", Data{std::byte{2}}}},
                      {"b", Dictionary{{"c", "d"}}}};
  const Dictionary copy = original;
  EXPECT_EQ(copy, original);
  original["a"] = 1;
  original["e"];
  EXPECT_EQ(copy.description(),
            "{ a = ( 1, \"text longer than a small string\", <02> ); b = { c = d; }; }");
}

TEST(PropertyList, MoveTransfersValue) {
  for (const PropertyList &value :
       {PropertyList("text"), PropertyList(7), PropertyList(Array{1, 2}),
        PropertyList(Dictionary{{"a", Array{1}}})}) {
    PropertyList source = value;
    PropertyList target = std::move(source);
    EXPECT_EQ(target, value);
    source = "again";
    EXPECT_EQ(source, PropertyList("again"));
    source = std::move(target);
    EXPECT_EQ(source, value);
  }
}

TEST(PropertyList, AssignsAnyKindToAnyOther) {
  const PropertyList values[] = {"text", 1, Data{std::byte{1}}, Array{1}, Dictionary{{"a", 1}}};
  for (const PropertyList &from : values) {
    for (const PropertyList &to : values) {
      PropertyList target = to;
      target = from;
      EXPECT_EQ(target, from);
    }
  }
}

TEST(PropertyList, KeepsValueOnSelfAssignment) {
  const std::string longText(100, 'x');
  const std::vector<PropertyList> values{
      "short", longText, 7, Data{std::byte{1}}, Array{1, Array{"a"}}, Dictionary{{"a", longText}}};
  for (const PropertyList &original : values) {
    PropertyList value = original;
    const PropertyList &itself = value;
    value = itself;
    EXPECT_EQ(value, original);
    value = std::move(const_cast<PropertyList &>(itself));
    EXPECT_EQ(value, original);
  }
}

TEST(PropertyList, AssignsFromInsideItself) {
  PropertyList value = Array{1, Array{"a", Array{"b"}}};
  value = value.asArray()->at(1);
  EXPECT_EQ(value, PropertyList(Array{"a", Array{"b"}}));
  value = *value.asArray()->at(1).asArray();
  EXPECT_EQ(value, PropertyList(Array{"b"}));
}

TEST(PropertyList, MovesFromInsideItself) {
  PropertyList value = Array{1, Array{"a", "b"}};
  value = std::move(const_cast<PropertyList &>(value.asArray()->at(1)));
  EXPECT_EQ(value, PropertyList(Array{"a", "b"}));
}

TEST(PropertyList, MayContainCopiesOfItself) {
  PropertyList value = Array{1};
  value = Array{value, value};
  EXPECT_EQ(value.description(), "( ( 1 ), ( 1 ) )");
}

// ---- Dictionaries ----

TEST(Dictionary, IteratesInByteOrderOfKeys) {
  const Dictionary dictionary{{"b", 1}, {"\u00E9", 2}, {"B", 3}, {"", 4}, {"a", 5}, {"ab", 6}};
  EXPECT_EQ(keysOf(dictionary), (std::vector<std::string>{"", "B", "a", "ab", "b", "\u00E9"}));
}

TEST(Dictionary, KeepsLastEntryOfSameKey) {
  const Dictionary dictionary{{"a", 1}, {"b", 1}, {"a", 2}, {"c", 1}, {"b", 2}, {"a", 3}};
  EXPECT_EQ(dictionary.description(), "{ a = 3; b = 2; c = 1; }");
}

TEST(Dictionary, FindReturnsValueOrNull) {
  const Dictionary dictionary{{"a", 1}, {"c", 3}};
  ASSERT_NE(dictionary.find("c"), nullptr);
  EXPECT_EQ(*dictionary.find("c"), PropertyList(3));
  for (const char *key : {"", "A", "b", "cc", "d"}) {
    EXPECT_EQ(dictionary.find(key), nullptr) << key;
  }
  EXPECT_EQ(Dictionary().find("a"), nullptr);
}

TEST(Dictionary, TypedValuesAreThoseOfTheirKind) {
  const Dictionary dictionary{{"array", Array{1}},
                              {"data", Data{std::byte{2}}},
                              {"dictionary", Dictionary{{"a", 1}}},
                              {"number", 3},
                              {"string", "s"}};
  EXPECT_EQ(dictionary.string("string"), "s");
  EXPECT_EQ(dictionary.integer("number"), 3);
  EXPECT_EQ(dictionary.array("array"), dictionary.find("array")->asArray());
  EXPECT_EQ(dictionary.dictionary("dictionary"), dictionary.find("dictionary")->asDictionary());
  EXPECT_EQ(dictionary.data("data"), dictionary.find("data")->asData());
}

TEST(Dictionary, TypedValuesOfOtherKindsAreNothing) {
  const Dictionary dictionary{{"number", 3}, {"string", "s"}};
  EXPECT_EQ(dictionary.string("number"), std::nullopt);
  EXPECT_EQ(dictionary.integer("string"), std::nullopt);
  EXPECT_EQ(dictionary.array("string"), nullptr);
  EXPECT_EQ(dictionary.dictionary("string"), nullptr);
  EXPECT_EQ(dictionary.data("string"), nullptr);
}

TEST(Dictionary, TypedValuesOfAbsentKeysAreNothing) {
  const Dictionary dictionary;
  EXPECT_EQ(dictionary.string("a"), std::nullopt);
  EXPECT_EQ(dictionary.integer("a"), std::nullopt);
  EXPECT_EQ(dictionary.array("a"), nullptr);
  EXPECT_EQ(dictionary.dictionary("a"), nullptr);
  EXPECT_EQ(dictionary.data("a"), nullptr);
}

TEST(Dictionary, IntegerMayBeString) {
  const PropertyList settings = PropertyList::parse("{ port = 4711; size = 4711k; }");
  EXPECT_EQ(settings.asDictionary()->integer("port"), 4711);
  EXPECT_EQ(settings.asDictionary()->integer("size"), std::nullopt);
}

TEST(Dictionary, AcceptsAnyBytesInKeys) {
  Dictionary dictionary;
  dictionary[std::string_view("a\0b", 3)] = 1;
  dictionary["a"] = 2;
  dictionary["\xFF"] = 3;
  EXPECT_EQ(dictionary.size(), 3u);
  EXPECT_EQ(dictionary.find(std::string_view("a\0b", 3))->intValue(), 1);
  EXPECT_EQ(dictionary.find("\xFF")->intValue(), 3);
}

TEST(Dictionary, SubscriptInsertsEmptyStringForNewKey) {
  Dictionary dictionary;
  EXPECT_EQ(dictionary["b"], PropertyList(""));
  dictionary["b"] = 2;
  dictionary["a"] = 1;
  dictionary["c"] = 3;
  EXPECT_EQ(dictionary["b"], PropertyList(2));
  EXPECT_EQ(dictionary.description(), "{ a = 1; b = 2; c = 3; }");
}

TEST(Dictionary, ContainsAndSizeFollowEntries) {
  Dictionary dictionary;
  EXPECT_TRUE(dictionary.empty());
  dictionary["a"] = 1;
  EXPECT_FALSE(dictionary.empty());
  EXPECT_EQ(dictionary.size(), 1u);
  EXPECT_TRUE(dictionary.contains("a"));
  EXPECT_FALSE(dictionary.contains("b"));
}

TEST(Dictionary, EraseReturnsWhetherKeyExisted) {
  Dictionary dictionary{{"a", 1}, {"b", 2}, {"c", 3}};
  EXPECT_TRUE(dictionary.erase("b"));
  EXPECT_FALSE(dictionary.erase("b"));
  EXPECT_EQ(dictionary, (Dictionary{{"a", 1}, {"c", 3}}));
}

TEST(Dictionary, CanBeUsedAgainAfterMove) {
  Dictionary source{{"a", 1}};
  const Dictionary target = std::move(source);
  source = Dictionary{{"b", 2}};
  source["c"] = 3;
  EXPECT_EQ(source, (Dictionary{{"b", 2}, {"c", 3}}));
  EXPECT_EQ(target, (Dictionary{{"a", 1}}));
}

TEST(Dictionary, AssignsFromInsideItself) {
  Dictionary dictionary{{"a", Dictionary{{"b", Dictionary{{"c", 1}}}}}};
  dictionary = *dictionary.find("a")->asDictionary();
  EXPECT_EQ(dictionary, (Dictionary{{"b", Dictionary{{"c", 1}}}}));
  dictionary = std::move(*dictionary["b"].asDictionary());
  EXPECT_EQ(dictionary, (Dictionary{{"c", 1}}));
  const Dictionary &itself = dictionary;
  dictionary = itself;
  EXPECT_EQ(dictionary, (Dictionary{{"c", 1}}));
}

}  // namespace
}  // namespace kt::test
