// SPDX-License-Identifier: MIT

// The kind Files of requests.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

#include "kt/udp/KtMessage.h"
#include "tests/tools/FakeClient.h"
#include "tests/walker/Tree.h"
#include "tools/common/Paths.h"
#include "tools/ktd/Dispatcher.h"
#include "tools/ktd/ReplySize.h"

namespace kt::test {
namespace {

using namespace tools;

using Names = std::vector<std::string>;

class KindFiles : public testing::Test {
 protected:
  void serve(Names roots, Names types = {"txt"}) {
    serve(ServedFiles{.roots = std::move(roots), .types = std::move(types)});
  }

  void serve(ServedFiles files) {
    Service service;
    service.files = std::move(files);
    dispatcher_.emplace(daemon_, std::move(service), 1, errors_);
  }

  [[nodiscard]] Dictionary answerTo(Dictionary request) {
    request[keywordKey] = "Files";
    return FakeClient(*dispatcher_).ask(std::move(request));
  }

  [[nodiscard]] std::string errorOf(const Dictionary &request) {
    const Dictionary answer = answerTo(request);
    const PropertyList *error = answer.find("Error");
    return error != nullptr && answer.size() == 1 ? *error->asString() : answer.description();
  }

  static Names namesIn(const Dictionary &answer) {
    Names names;
    for (const PropertyList &file : *answer.find("Files")->asArray()) {
      names.push_back(pathBytes(file).value_or("no path"));
    }
    return names;
  }

  // Returns the path, root/name, of every file on every page. Expects each page to fit a datagram.
  [[nodiscard]] Names everyPage(Dictionary request) {
    Names paths;
    for (std::int32_t next = 0; next >= 0;) {
      request["Offset"] = next;
      const Dictionary answer = answerTo(request);
      EXPECT_LE(replySize(daemon_.signature(), answer), largestDatagram);
      EXPECT_FALSE(answer.contains("Error")) << answer.description();
      for (const std::string &name : namesIn(answer)) {
        paths.push_back(joined(*pathBytes(*answer.find("Root")), name));
      }
      const PropertyList *following = answer.find("Next");
      const std::int32_t previous = std::exchange(next, -1);
      if (following != nullptr) {
        next = following->intValue();
        EXPECT_GT(next, previous);
      }
    }
    return paths;
  }

