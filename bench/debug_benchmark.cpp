// SPDX-License-Identifier: MIT

// Measures a call of the debug log: switched off, against an inlined test of a global byte (the
// floor); switched on, for information, against snprintf and one write of the same line.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <limits>
#include <utility>

#include "bench/ratios.h"
#include "kt/diagnostics/KtDebug.h"

unsigned char floorSwitch = 0;  // tested by the floor; external, so the compiler must load it

namespace {

// The calls are unrolled: the alignment of a loop of four instructions would change the figure more
// than the call that is measured.
constexpr std::make_integer_sequence<int, 64> callsInARow;

template <typename Call, int... Numbers>
[[gnu::always_inline]] inline void callInARow(Call call, std::integer_sequence<int, Numbers...>) {
  (call(Numbers), ...);
}

[[gnu::cold, gnu::noinline]] void floorLine(const char *text, int number) {
  std::fprintf(stderr, "%s %d\n", text, number);
}

void floorTest(benchmark::State &state) {
  const auto test = [](int number) __attribute__((always_inline)) {
    if (floorSwitch) [[unlikely]] {
      floorLine("text", number);
    }
    benchmark::ClobberMemory();
  };
  for (auto _ : state) {
    callInARow(test, callsInARow);
  }
}

void disabledKtDebug(benchmark::State &state) {
  KtSetDebugEnabled(0);
  const auto log = [](int number) __attribute__((always_inline)) {
    KtDebug("%s %d", "text", number);
    benchmark::ClobberMemory();
  };
  for (auto _ : state) {
    callInARow(log, callsInARow);
  }
}

// Discards standard error while it lives.
class Silence {
 public:
  Silence() : saved_(::dup(STDERR_FILENO)) {
    const int nowhere = ::open("/dev/null", O_WRONLY);
    ::dup2(nowhere, STDERR_FILENO);
    ::close(nowhere);
  }
  Silence(const Silence &) = delete;
  Silence &operator=(const Silence &) = delete;
  ~Silence() {
    ::dup2(saved_, STDERR_FILENO);
    ::close(saved_);
  }

 private:
  int saved_;
};

void snprintfAndWrite(benchmark::State &state) {
  const Silence silence;
  int number = 0;
  for (auto _ : state) {
    std::array<char, 256> line;
    const int size =
        std::snprintf(line.data(), line.size(), "2026-11-21 06:54:12.345 %s[%d] %s %d\n", "bench",
                      1234, "Bound to port", number++);
    benchmark::DoNotOptimize(::write(STDERR_FILENO, line.data(), static_cast<std::size_t>(size)));
  }
}

void enabledKtDebug(benchmark::State &state) {
  const Silence silence;
  KtSetDebugEnabled(1);
  int number = 0;
  for (auto _ : state) {
    KtDebug("%s %d", "Bound to port", number++);
  }
  KtSetDebugEnabled(0);
}

}  // namespace

BENCHMARK(floorTest);
BENCHMARK(disabledKtDebug);
BENCHMARK(snprintfAndWrite);
BENCHMARK(enabledKtDebug);

int main(int argc, char **argv) {
  constexpr double noLimit = std::numeric_limits<double>::infinity();
  return bench::runWithRatios(
      argc, argv,
      {{"disabledKtDebug", "floorTest", 1.1}, {"enabledKtDebug", "snprintfAndWrite", noLimit}});
}
