// SPDX-License-Identifier: MIT

// What a server offers, as its configuration says. A reload makes another Service; requests in work
// keep the one that they began with. Never changed once it is made, so any thread may read it.
#ifndef KT_TOOLS_KTD_SERVICE_H
#define KT_TOOLS_KTD_SERVICE_H

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace kt::tools {

// The files that clients may ask for.
struct ServedFiles {
  std::vector<std::string> roots;  // where to look, as given; none: no files are served
  std::vector<std::string> types;  // the extensions served; none: those that a request names
  std::chrono::milliseconds longestWalk{5000};  // the most that one request may take

  friend bool operator==(const ServedFiles &, const ServedFiles &) = default;
};

// A program that answers the requests of one kind.
struct Handler {
  std::string program;                 // an absolute path
  std::vector<std::string> arguments;  // without the program itself

  friend bool operator==(const Handler &, const Handler &) = default;
};

struct Service {
  ServedFiles files;
  std::map<std::string, Handler, std::less<>> handlers;  // by kind
  std::chrono::milliseconds handlerTimeout{10'000};      // the most that one run may take

  friend bool operator==(const Service &, const Service &) = default;
};

}  // namespace kt::tools

#endif
