// SPDX-License-Identifier: MIT

// kt kinds: the kinds of requests that a server answers.
#include <algorithm>

#include "tools/common/Json.h"
#include "tools/common/Requests.h"
#include "tools/kt/Connection.h"
#include "tools/kt/Request.h"
#include "tools/kt/Results.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

constexpr const char *help = R"(
Prints each kind and a sentence about it. "kt send" sends a request of any kind. As JSON: kind
and summary.
)";

// The width at which the column of names ends growing, so that one name can't push all sentences
// out of sight.
constexpr std::size_t widestName = 32;

using Kind = Dictionary::value_type;  // a name and a sentence

// Returns the kinds in `answer`. Throws Failure if it has none or if a sentence is not a string.
const Dictionary &kindsIn(const Dictionary &answer) {
  requireNoError(answer);
  const Dictionary *kinds = answer.dictionary(kindsKey);
  const bool allText = kinds != nullptr && std::ranges::all_of(*kinds, [](const Kind &kind) {
                         return kind.second.asString() != nullptr;
                       });
  if (!allText) throw Failure("the server's answer lists no kinds: " + answer.description());
  return *kinds;
}

std::size_t widthOf(const Dictionary &kinds) {
  std::size_t width = 0;
  for (const Kind &kind : kinds) {
    width = std::max(width, std::min(escaped(kind.first).size(), widestName));
  }
  return width;
}

std::string lineFor(const Kind &kind, std::size_t width) {
  std::string line = escaped(kind.first);
  line.resize(std::max(width, line.size()) + 2, ' ');
  return line + escaped(*kind.second.asString());
}

std::string jsonFor(const Kind &kind) {
  return JsonObject()
      .addText("kind", kind.first)
      .addText("summary", *kind.second.asString())
      .text();
}

class Kinds : public Command {
 public:
  void declare(CommandLine &line) override { line.setFooter(help); }

  int run(const Options &options) override {
    Connection connection(options);
    const Dictionary answer = connection.answerTo(requestOfKind(kindsKind));
    const Dictionary &kinds = kindsIn(answer);
    const std::size_t width = widthOf(kinds);
    Results results(options);
    for (const Kind &kind : kinds) {
      results.add([&] { return lineFor(kind, width); }, [&] { return jsonFor(kind); });
    }
    results.flush();
    return exitDone;
  }
};

}  // namespace

Command &kindsCommand() {
  static Kinds command;
  return command;
}

}  // namespace kt::tools
