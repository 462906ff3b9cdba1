// SPDX-License-Identifier: MIT

#include "tools/kt/PingReport.h"

#include <utility>

#include "kt/foundation/Format.h"
#include "tools/common/Json.h"
#include "tools/common/Statistics.h"

namespace kt::tools {

namespace {

Options withoutQuiet(Options options) {
  options.quiet = false;
  return options;
}

}  // namespace

PingReport::PingReport(const Options &options, std::string server)
    : server_(std::move(server)), lines_(options), summary_(withoutQuiet(options)) {}

void PingReport::add(std::int32_t sequence, bool answered, Milliseconds elapsed) {
  const std::scoped_lock lock(mutex_);
  if (finished_) return;
  ++sent_;
  if (answered) roundTripsMs_.push_back(elapsed.count());
  const auto text = [&] {
    return answered
               ? kt::format("%d: answer from %s in %.3f ms", sequence, server_, elapsed.count())
               : kt::format("%d: no answer from %s within %s", sequence, server_,
                            wholeMilliseconds(elapsed));
  };
  const auto json = [&] {
    JsonObject object;
    object.addNumber("sequence", std::int64_t{sequence});
    answered ? object.addNumber("roundTripMs", elapsed.count()) : object.addNull("roundTripMs");
    return object.text();
  };
  lines_.print(text, json);
}

int PingReport::finish() {
  const std::scoped_lock lock(mutex_);
  if (!std::exchange(finished_, true)) {
    summary_.print([&] { return textSummary(); }, [&] { return jsonSummary(); });
  }
  return roundTripsMs_.empty() ? exitFailed : exitDone;
}

std::string PingReport::textSummary() const {
  const std::uint64_t lost = sent_ - roundTripsMs_.size();
  const double lostPercent =
      sent_ == 0 ? 0 : 100.0 * static_cast<double>(lost) / static_cast<double>(sent_);
  std::string summary = kt::format("%d sent, %d received, %d lost (%.3g %%)", sent_,
                                   roundTripsMs_.size(), lost, lostPercent);
  if (roundTripsMs_.empty()) return summary;
  const Statistics figures = statisticsOf(roundTripsMs_);
  return summary + kt::format("\nround trip min %.3f, median %.3f, p99 %.3f, max %.3f ms",
                              figures.min, figures.median, figures.p99, figures.max);
}

std::string PingReport::jsonSummary() const {
  const std::size_t received = roundTripsMs_.size();
  JsonObject summary;
  summary.addNumber("sent", static_cast<std::int64_t>(sent_))
      .addNumber("received", static_cast<std::int64_t>(received))
      .addNumber("lost", static_cast<std::int64_t>(sent_ - received));
  if (received == 0) {
    summary.addNull("minMs").addNull("medianMs").addNull("p99Ms").addNull("maxMs");
  } else {
    const Statistics figures = statisticsOf(roundTripsMs_);
    summary.addNumber("minMs", figures.min)
        .addNumber("medianMs", figures.median)
        .addNumber("p99Ms", figures.p99)
        .addNumber("maxMs", figures.max);
  }
  return summary.text();
}

}  // namespace kt::tools
