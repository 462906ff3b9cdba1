// SPDX-License-Identifier: MIT

// What a ping prints: a line for each round trip and a summary at the end. The thread that pings
// and the one that waits for Ctrl-C share it: any thread may call it.
#ifndef KT_TOOLS_KT_PINGREPORT_H
#define KT_TOOLS_KT_PINGREPORT_H

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "tools/kt/Command.h"
#include "tools/kt/Connection.h"

namespace kt::tools {

class PingReport {
 public:
  // `server` is where the answers come from: "127.0.0.1:4798"
  PingReport(const Options &options, std::string server);

  // Prints that the round trip number `sequence` took the time `elapsed`, or that no answer came
  // within it. Throws as printLine.
  void add(std::int32_t sequence, bool answered, Milliseconds elapsed);

  // Prints the summary, the first time that it is called. The exit status: whether there was any
  // answer. Throws as printLine.
  int finish();

 private:
  void printSummary() const;

  const bool json_;           // lines and summary as JSON
  const bool quiet_;          // no lines, only the summary
  const std::string server_;  // where the answers come from
  std::mutex mutex_;
  std::uint64_t sent_ = 0;            // round trips added
  std::vector<double> roundTripsMs_;  // those that were answered
  bool finished_ = false;             // whether the summary is out; nothing is printed behind it
};

}  // namespace kt::tools

#endif
