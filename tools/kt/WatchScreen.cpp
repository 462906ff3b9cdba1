// SPDX-License-Identifier: MIT

#include "tools/kt/WatchScreen.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <string_view>

#include "kt/foundation/Format.h"
#include "tools/common/Addresses.h"
#include "tools/common/Json.h"
#include "tools/kt/Sparkline.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

// ---- Cells ----

// The texts of a row, except the sparkline.
struct Cells {
  std::string name;
  std::string address;
  std::string roundTrip;
  std::string loss;
  std::string rate;
};

const Cells heading{"NAME", "ADDRESS", "ROUND TRIP", "LOSS", "REQ/S"};

std::string roundTripText(const ServerHistory &history) {
  if (history.roundTrips().empty()) return "-";
  const RoundTrip &last = history.roundTrips().back();
  return last ? kt::format("%.3f ms", last->count()) : "lost";
}

std::string lossText(const ServerHistory &history) {
  if (history.roundTrips().empty()) return "-";
  const double part = static_cast<double>(history.lost());
  return kt::format("%.0f %%", 100 * part / static_cast<double>(history.roundTrips().size()));
}

std::string rateText(std::optional<double> requestsPerSecond) {
  if (!requestsPerSecond) return "-";
  if (*requestsPerSecond < 1000) return kt::format("%.1f", *requestsPerSecond);
  // The server says how many it served; no number that it makes up is to widen the column.
  return kt::format(*requestsPerSecond < 1e6 ? "%.0f" : "%.1e", *requestsPerSecond);
}

Cells cellsOf(const WatchedServer &server) {
  return {escaped(server.name), endpoint(server.address), roundTripText(server.history),
          lossText(server.history), rateText(server.history.requestsPerSecond())};
}

// ---- Columns ----

constexpr std::size_t shortestName = 8;
constexpr std::size_t shortestSparkline = 8;
constexpr std::string_view gap = "  ";

// The widths of the columns, in their order; 0 if a column is left out.
struct Columns {
  std::size_t name = 0;
  std::size_t address = 0;
  std::size_t sparkline = 0;
  std::size_t roundTrip = 0;
  std::size_t loss = 0;
  std::size_t rate = 0;

  // Returns the width of a line: the columns and a gap between any two.
  [[nodiscard]] std::size_t total() const {
    std::size_t width = 0;
    for (const std::size_t column : {name, address, sparkline, roundTrip, loss, rate}) {
      if (column != 0) width += column + gap.size();
    }
    return width - gap.size();
  }
};

// Returns the widths that the longest cells need.
Columns widest(const std::vector<Cells> &rows) {
  Columns columns;
  for (const Cells &row : rows) {
    columns.name = std::max(columns.name, row.name.size());
    columns.address = std::max(columns.address, row.address.size());
    columns.roundTrip = std::max(columns.roundTrip, row.roundTrip.size());
    columns.loss = std::max(columns.loss, row.loss.size());
    columns.rate = std::max(columns.rate, row.rate.size());
  }
  columns.sparkline = ServerHistory::capacity;
  return columns;
}

// Returns the columns as they fit the width. The narrowest line, a name and a round trip, may still
// be too long.
Columns fitted(const Columns &wanted, std::size_t width) {
  Columns columns = wanted;
  columns.name = std::min(wanted.name, shortestName);
  columns.sparkline = shortestSparkline;
  for (std::size_t *column : {&columns.sparkline, &columns.rate, &columns.address, &columns.loss}) {
    if (columns.total() > width) *column = 0;
  }
  const auto widen = [&](std::size_t &column, std::size_t most) {
    const std::size_t total = columns.total();
    if (column != 0 && total < width) column += std::min(most - column, width - total);
  };
  widen(columns.sparkline, wanted.sparkline);
  widen(columns.name, wanted.name);
  return columns;
}

// ---- Lines ----

std::string leftAligned(std::string text, std::size_t width) {
  constexpr std::string_view ellipsis = "...";
  if (text.size() > width) {
    text.resize(width - ellipsis.size());
    text += ellipsis;
  }
  text.resize(width, ' ');
  return text;
}

std::string rightAligned(const std::string &text, std::size_t width) {
  return std::string(width - std::min(width, text.size()), ' ') + text;
}

// Returns the line of a row. `series` is its sparkline, columns.sparkline columns wide.
std::string lineOf(const Cells &cells, const std::string &series, const Columns &columns) {
  std::string line = leftAligned(cells.name, columns.name);
  if (columns.address != 0) line.append(gap) += leftAligned(cells.address, columns.address);
  if (columns.sparkline != 0) line.append(gap) += series;
  line.append(gap) += rightAligned(cells.roundTrip, columns.roundTrip);
  if (columns.loss != 0) line.append(gap) += rightAligned(cells.loss, columns.loss);
  if (columns.rate != 0) line.append(gap) += rightAligned(cells.rate, columns.rate);
  return line;
}

std::string headingLine(const Columns &columns) {
  std::string series;
  if (columns.sparkline != 0) series = kt::format("LAST %d", columns.sparkline);
  return lineOf(heading, leftAligned(series, columns.sparkline), columns);
}

}  // namespace

std::vector<std::string> screenLines(const std::vector<WatchedServer> &servers, ScreenSize size,
                                     Charset charset) {
  assert(!servers.empty());
  const bool allFit = servers.size() + 1 <= size.height;
  const std::size_t shown = allFit ? servers.size() : std::max<std::size_t>(size.height, 2) - 2;
  std::vector<Cells> rows{heading};
  std::transform(servers.begin(), servers.begin() + static_cast<std::ptrdiff_t>(shown),
                 std::back_inserter(rows), cellsOf);
  const Columns columns = fitted(widest(rows), size.width);

  std::vector<std::string> lines{headingLine(columns)};
  for (std::size_t row = 0; row < shown; ++row) {
    const std::vector<RoundTrip> &series = servers[row].history.roundTrips();
    lines.push_back(lineOf(rows[row + 1], sparkline(series, columns.sparkline, charset), columns));
  }
  if (!allFit) lines.push_back(kt::format("... and %d more", servers.size() - shown));
  lines.resize(std::min(lines.size(), size.height));
  for (std::string &line : lines) {
    // Too long are only lines of ASCII: a line that has room for a sparkline fits.
    if (columns.sparkline == 0) line.resize(std::min(line.size(), size.width));
  }
  return lines;
}

std::string jsonFor(const WatchedServer &server, double unixTime) {
  JsonObject object;
  object.addNumber("time", unixTime)
      .addText("name", server.name)
      .addText("address", dotted(server.address.sin_addr.s_addr))
      .addNumber("port", std::int64_t{ntohs(server.address.sin_port)});
  const std::vector<RoundTrip> &roundTrips = server.history.roundTrips();
  if (!roundTrips.empty() && roundTrips.back()) {
    object.addNumber("roundTripMs", roundTrips.back()->count());
  } else {
    object.addNull("roundTripMs");
  }
  object.addNumber("lost", static_cast<std::int64_t>(server.history.lost()));
  if (const std::optional<double> rate = server.history.requestsPerSecond()) {
    object.addNumber("requestsPerSecond", *rate);
  } else {
    object.addNull("requestsPerSecond");
  }
  return object.text();
}

}  // namespace kt::tools
