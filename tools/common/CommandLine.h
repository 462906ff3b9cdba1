// SPDX-License-Identifier: MIT

// Declares and reads command lines. The parser, CLI11, is included by CommandLine.cpp only, because
// compiling it takes longer than compiling everything else in this folder. For the main thread,
// while the program starts.
#ifndef KT_TOOLS_COMMON_COMMANDLINE_H
#define KT_TOOLS_COMMON_COMMANDLINE_H

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace kt::tools {

// The version of the toolkit: "0.1.0"
inline constexpr std::string_view version = KT_VERSION;

// Returns what is wrong with an argument's text; empty if nothing is.
using CheckText = std::string (*)(const std::string &text);

// How an option appears in --help.
struct OptionHelp {
  const char *names;        // "-c,--count"
  const char *valueName;    // "COUNT"
  std::string description;  // several lines are allowed
};

// The command line of a program or of one of its commands. A handle, valid as long as the
// ProgramLine that it belongs to. Variables passed to its functions are set by
// ProgramLine::parse() and must live until then.
class CommandLine {
 public:
  explicit CommandLine(CLI::App &app) : app_(&app) {}

  // Lists the options that are added from here on under `heading`.
  void beginGroup(const char *heading);

  // Adds an option without a value. `value` becomes true if it is given.
  void addFlag(const char *names, bool &value, const std::string &description);

  // Adds an option with a text.
  void addText(const OptionHelp &help, std::string &value);

  // Adds an option that is given once for each text.
  void addTexts(const OptionHelp &help, std::vector<std::string> &values, CheckText check);

  // Adds an option followed by one or more texts.
  void addSeveral(const OptionHelp &help, std::vector<std::string> &values);

  // Adds an option with texts separated by commas.
  void addList(const OptionHelp &help, std::vector<std::string> &values, CheckText check);

  // Adds an option whose text `read` converts; `read` returns nothing to refuse the text. The
  // refusal says that the text is not `wanted`: "a number of milliseconds from 1 up".
  template <auto read, typename Value>
  void addOption(const OptionHelp &help, Value &value, const char *wanted) {
    const ReadText convert = [](std::string_view text, void *target) {
      auto result = read(text);
      if (!result) return false;
      *static_cast<Value *>(target) = *std::move(result);
      return true;
    };
    addOption(help, &value, convert, wanted);
  }

  // Adds an argument: optional, required, or required and repeatable.
  void addOptionalArgument(const char *name, std::optional<std::string> &value,
                           const std::string &description);
  void addArgument(const char *name, std::string &value, const std::string &description);
  void addArguments(const char *name, std::vector<std::string> &values, bool required,
                    const std::string &description);

  // Stores in `rest` the arguments that no option or argument takes, instead of refusing them.
  void addRest(std::vector<std::string> &rest);

  // Returns whether the parsed command line gives the option: "--count"
  [[nodiscard]] bool isGiven(const std::string &name) const;

  // Ends --help with `text`. A line feed at either end of it is dropped, so that a raw string
  // literal may begin and end on lines of its own.
  void setFooter(std::string_view text);

 protected:
  using ReadText = bool (*)(std::string_view text, void *value);

  void addOption(const OptionHelp &help, void *value, ReadText read, const char *wanted);

  CLI::App *app_;  // owned by the ProgramLine
};

// The command line of a program. It has --help and --version, and its commands have them too.
class ProgramLine : public CommandLine {
 public:
  ProgramLine(const std::string &program, const std::string &summary);
  ~ProgramLine();
  ProgramLine(const ProgramLine &) = delete;
  ProgramLine &operator=(const ProgramLine &) = delete;

  // Adds a command, of which the command line names one at most.
  CommandLine addCommand(const char *name, const char *summary);

  // Parses the command line. Returns nothing if the program is to go on, otherwise its exit status:
  // 0 after --help and --version, 2 after an error, which it has written to standard error.
  [[nodiscard]] std::optional<int> parse(int argc, const char *const *argv);

  // The command that the parsed command line names, or empty.
  [[nodiscard]] std::string command() const;

  // The name for error messages: "kt hello" if there is a command, otherwise "kt".
  [[nodiscard]] std::string nameWithCommand() const;
};

}  // namespace kt::tools

#endif
