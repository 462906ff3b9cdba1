// SPDX-License-Identifier: MIT

// Shared by the helper programs of these tests: `--name value` options, and the conditions that a
// host process may run under.
#ifndef KT_TESTS_SYSTEM_OPTIONS_H
#define KT_TESTS_SYSTEM_OPTIONS_H

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/Require.h"

namespace kt::test {

class Options {
 public:
  Options(int count, char **arguments) {
    for (int index = 1; index + 1 < count; index += 2) {
      values_[arguments[index]] = arguments[index + 1];
    }
  }

  [[nodiscard]] std::string text(const std::string &name, const std::string &otherwise) const {
    const auto found = values_.find(name);
    return found != values_.end() ? found->second : otherwise;
  }
  [[nodiscard]] int number(const std::string &name, int otherwise) const {
    return std::stoi(text(name, std::to_string(otherwise)));
  }
  // Returns the numbers of a list such as "1,2,3"; none if the option is missing.
  [[nodiscard]] std::vector<std::int32_t> numbers(const std::string &name) const {
    std::vector<std::int32_t> result;
    std::istringstream stream(text(name, ""));
    for (std::string part; std::getline(stream, part, ',');) {
      result.push_back(std::stoi(part));
    }
    return result;
  }

 private:
  std::map<std::string, std::string> values_;
};

// Opens `count` files, which stay open.
inline void openFiles(int count) {
  rlimit limits{};
  require(::getrlimit(RLIMIT_NOFILE, &limits) == 0, "getrlimit");
  limits.rlim_cur = limits.rlim_max;
  require(::setrlimit(RLIMIT_NOFILE, &limits) == 0, "setrlimit");
  for (int file = 0; file < count; ++file) {
    require(::open("/dev/null", O_RDONLY | O_CLOEXEC) >= 0, "open");
  }
}

// Makes a signal interrupt the process every `milliseconds` ms; 0 means never.
inline void interruptEvery(int milliseconds) {
  if (milliseconds == 0) return;
  struct sigaction action {};
  action.sa_handler = [](int) {};  // without SA_RESTART: waiting calls end with EINTR
  require(::sigaction(SIGALRM, &action, nullptr) == 0, "sigaction");
  const itimerval every{{0, milliseconds * 1000}, {0, milliseconds * 1000}};
  require(::setitimer(ITIMER_REAL, &every, nullptr) == 0, "setitimer");
}

// Returns the resident memory of the process in bytes.
inline std::int64_t residentBytes() {
  std::int64_t total = 0;
  std::int64_t resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * ::sysconf(_SC_PAGESIZE);
}

}  // namespace kt::test

#endif
