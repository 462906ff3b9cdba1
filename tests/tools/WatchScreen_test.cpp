// SPDX-License-Identifier: MIT

#include "tools/kt/WatchScreen.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "kt/foundation/Utf8.h"
#include "kt/udp/Socket.h"

namespace kt::test {
namespace {

using namespace tools;
using Lines = std::vector<std::string>;
using std::chrono::seconds;

WatchedServer server(const std::string &name, std::uint16_t port = 4798) {
  return {name, ipv4(htonl(0x0a000009), port), {}};
}

// A server that answered twice, lost a request and answered again.
WatchedServer hut() {
  WatchedServer hut = server("hut");
  const Clock::time_point start{};
  hut.history.addAnswer(Milliseconds(1), 10, start);
  hut.history.addAnswer(Milliseconds(2), 20, start + seconds(1));
  hut.history.addLoss();
  hut.history.addAnswer(Milliseconds(0.25), 50, start + seconds(3));
  return hut;
}

// A server that never answered a request.
WatchedServer silentServer() {
  WatchedServer silent = server("silent", 4711);
  silent.history.addLoss();
  return silent;
}

std::size_t columnCount(std::string_view line) {
  std::size_t count = 0;
  while (!line.empty()) {
    line.remove_prefix(firstUtf8Character(line).byteCount);
    ++count;
  }
  return count;
}

TEST(WatchScreen, ShowsRowForEachServer) {
  EXPECT_EQ(screenLines({hut(), silentServer(), server("new")}, {72, 24}, Charset::utf8),
            (Lines{
                "NAME    ADDRESS        LAST 23                  ROUND TRIP   LOSS  REQ/S",
                "hut     10.0.0.9:4798                     ▄█x▁    0.250 ms   25 %   15.0",
                "silent  10.0.0.9:4711                        x        lost  100 %      -",
                "new     10.0.0.9:4798                                    -      -      -",
            }));
}

TEST(WatchScreen, ShowsAsciiInOtherLocales) {
  EXPECT_EQ(screenLines({hut()}, {60, 24}, Charset::ascii),
            (Lines{
                "NAME  ADDRESS        LAST 14         ROUND TRIP  LOSS  REQ/S",
                "hut   10.0.0.9:4798            =@x.    0.250 ms  25 %   15.0",
            }));
}

TEST(WatchScreen, ShowsLast60OnWideTerminal) {
  const Lines lines = screenLines({hut()}, {200, 24}, Charset::utf8);
  EXPECT_TRUE(lines[0].starts_with("NAME  ADDRESS        LAST 60 ")) << lines[0];
  EXPECT_EQ(columnCount(lines[1]), 4 + 2 + 13 + 2 + 60 + 2 + 10 + 2 + 4 + 2 + 5);
}

TEST(WatchScreen, TruncatesNameBeforeSparkline) {
  const std::vector<WatchedServer> servers{server("a-rather-long-name-of-a-host")};
  const auto heading = [&](std::size_t width) {
    return screenLines(servers, {width, 24}, Charset::ascii)[0];
  };
  const auto row = [&](std::size_t width) {
    return screenLines(servers, {width, 24}, Charset::ascii)[1];
  };
  EXPECT_TRUE(row(130).starts_with("a-rather-long-name-of-a-host  10.0.0.9:4798  ")) << row(130);
  EXPECT_TRUE(row(129).starts_with("a-rather-long-name-of-a-...  10.0.0.9:4798  ")) << row(129);
  EXPECT_TRUE(row(110).starts_with("a-rat...  10.0.0.9:4798  ")) << row(110);
  EXPECT_TRUE(heading(110).starts_with("NAME      ADDRESS        LAST 60  ")) << heading(110);
  EXPECT_TRUE(row(109).starts_with("a-rat...  10.0.0.9:4798  ")) << row(109);
  EXPECT_TRUE(heading(109).starts_with("NAME      ADDRESS        LAST 59  ")) << heading(109);
}

TEST(WatchScreen, LeavesOutColumnsOnNarrowTerminal) {
  const std::vector<WatchedServer> servers{hut()};
  const auto lines = [&](std::size_t width) {
    return screenLines(servers, {width, 24}, Charset::utf8);
  };
  EXPECT_EQ(lines(54), (Lines{"NAME  ADDRESS        LAST 8    ROUND TRIP  LOSS  REQ/S",
                              "hut   10.0.0.9:4798      ▄█x▁    0.250 ms  25 %   15.0"}));
  EXPECT_EQ(lines(53), (Lines{"NAME  ADDRESS        ROUND TRIP  LOSS  REQ/S",
                              "hut   10.0.0.9:4798    0.250 ms  25 %   15.0"}));
  EXPECT_EQ(lines(40), (Lines{"NAME  ADDRESS        ROUND TRIP  LOSS",
                              "hut   10.0.0.9:4798    0.250 ms  25 %"}));
  EXPECT_EQ(lines(30), (Lines{"NAME  ROUND TRIP  LOSS",  //
                              "hut     0.250 ms  25 %"}));
  EXPECT_EQ(lines(20), (Lines{"NAME  ROUND TRIP",  //
                              "hut     0.250 ms"}));
  EXPECT_EQ(lines(5), (Lines{"NAME ", "hut  "}));
}

TEST(WatchScreen, NeverExceedsSize) {
  std::vector<WatchedServer> servers{hut(), silentServer(), server(std::string(100, 'n'), 65535)};
  for (std::size_t width = 1; width <= 250; ++width) {
    for (std::size_t height = 1; height <= 5; ++height) {
      const Lines lines = screenLines(servers, {width, height}, Charset::utf8);
      EXPECT_EQ(lines.size(), std::min<std::size_t>(height, 4));
      for (const std::string &line : lines) {
        EXPECT_LE(columnCount(line), width) << line;
      }
    }
  }
}

TEST(WatchScreen, CountsServersThatDoNotFit) {
  const std::vector<WatchedServer> servers{server("a"), server("b"), server("c"), server("d")};
  EXPECT_EQ(screenLines(servers, {20, 5}, Charset::ascii).back(), "d              -");
  EXPECT_EQ(screenLines(servers, {20, 4}, Charset::ascii),
            (Lines{"NAME  ROUND TRIP", "a              -", "b              -", "... and 2 more"}));
  EXPECT_EQ(screenLines(servers, {20, 2}, Charset::ascii),
            (Lines{"NAME  ROUND TRIP", "... and 4 more"}));
  EXPECT_EQ(screenLines(servers, {20, 1}, Charset::ascii), (Lines{"NAME  ROUND TRIP"}));
}

TEST(WatchScreen, EscapesNames) {
  EXPECT_TRUE(screenLines({server("\x1b[2J\xc3\xa9\n")}, {200, 24}, Charset::utf8)[1].starts_with(
      R"(\033[2J\U00e9\n  10.0.0.9:4798)"));
}

TEST(WatchScreen, WritesLargeRatesShort) {
  WatchedServer busy = server("busy");
  busy.history.addAnswer(Milliseconds(1), 0, Clock::time_point());
  busy.history.addAnswer(Milliseconds(1), 123456, Clock::time_point(seconds(1)));
  EXPECT_TRUE(screenLines({busy}, {80, 24}, Charset::ascii)[1].ends_with("  123456"));
  busy.history.addAnswer(Milliseconds(1), 9'000'000'000'000'000'000, Clock::time_point(seconds(2)));
  EXPECT_TRUE(screenLines({busy}, {80, 24}, Charset::ascii)[1].ends_with("  9.0e+18"));
}

TEST(WatchScreen, JsonTellsLastRequestAndHistory) {
  EXPECT_EQ(jsonFor(hut(), 1770000000.25),
            "{\"time\":1770000000.25,\"name\":\"hut\",\"address\":\"10.0.0.9\",\"port\":4798,"
            "\"roundTripMs\":0.25,\"lost\":1,\"requestsPerSecond\":15.0}");
  EXPECT_EQ(jsonFor(silentServer(), 1770000001),
            "{\"time\":1770000001.0,\"name\":\"silent\",\"address\":\"10.0.0.9\",\"port\":4711,"
            "\"roundTripMs\":null,\"lost\":1,\"requestsPerSecond\":null}");
}

}  // namespace
}  // namespace kt::test
