// SPDX-License-Identifier: MIT

#include "tools/common/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "tools/common/Failure.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

// If an option or an argument takes several texts, CLI11 splits "[a,b]" into a and b. This mark at
// the end of a text prevents that. No text of a command line contains it.
constexpr char noList = '\0';

std::string withoutMark(std::string text) {
  if (text.ends_with(noList)) text.pop_back();
  return text;
}

// Makes all options and arguments of `app` remove the mark before anything else reads the text.
void removeMarks(CLI::App &app) {
  for (CLI::Option *option : app.get_options({})) {
    option->transform(withoutMark);
  }
}

// Returns the arguments, marked, the last one first.
std::vector<std::string> markedArguments(int argc, const char *const *argv) {
  std::vector<std::string> arguments;
  for (int index = argc - 1; index > 0; --index) {
    std::string &argument = arguments.emplace_back(argv[index]);
    if (argument.ends_with(']')) argument += noList;
  }
  return arguments;
}

std::string chosenCommand(const CLI::App &app) {
  const std::vector<const CLI::App *> chosen =
      app.get_subcommands([](const CLI::App *command) { return command->parsed(); });
  return chosen.empty() ? std::string() : chosen.front()->get_name();
}

std::string nameWithCommand(const CLI::App &app) {
  const std::string command = chosenCommand(app);
  return command.empty() ? app.get_name() : app.get_name() + ' ' + command;
}

std::string misuseText(const CLI::App *app, const CLI::Error &error) {
  const std::string name = nameWithCommand(*app);
  return name + ": " + escaped(error.what()) + "\nTry \"" + name + " --help\".\n";
}

void setVersionFlag(CLI::App &app, const std::string &program) {
  app.set_version_flag("--version", program + ' ' + std::string(version),
                       "Print the version and end");
}

}  // namespace

// ---- CommandLine ----

void CommandLine::beginGroup(const char *heading) {
  app_->option_defaults()->group(heading);
}

void CommandLine::addFlag(const char *names, bool &value, const std::string &description) {
  app_->add_flag(names, value, description);
}

void CommandLine::addText(const OptionHelp &help, std::string &value) {
  app_->add_option(help.names, value, help.description)->type_name(help.valueName);
}

void CommandLine::addTexts(const OptionHelp &help, std::vector<std::string> &values,
                           CheckText check) {
  app_->add_option(help.names, values, help.description)
      ->type_name(help.valueName)
      ->check(check)
      ->allow_extra_args(false);
}

void CommandLine::addSeveral(const OptionHelp &help, std::vector<std::string> &values) {
  app_->add_option(help.names, values, help.description)->type_name(help.valueName);
}

void CommandLine::addList(const OptionHelp &help, std::vector<std::string> &values,
                          CheckText check) {
  app_->add_option(help.names, values, help.description)
      ->type_name(help.valueName)
      ->check(check)
      ->delimiter(',');
}

void CommandLine::addOption(const OptionHelp &help, void *value, ReadText read,
                            const char *wanted) {
  const std::string names = help.names;
  const std::string longName = names.substr(names.rfind(',') + 1);  // "--count" of "-c,--count"
  const auto take = [value, read, wanted, longName](const std::string &text) {
    if (read(text, value)) return;
    throw CLI::ValidationError(longName, inQuotes(text) + " is not " + wanted);
  };
  app_->add_option_function<std::string>(names, take, help.description)->type_name(help.valueName);
}

void CommandLine::addOptionalArgument(const char *name, std::optional<std::string> &value,
                                      const std::string &description) {
  app_->add_option(name, value, description)->type_name("");
}

void CommandLine::addArgument(const char *name, std::string &value,
                              const std::string &description) {
  app_->add_option(name, value, description)->type_name("")->required();
}

void CommandLine::addArguments(const char *name, std::vector<std::string> &values, bool required,
                               const std::string &description) {
  app_->add_option(name, values, description)->type_name("")->required(required);
}

void CommandLine::addRest(std::vector<std::string> &rest) {
  app_->allow_extras();
  app_->callback([app = app_, &rest] {
    rest = app->remaining();
    std::transform(rest.begin(), rest.end(), rest.begin(), withoutMark);
  });
}

bool CommandLine::isGiven(const std::string &name) const {
  return app_->get_option(name)->count() > 0;
}

void CommandLine::setFooter(std::string_view text) {
  if (text.starts_with('\n')) text.remove_prefix(1);
  if (text.ends_with('\n')) text.remove_suffix(1);
  app_->footer(std::string(text));
}

// ---- ProgramLine ----

ProgramLine::ProgramLine(const std::string &program, const std::string &summary)
    : CommandLine(*new CLI::App(summary, program)) {
  app_->require_subcommand(0, 1);  // the program itself says that a command is missing
  setVersionFlag(*app_, program);
}

ProgramLine::~ProgramLine() {
  delete app_;
}

CommandLine ProgramLine::addCommand(const char *name, const char *summary) {
  CLI::App *command = app_->add_subcommand(name, summary);
  setVersionFlag(*command, app_->get_name());
  return CommandLine(*command);
}

std::optional<int> ProgramLine::parse(int argc, const char *const *argv) {
  app_->failure_message(misuseText);
  removeMarks(*app_);
  for (CLI::App *command : app_->get_subcommands({})) {
    removeMarks(*command);
  }
  try {
    app_->parse(markedArguments(argc, argv));
    return std::nullopt;
  } catch (const CLI::ParseError &end) {
    return app_->exit(end) == 0 ? exitDone : exitMisused;
  }
}

std::string ProgramLine::command() const {
  return chosenCommand(*app_);
}

std::string ProgramLine::nameWithCommand() const {
  return tools::nameWithCommand(*app_);
}

}  // namespace kt::tools
