// SPDX-License-Identifier: MIT

#include "tools/common/Paths.h"

#include <gtest/gtest.h>

#include "tests/walker/Tree.h"

namespace kt::test {
namespace {

using namespace tools;

TEST(Paths, BecomeStringsIfUtf8AndDataOtherwise) {
  EXPECT_EQ(pathValue("a.txt"), PropertyList("a.txt"));
  EXPECT_EQ(pathValue(""), PropertyList(""));
  EXPECT_EQ(pathValue("\u00e4\n\U0001f600.txt"), PropertyList("\u00e4\n\U0001f600.txt"));
  EXPECT_EQ(pathValue("\ufffd"), PropertyList("\ufffd"));
  EXPECT_EQ(pathValue("\xff/a"),
            PropertyList(Data{std::byte{0xff}, std::byte{'/'}, std::byte{'a'}}));
  EXPECT_NE(pathValue("a\xe2\x82").asData(), nullptr);
}

TEST(Paths, ArriveUnchanged) {
  for (const std::string path :
       {"a/b.txt", "\xff\xfe", "\x01\x7f\n\"\\", "\u00e4", "\xed\xa0\x80"}) {
    const PropertyList sent = pathValue(path);
    EXPECT_EQ(pathBytes(PropertyList::parse(sent.description())), path);
  }
}

TEST(Paths, AreNotReadFromArraysDictionariesOrNumbers) {
  EXPECT_EQ(pathBytes(Array{"a"}), std::nullopt);
  EXPECT_EQ(pathBytes(Dictionary()), std::nullopt);
  EXPECT_EQ(pathBytes(7), std::nullopt);
}

TEST(Paths, AreJoinedWithOneSlash) {
  EXPECT_EQ(joined("/srv", "a.txt"), "/srv/a.txt");
  EXPECT_EQ(joined("/srv//", "a.txt"), "/srv/a.txt");
  EXPECT_EQ(joined("/", "a.txt"), "/a.txt");
  EXPECT_EQ(joined(".", "a/b"), "./a/b");
}

TEST(Paths, ReportWhyTheyCannotBeListed) {
  const Tree tree{"a.txt"};
  EXPECT_EQ(whyNotListed(tree.root()), std::nullopt);
  EXPECT_EQ(whyNotListed(tree.at("a.txt")), "Not a directory");
  EXPECT_EQ(whyNotListed(tree.at("missing")), "No such file or directory");
}

TEST(Paths, ReportWhyTheyCannotBeRun) {
  const Tree tree{"a.txt"};
  EXPECT_EQ(whyNotRun("/bin/sh"), std::nullopt);
  EXPECT_EQ(whyNotRun(tree.root()), "Is a directory");
  EXPECT_EQ(whyNotRun(tree.at("a.txt")), "Permission denied");
  EXPECT_EQ(whyNotRun(tree.at("missing")), "No such file or directory");
  EXPECT_EQ(whyNotRun("/dev/null"), "Not a regular file");
}

}  // namespace
}  // namespace kt::test