  KtUDPDaemon daemon_;
  ErrorLog errors_;
  std::optional<Dispatcher> dispatcher_;
};

Names sorted(Names names) {
  std::ranges::sort(names);
  return names;
}

// ---- Names and roots ----

TEST_F(KindFiles, RefusesIfServerServesNoFiles) {
  serve(Names());
  EXPECT_EQ(errorOf({}), "This server serves no files.");
}

TEST_F(KindFiles, ReturnsNamesRelativeToRoot) {
  const Tree tree{"a.txt", "d/b.txt", "d/c.dat"};
  serve({tree.root()});
  const Dictionary answer = answerTo({});
  EXPECT_EQ(sorted(namesIn(answer)), (Names{"a.txt", "d/b.txt"}));
  EXPECT_EQ(*answer.find("Root"), PropertyList(tree.root()));
  EXPECT_EQ(*answer.find("Total"), PropertyList(2));
  EXPECT_EQ(answer.size(), 3U) << answer.description();
}

TEST_F(KindFiles, IgnoresSlashesAtEndOfRoot) {
  const Tree tree{"root.txt/a.txt"};
  serve({tree.at("root.txt//")});
  const Dictionary answer = answerTo({});
  EXPECT_EQ(namesIn(answer), Names{"a.txt"}) << "the root is not among its own files";
  EXPECT_EQ(*answer.find("Root"), PropertyList(tree.at("root.txt//")));
}

TEST_F(KindFiles, ReturnsEmptyPageIfNoFileMatches) {
  const Tree tree{"a.dat"};
  serve({tree.root()});
  EXPECT_EQ(answerTo({}), (Dictionary{{"Files", Array()}, {"Root", tree.root()}, {"Total", 0U}}));
}

TEST_F(KindFiles, ReturnsNameThatIsNotUtf8AsData) {
  const Tree tree{"\xff.txt"};
  serve({tree.root()});
  const Dictionary answer = answerTo({});
  EXPECT_EQ(answer.find("Files")->description(), "( <ff2e747874> )");
}

TEST_F(KindFiles, ReturnsRootThatIsNotUtf8AsData) {
  const Tree tree{"\xff/a.txt"};
  serve({tree.at("\xff")});
  EXPECT_NE(answerTo({}).find("Root")->asData(), nullptr);
}

// ---- Types ----

TEST_F(KindFiles, ReturnsTypesNamedByRequestAndServer) {
  const Tree tree{"a.txt", "b.h", "c.dat", "d"};
  serve({tree.root()}, {"txt", "h"});
  EXPECT_EQ(sorted(namesIn(answerTo({}))), (Names{"a.txt", "b.h"}));
  EXPECT_EQ(namesIn(answerTo({{"Types", Array{"h", "dat"}}})), Names{"b.h"});
  EXPECT_EQ(namesIn(answerTo({{"Types", "h"}})), Names{"b.h"});
  EXPECT_EQ(namesIn(answerTo({{"Types", Array()}})), Names());
}

TEST_F(KindFiles, ReturnsRequestedTypesIfServerNamesNone) {
  const Tree tree{"a.txt", "b.h", "d", "e.\xff"};
  serve({tree.root()}, {});
  EXPECT_EQ(namesIn(answerTo({})), Names());
  EXPECT_EQ(sorted(namesIn(answerTo({{"Types", Array{"h", ""}}}))), (Names{"b.h", "d"}));
  EXPECT_EQ(namesIn(answerTo({{"Types", Array{Data{std::byte{0xff}}}}})), Names{"e.\xff"});
}

TEST_F(KindFiles, StaysBelowRootsWhateverRequestNames) {
  const Tree tree{"served/a.txt", "secret.txt", "served/x/"};
  serve({tree.at("served")}, {});
  for (const char *type : {"../secret.txt", "txt/../../secret.txt", "/etc", "..", "/", "*", "."}) {
    const Dictionary request{{"Types", Array{type}}, {"Root", tree.root()}, {"Files", tree.root()}};
    const Dictionary answer = answerTo(request);
    EXPECT_EQ(namesIn(answer), Names()) << type;
    EXPECT_EQ(*answer.find("Root"), PropertyList(tree.at("served")));
  }
}

// ---- Pages ----

TEST_F(KindFiles, SkipsFilesUpToOffset) {
  const Tree tree{"a.txt", "b.txt", "c.txt"};
  serve({tree.root()});
  const Names all = namesIn(answerTo({}));
  EXPECT_EQ(namesIn(answerTo({{"Offset", "1"}})), (Names{all[1], all[2]}));
  EXPECT_EQ(namesIn(answerTo({{"Offset", "3"}})), Names());
  EXPECT_FALSE(answerTo({{"Offset", "3"}}).contains("Next"));
  EXPECT_EQ(namesIn(answerTo({{"Offset", "2147483647"}})), Names());
}

TEST_F(KindFiles, ReturnsAtMostCountFiles) {
  const Tree tree{"a.txt", "b.txt", "c.txt"};
  serve({tree.root()});
  const Names all = namesIn(answerTo({}));
  const Dictionary answer = answerTo({{"Offset", 1}, {"Count", 1}});
  EXPECT_EQ(namesIn(answer), Names{all[1]});
  EXPECT_EQ(*answer.find("Next"), PropertyList(2));
  EXPECT_EQ(*answer.find("Total"), PropertyList(3));
  EXPECT_FALSE(answerTo({{"Count", 3}}).contains("Next"));
  EXPECT_EQ(*answerTo({{"Count", 0}}).find("Next"), PropertyList(0));
}

TEST_F(KindFiles, ReturnsRootsInOrderAndOneOnEachPage) {
  const Tree tree{"1/a.txt", "1/b.txt", "2/c.dat", "3/d.txt"};
  serve({tree.at("1"), tree.at("2"), tree.at("3")});
  const Dictionary first = answerTo({});
  EXPECT_EQ(sorted(namesIn(first)), (Names{"a.txt", "b.txt"}));
  EXPECT_EQ(*first.find("Total"), PropertyList(3));
  EXPECT_EQ(*first.find("Next"), PropertyList(2));
  const Dictionary second = answerTo({{"Offset", 2}});
  EXPECT_EQ(namesIn(second), Names{"d.txt"});
  EXPECT_EQ(*second.find("Root"), PropertyList(tree.at("3")));
  EXPECT_FALSE(second.contains("Next"));
}

TEST_F(KindFiles, SplitsLongNamesIntoPagesOfDatagramSize) {
  Tree tree;
  std::set<std::string> expected;
  const Names kinds{std::string(240, 'n'), std::string(240, '\x01'), std::string(240, '\xff')};
  for (int number = 0; number < 5000; ++number) {
    const std::string &kind = kinds[static_cast<std::size_t>(number) % kinds.size()];
    const std::string name = kind + std::to_string(number) + ".txt";
    tree.add(name);
    expected.insert(tree.at(name));
  }
  serve({tree.root()});
  const Names paths = everyPage({});
  EXPECT_EQ(paths.size(), 5000U);
  EXPECT_TRUE(std::set(paths.begin(), paths.end()) == expected);
}

TEST_F(KindFiles, FillsPageToLastByte) {
  Tree tree;
  for (int number = 1000; number < 6000; ++number) {
    tree.add(std::to_string(number) + "_name_of_20.txt");
  }
  serve({tree.root()});
  const std::size_t size = replySize(daemon_.signature(), answerTo({}));
  EXPECT_LE(size, largestDatagram);
  // Free space: one name, and digits of Total and Next, whose largest values are reserved.
  EXPECT_GT(size, largestDatagram - 60);
}

TEST_F(KindFiles, ReturnsAllFilesOfSeveralRoots) {
  Tree tree;
  for (int number = 0; number < 300; ++number) {
    tree.add(std::to_string(number % 3) + '/' + std::string(200, '\x02') + std::to_string(number) +
             ".txt");
  }
  serve({tree.at("0"), tree.at("1"), tree.at("2")});
  const Names paths = everyPage({{"Count", 70}});
  EXPECT_EQ(paths.size(), 300U);
  EXPECT_EQ(std::set(paths.begin(), paths.end()).size(), 300U);
}

TEST_F(KindFiles, ReportsErrorIfSignatureLeavesNoRoom) {
  const Tree tree{"a.txt"};
  daemon_.setSignature(std::string(65'500, 's'));
  serve({tree.root()});
  EXPECT_THAT(errorOf({}), testing::StartsWith("The answer is too large for a datagram, which "
                                               "carries 65,507 bytes: it takes 65,"));
}

// ---- Hostile requests ----

TEST_F(KindFiles, RejectsOffsetOrCountThatIsNotNumber) {
  const Tree tree{"a.txt"};
  serve({tree.root()});
  const Array wrong{"-1",
                    "",
                    "x",
                    "1x",
                    " 1",
                    "+1",
                    "1.5",
                    "2147483648",
                    "99999999999999999999",
                    Array(),
                    Array{"1"},
                    Dictionary(),
                    Data{std::byte{'1'}},
                    -1};
  for (const std::string key : {"Offset", "Count"}) {
    for (const PropertyList &value : wrong) {
      EXPECT_EQ(errorOf({{key, value}}), key + " is not a number from 0 up.")
          << value.description();
    }
  }
}

TEST_F(KindFiles, RejectsTypesThatAreNotStrings) {
  const Tree tree{"a.txt"};
  serve({tree.root()});
  for (const PropertyList &value : Array{Dictionary(), Array{"txt", Array{"txt"}},
                                         Array{Dictionary()}, Array{Array(), Array()}}) {
    EXPECT_EQ(errorOf({{"Types", value}}), "Types is not an array of strings.")
        << value.description();
  }
}

TEST_F(KindFiles, RejectsMoreThanHundredTypes) {
  const Tree tree{"a.txt"};
  serve({tree.root()});
  EXPECT_EQ(namesIn(answerTo({{"Types", Array(100, "txt")}})), Names{"a.txt"});
  EXPECT_EQ(errorOf({{"Types", Array(101, "txt")}}), "Types has more than 100.");
}

TEST_F(KindFiles, ReportsErrorInTimeForEndlessCycleOfLinks) {
  Tree tree{"a.txt"};
  for (const char *name : {"1", "2", "3"}) {
    tree.link(name, ".");
  }
  serve(ServedFiles{
      .roots = {tree.root()}, .types = {"txt"}, .longestWalk = std::chrono::milliseconds(100)});
  EXPECT_EQ(errorOf({}), "The files are too many to be listed in time.");
}

}  // namespace
}  // namespace kt::test
