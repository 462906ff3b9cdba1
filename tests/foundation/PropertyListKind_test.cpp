// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <utility>

#include "kt/foundation/PropertyList.h"

namespace kt::test {

namespace {

using Kind = PropertyList::Kind;

TEST(PropertyListKind, NamesKindOfEachValue) {
  EXPECT_EQ(PropertyList().kind(), Kind::string);
  EXPECT_EQ(PropertyList("text").kind(), Kind::string);
  EXPECT_EQ(PropertyList(1).kind(), Kind::number);
  EXPECT_EQ(PropertyList(true).kind(), Kind::number);
  EXPECT_EQ(PropertyList(Data()).kind(), Kind::data);
  EXPECT_EQ(PropertyList(Array()).kind(), Kind::array);
  EXPECT_EQ(PropertyList(Dictionary()).kind(), Kind::dictionary);
}

TEST(PropertyListKind, FollowsAssignment) {
  PropertyList value = Array{1};
  value = Dictionary{{"a", 1}};
  EXPECT_EQ(value.kind(), Kind::dictionary);
  value = 7;
  EXPECT_EQ(value.kind(), Kind::number);
  value = PropertyList::parse("( a )");
  EXPECT_EQ(value.kind(), Kind::array);
}

TEST(PropertyListKind, IsNeverNumberForValueReadFromText) {
  EXPECT_EQ(PropertyList::parse("12").kind(), Kind::string);
  EXPECT_EQ(PropertyList::parse("<12>").kind(), Kind::data);
}

}  // namespace

}  // namespace kt::test
