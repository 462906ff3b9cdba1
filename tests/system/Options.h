// SPDX-License-Identifier: MIT

// What the helper programs of these tests share: `--name value` options, and states of their
// process that a host may be in.
#ifndef KT_TESTS_SYSTEM_OPTIONS_H
#define KT_TESTS_SYSTEM_OPTIONS_H

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace test {

inline void require(bool condition, const char *what) {
  if (condition) return;
  std::perror(what);
  std::exit(2);
}

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
  // "1,2,3"
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

// Opens so many files, which stay open.
inline void openFiles(int count) {
  rlimit limits{};
  require(::getrlimit(RLIMIT_NOFILE, &limits) == 0, "getrlimit");
  limits.rlim_cur = limits.rlim_max;
  require(::setrlimit(RLIMIT_NOFILE, &limits) == 0, "setrlimit");
  for (int file = 0; file < count; ++file) {
    require(::open("/dev/null", O_RDONLY | O_CLOEXEC) >= 0, "open");
  }
}

// From now on a signal interrupts the process every so many milliseconds, unless there are 0.
inline void interruptEvery(int milliseconds) {
  if (milliseconds == 0) return;
  struct sigaction action {};
  action.sa_handler = [](int) {};  // without SA_RESTART: calls that wait end with EINTR
  require(::sigaction(SIGALRM, &action, nullptr) == 0, "sigaction");
  const itimerval every{{0, milliseconds * 1000}, {0, milliseconds * 1000}};
  require(::setitimer(ITIMER_REAL, &every, nullptr) == 0, "setitimer");
}

// The memory that the process has in use, in bytes.
inline std::int64_t residentBytes() {
  std::int64_t total = 0;
  std::int64_t resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * ::sysconf(_SC_PAGESIZE);
}

}  // namespace test

#endif
