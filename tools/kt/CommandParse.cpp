// SPDX-License-Identifier: MIT

// kt parse: reads property-list text from a file or standard input and prints it in canonical form.
#include "tools/common/Input.h"
#include "tools/common/Json.h"
#include "tools/kt/Results.h"
#include "tools/text/Escape.h"
#include "tools/text/Excerpt.h"

namespace kt::tools {

namespace {

constexpr const char *standardInput = "-";

constexpr const char *help = R"(
Prints the value as text that any peer can read: keys sorted, no comments, ASCII only. With
--json as one line of JSON; data becomes {"data": "0fbd77"}, numbers are strings. If the text
is malformed, says where and what was expected, and ends with status 1.
)";

// ---- The command ----

class Parse : public Command {
 public:
  void declare(CommandLine &line) override {
    line.addOptionalArgument("FILE", file_,
                             "The file to read (default: standard input, also as -)");
    line.setFooter(help);
  }

  int run(const Options &options) override {
    const std::string file = file_.value_or(standardInput);
    const std::string name = file == standardInput ? "standard input" : file;
    const std::string text =
        file == standardInput ? contentsOfStandardInput() : contentsOfFile(file);
    try {
      const PropertyList value = PropertyList::parse(text);
      Results(options).print([&] { return value.description(); }, [&] { return jsonOf(value); });
      return exitDone;
    } catch (const PropertyListError &error) {
      throw Failure(escaped(name) + ": " + escaped(error.what()) + '\n' +
                    excerpt(text, error.offset()));
    }
  }

 private:
  std::optional<std::string> file_;
};

}  // namespace

Command &parseCommand() {
  static Parse command;
  return command;
}

}  // namespace kt::tools
