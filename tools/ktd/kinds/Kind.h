// SPDX-License-Identifier: MIT

// The kinds of requests that ktd answers. Each is one function in a file of its own; the table in
// Kinds.cpp names them all. They run on the serving thread.
#ifndef KT_TOOLS_KTD_KINDS_KIND_H
#define KT_TOOLS_KTD_KINDS_KIND_H

#include <chrono>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kt/foundation/PropertyList.h"
#include "kt/udp/KtUDPDaemon.h"

namespace kt::tools {

// The files that clients may ask for.
struct ServedFiles {
  std::vector<std::string> roots;  // where to look, as they were given; none: no files are served
  std::vector<std::string> types;  // the extensions served; none: those that a request names
};

// What a kind may ask about the server that it runs in.
struct ServerState {
  const KtUDPDaemon &daemon;
  std::chrono::steady_clock::time_point started;  // when serving began
  ServedFiles files;
};

// The answer to the request's data packet `request`, whose keyword is the kind's name. It need not
// look after keywords or sizes: what leaves the server is checked in one place (Answers.h).
using Answer = Dictionary(const Dictionary &request, const ServerState &server);

struct Kind {
  std::string_view name;  // the keyword of its requests
  Answer *answer;
};

// All kinds, in the order in which they are named to people.
[[nodiscard]] std::span<const Kind> allKinds();

}  // namespace kt::tools

#endif
