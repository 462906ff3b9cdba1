// SPDX-License-Identifier: MIT

#include "tools/kt/PingReport.h"

#include <utility>

#include "kt/foundation/Format.h"
#include "tools/common/Output.h"
#include "tools/kt/Json.h"
#include "tools/kt/Statistics.h"

namespace kt::tools {

namespace {

Json jsonSummary(std::uint64_t sent, const std::vector<double> &roundTripsMs) {
  const std::size_t received = roundTripsMs.size();
  Json summary{{"sent", sent}, {"received", received}, {"lost", sent - received}};
  summary.update(
      {{"minMs", nullptr}, {"medianMs", nullptr}, {"p99Ms", nullptr}, {"maxMs", nullptr}});
  if (received == 0) return summary;
  const Statistics figures = statisticsOf(roundTripsMs);
  summary.update({{"minMs", figures.min},
                  {"medianMs", figures.median},
                  {"p99Ms", figures.p99},
                  {"maxMs", figures.max}});
  return summary;
}

}  // namespace

PingReport::PingReport(const Options &options, std::string server)
    : json_(options.json), quiet_(options.quiet), server_(std::move(server)) {}

void PingReport::add(std::int32_t sequence, bool answered, Milliseconds elapsed) {
  const std::lock_guard lock(mutex_);
  if (finished_) return;
  ++sent_;
  if (answered) roundTripsMs_.push_back(elapsed.count());
  if (quiet_) return;
  if (json_) {
    const Json roundTrip = answered ? Json(elapsed.count()) : Json(nullptr);
    printJson({{"sequence", sequence}, {"roundTripMs", roundTrip}});
  } else if (answered) {
    printLine(kt::format("%d: answer from %s in %.3f ms", sequence, server_, elapsed.count()));
  } else {
    printLine(kt::format("%d: no answer from %s within %s", sequence, server_,
                         wholeMilliseconds(elapsed)));
  }
}

int PingReport::finish() {
  const std::lock_guard lock(mutex_);
  if (!std::exchange(finished_, true)) printSummary();
  return roundTripsMs_.empty() ? exitFailed : exitDone;
}

void PingReport::printSummary() const {
  if (json_) return printJson(jsonSummary(sent_, roundTripsMs_));
  const std::uint64_t lost = sent_ - roundTripsMs_.size();
  const double lostPercent =
      sent_ == 0 ? 0 : 100.0 * static_cast<double>(lost) / static_cast<double>(sent_);
  printLine(kt::format("%d sent, %d received, %d lost (%.3g %%)", sent_, roundTripsMs_.size(), lost,
                       lostPercent));
  if (roundTripsMs_.empty()) return;
  const Statistics figures = statisticsOf(roundTripsMs_);
  printLine(kt::format("round trip min %.3f, median %.3f, p99 %.3f, max %.3f ms", figures.min,
                       figures.median, figures.p99, figures.max));
}

}  // namespace kt::tools
