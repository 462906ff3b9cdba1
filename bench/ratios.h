// SPDX-License-Identifier: MIT

// Runs the registered benchmarks, then prints the ratios of our times to those of a peer or a lower
// bound, measured in the same run. Include it in one source per program; main() calls
// runWithRatios().
#ifndef KT_BENCH_RATIOS_H
#define KT_BENCH_RATIOS_H

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace bench {

enum class Per { call, byte };  // byte: per byte counted by SetBytesProcessed()

// Claims that the benchmark `ours` takes at most `limit` times as long as `reference`.
struct Ratio {
  std::string ours;
  std::string reference;
  double limit;
  Per per = Per::call;
};

// Prints the usual report and keeps the processor time of every repetition.
class Recorder : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run> &runs) override {
    for (const Run &run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      const auto rate = run.counters.find("bytes_per_second");
      Times &times = times_[run.run_name.function_name];
      // A benchmark of another process measures the time of that process itself.
      const bool isManual = run.run_name.time_type == "manual_time";
      const double time = isManual ? run.real_accumulated_time : run.cpu_accumulated_time;
      times.perCall.push_back(time / static_cast<double>(run.iterations));
      if (rate != run.counters.end()) times.perByte.push_back(1 / rate->second.value);
    }
    ConsoleReporter::ReportRuns(runs);
  }

  // Returns the median of all repetitions in seconds, or 0 if the benchmark did not run.
  double median(const std::string &name, Per per) {
    std::vector<double> &times = per == Per::call ? times_[name].perCall : times_[name].perByte;
    if (times.empty()) return 0;
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
  }

 private:
  struct Times {
    std::vector<double> perCall;  // seconds
    std::vector<double> perByte;  // seconds
  };

  std::map<std::string, Times> times_;
};

inline void printRatios(Recorder &recorder, const std::vector<Ratio> &ratios) {
  std::printf("\n%-34s %-34s %12s %12s %7s %7s\n", "measured", "compared with", "ns", "ns", "ratio",
              "limit");
  for (const Ratio &claim : ratios) {
    const double ours = recorder.median(claim.ours, claim.per);
    const double reference = recorder.median(claim.reference, claim.per);
    if (ours <= 0 || reference <= 0) continue;  // excluded by --benchmark_filter
    const double ratio = ours / reference;
    std::printf("%-34s %-34s %12.3f %12.3f %7.2f %7.2f%s%s\n", claim.ours.c_str(),
                claim.reference.c_str(), ours * 1e9, reference * 1e9, ratio, claim.limit,
                claim.per == Per::byte ? " per byte" : "", ratio > claim.limit ? " MISSED" : "");
  }
}

// Runs each benchmark nine times in random order, so that other load on the machine affects all of
// them alike. The command line can change this. Returns the exit status of the program.
inline int runWithRatios(int argc, char **argv, const std::vector<Ratio> &ratios) {
  std::string repetitions = "--benchmark_repetitions=9";
  std::string interleaving = "--benchmark_enable_random_interleaving=true";
  std::string aggregates = "--benchmark_report_aggregates_only=false";
  std::string duration = "--benchmark_min_time=0.05";
  std::vector<char *> arguments{argv[0], repetitions.data(), interleaving.data(), aggregates.data(),
                                duration.data()};
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;
  Recorder recorder;
  benchmark::RunSpecifiedBenchmarks(&recorder);
  printRatios(recorder, ratios);
  return 0;
}

}  // namespace bench

#endif
