// SPDX-License-Identifier: MIT

#include "tools/text/PropertyListParts.h"

#include <gtest/gtest.h>

#include <string>

namespace kt::test {
namespace {

using namespace tools;

// Returns what is written at `part`.
std::string written(const Part &part) {
  return std::string(part.whole.substr(part.offset, part.size));
}

std::vector<std::string> writtenElements(std::string_view text) {
  std::vector<std::string> texts;
  for (const Part &element : elementsOf(outermostPart(text))) {
    texts.push_back(written(element));
  }
  return texts;
}

using Texts = std::vector<std::string>;

TEST(PropertyListParts, OutermostOneLeavesOutWhatIsAroundIt) {
  EXPECT_EQ(written(outermostPart(" /* a */ // b\n (c) // d")), "(c)");
  EXPECT_EQ(written(outermostPart("\xEF\xBB\xBF{}")), "{}");
  EXPECT_EQ(outermostPart("\xEF\xBB\xBF{}").offset, 3U);
}

TEST(PropertyListParts, TextThatIsNoPropertyListIsRejected) {
  EXPECT_THROW((void)outermostPart("{ a = "), PropertyListError);
  EXPECT_THROW((void)outermostPart(""), PropertyListError);
}

TEST(PropertyListParts, ElementsAreInOrderOfText) {
  EXPECT_EQ(writtenElements("(b, 'c', <0f bd>, (d, e), {f = g})"),
            (Texts{"b", "'c'", "<0f bd>", "(d, e)", "{f = g}"}));
  EXPECT_EQ(writtenElements("( )"), Texts{});
  EXPECT_EQ(writtenElements("(a,)"), Texts{"a"});
}

TEST(PropertyListParts, BracketsInStringsAndCommentsDoNotCount) {
  const std::string strings = R"x((")", ')', "\")", '\')'))x";
  EXPECT_EQ(writtenElements("( " + strings + " /* ) */, // )\n b)"), (Texts{strings, "b"}));
}

TEST(PropertyListParts, CommentsBetweenTokensAreSkipped) {
  EXPECT_EQ(writtenElements("(/*1*//*2*/a /*3*/,//4\n//5\n/*6*/b /*7*/)"), (Texts{"a", "b"}));
}

TEST(PropertyListParts, CommentsDoNotBeginInBareStrings) {
  EXPECT_EQ(writtenElements("( http://x, /a//b, c// )"), (Texts{"http://x", "/a//b", "c//"}));
}

TEST(PropertyListParts, EntriesAreInOrderOfTextWithRepeatedKeys) {
  const std::string text = "{ b = 1; 'a' = (2); b = 3 }";
  const std::vector<EntryParts> entries = entriesOf(outermostPart(text));
  ASSERT_EQ(entries.size(), 3U);
  EXPECT_EQ(written(entries[0].key), "b");
  EXPECT_EQ(entries[0].key.offset, 2U);
  EXPECT_EQ(written(entries[1].key), "'a'");
  EXPECT_EQ(entries[1].key.value(), PropertyList("a"));
  EXPECT_EQ(written(entries[1].value), "(2)");
  EXPECT_EQ(written(entries[2].key), "b");
  EXPECT_EQ(entries[2].value.offset, 24U);
  EXPECT_TRUE(entriesOf(outermostPart("{}")).empty());
}

// ---- Against the parser ----

// Reads `part` bracket by bracket, which must yield what the parser reads at once.
PropertyList valueByParts(const Part &part) {
  const PropertyList whole = part.value();
  if (whole.asArray() != nullptr) {
    Array array;
    for (const Part &element : elementsOf(part)) {
      array.push_back(valueByParts(element));
    }
    return array;
  }
  if (whole.asDictionary() != nullptr) {
    Dictionary dictionary;
    for (const EntryParts &entry : entriesOf(part)) {
      const PropertyList key = entry.key.value();
      dictionary[*key.asString()] = valueByParts(entry.value);
    }
    return dictionary;
  }
  return whole;
}

TEST(PropertyListParts, TogetherAreValueThatParserReads) {
  for (const std::string text : {
           "a",
           "\"\"",
           "''",
           "/a",
           "(/a, /b/c, http://x//y)",
           "()",
           "{}",
           "(())",
           "({}, ())",
           "<>",
           "< 0f  bd >",
           "{ a = b }",
           "{ a = b; }",
           "{ a = { b = { c = (d, {}) } } }",
           "{ a = 1; a = 2; }",
           "( \"\\\\\", '\\'', \"\\\"\", \"\\U0041\\101\" )",
           "( \"\\\n)\", '\\\xC3', \"\xC3\xA4)\" )",
           "{\"a;b\"='c;d';\"{\"=\"}\"}",
           "(a /*)*/, b//, c //)\n, d)",
           "\v\f\r\n\t (a\r//)\r,b) \t",
           "{a=/*;*/b;/*}*/}",
           "($a, b:c, -1)",
       }) {
    EXPECT_EQ(valueByParts(outermostPart(text)), PropertyList::parse(text)) << text;
  }
}

}  // namespace
}  // namespace kt::test
