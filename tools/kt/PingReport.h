// SPDX-License-Identifier: MIT

// What a ping prints: a line for each round trip, and a summary at the end. Any thread may call it:
// the thread that pings and the one that waits for Ctrl-C share it.
#ifndef KT_TOOLS_KT_PINGREPORT_H
#define KT_TOOLS_KT_PINGREPORT_H

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "tools/kt/Command.h"
#include "tools/kt/Connection.h"
#include "tools/kt/Results.h"

namespace kt::tools {

class PingReport {
 public:
  // `server` is where the answers come from: "127.0.0.1:4798"
  PingReport(const Options &options, std::string server);

  // Prints that round trip number `sequence` took the time `elapsed`, or that no answer came within
  // that time. Throws as printLine does.
  void add(std::int32_t sequence, bool answered, Milliseconds elapsed);

  // Prints the summary on the first call. Returns the exit status: exitDone if there was any
  // answer, otherwise exitFailed. Throws as printLine does.
  int finish();

 private:
  [[nodiscard]] std::string textSummary() const;
  [[nodiscard]] std::string jsonSummary() const;

  const std::string server_;          // where the answers come from
  std::mutex mutex_;                  // for everything below
  Results lines_;                     // the round trips
  Results summary_;                   // printed with --quiet too
  std::uint64_t sent_ = 0;            // round trips added
  std::vector<double> roundTripsMs_;  // those that were answered
  bool finished_ = false;             // whether the summary is printed; nothing follows it
};

}  // namespace kt::tools

#endif
