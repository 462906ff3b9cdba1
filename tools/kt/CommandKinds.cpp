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

// Returns the kinds in `answer`, each with its sentence. Throws Failure if it has none.
const Dictionary &kindsIn(const Dictionary &answer) {
  requireNoError(answer);
  const Dictionary *kinds = answer.dictionary(kindsKey);
  const bool allText = kinds != nullptr && std::ranges::all_of(*kinds, [](const auto &kind) {
                         return kind.second.asString() != nullptr;
                       });
  if (!allText) throw Failure("the server's answer lists no kinds: " + answer.description());
  return *kinds;
}

std::size_t widthOf(const Dictionary &kinds) {
  std::size_t width = 0;
  for (const auto &[name, summary] : kinds) {
    width = std::max(width, std::min(escaped(name).size(), widestName));
  }
  return width;
}

std::string lineOf(const std::string &kind, const std::string &summary, std::size_t width) {
  std::string line = escaped(kind);
  line.resize(std::max(width, line.size()) + 2, ' ');
  return line + escaped(summary);
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
    for (const auto &[kind, summary] : kinds) {
      const std::string &sentence = *summary.asString();  // kindsIn has checked it
      results.add(
          [&] { return lineOf(kind, sentence, width); },
          [&] { return JsonObject().addText("kind", kind).addText("summary", sentence).text(); });
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
