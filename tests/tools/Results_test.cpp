// SPDX-License-Identifier: MIT

#include "tools/kt/Results.h"

#include <gtest/gtest.h>

namespace kt::test {
namespace {

using namespace tools;

// Returns what is printed for one result.
std::string printed(const Options &options) {
  testing::internal::CaptureStdout();
  Results(options).print([] { return std::string("text"); }, [] { return std::string("json"); });
  return testing::internal::GetCapturedStdout();
}

TEST(Results, PrintTextByDefault) {
  EXPECT_EQ(printed({}), "text\n");
}

TEST(Results, PrintJsonIfAsked) {
  Options options;
  options.json = true;
  EXPECT_EQ(printed(options), "json\n");
}

TEST(Results, PrintNothingIfQuiet) {
  Options options;
  options.quiet = true;
  EXPECT_EQ(printed(options), "");
  options.json = true;
  EXPECT_EQ(printed(options), "");
}

TEST(PathResults, EndWithNulIfAsked) {
  testing::internal::CaptureStdout();
  PathResults results({}, true);
  results.print([&] { return results.textOf("a\nb"); }, [] { return std::string(); });
  EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string_view("a\nb\0", 4));
}

TEST(PathResults, RefuseNulWithJson) {
  Options options;
  options.json = true;
  EXPECT_THROW(PathResults(options, true), Misuse);
}

}  // namespace
}  // namespace kt::test
