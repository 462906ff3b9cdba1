// SPDX-License-Identifier: MIT

#include "tools/kt/Sparkline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace kt::tools {

namespace {

constexpr std::size_t levelCount = 8;
using Levels = std::array<std::string_view, levelCount>;
constexpr Levels asciiLevels{".", ":", "-", "=", "+", "*", "#", "@"};
constexpr Levels blockLevels{"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr std::string_view lost = "x";  // every terminal shows it one column wide

// Returns the level of `roundTrip`, from 0; the longest one has the highest.
std::size_t levelOf(Milliseconds roundTrip, Milliseconds longest) {
  if (roundTrip >= longest) return levelCount - 1;
  const double level = std::ceil(levelCount * (roundTrip / longest)) - 1;
  return static_cast<std::size_t>(std::max(level, 0.0));
}

}  // namespace

std::string sparkline(std::span<const RoundTrip> roundTrips, std::size_t width, Charset charset) {
  const std::span<const RoundTrip> shown = roundTrips.last(std::min(width, roundTrips.size()));
  const Levels &levels = charset == Charset::utf8 ? blockLevels : asciiLevels;
  Milliseconds longest{0};
  for (const RoundTrip &roundTrip : shown) {
    longest = std::max(longest, roundTrip.value_or(longest));
  }
  std::string text(width - shown.size(), ' ');
  for (const RoundTrip &roundTrip : shown) {
    text += roundTrip ? levels[levelOf(*roundTrip, longest)] : lost;
  }
  return text;
}

}  // namespace kt::tools
