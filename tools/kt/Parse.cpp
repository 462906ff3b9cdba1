// SPDX-License-Identifier: MIT

// kt parse: property-list text from a file or standard input, printed in canonical form.
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "tools/common/Failure.h"
#include "tools/common/Output.h"
#include "tools/kt/Command.h"
#include "tools/kt/Excerpt.h"
#include "tools/kt/Json.h"

namespace kt::tools {

namespace {

constexpr const char *standardInput = "-";

Failure readFailure(const std::string &name) {
  const std::string reason = std::strerror(errno);
  return Failure(visible(name) + ": can't read it: " + reason);
}

std::string contentsOf(const std::string &file, const std::string &name) {
  const auto close = [](std::FILE *stream) {
    if (stream != stdin) (void)std::fclose(stream);  // nothing was written that could get lost
  };
  const std::unique_ptr<std::FILE, decltype(close)> input(
      file == standardInput ? stdin : std::fopen(file.c_str(), "r"), close);
  if (!input) throw readFailure(name);
  std::string contents;
  std::array<char, 65536> block;
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), input.get())) {
    contents.append(block.data(), count);
  }
  if (std::ferror(input.get()) != 0) throw readFailure(name);
  return contents;
}

int parse(const std::string &file, const Options &options) {
  const std::string name = file == standardInput ? "standard input" : file;
  const std::string text = contentsOf(file, name);
  try {
    const PropertyList value = PropertyList::parse(text);
    if (options.quiet) return exitDone;
    if (options.json) {
      printJson(jsonOf(value));
    } else {
      printLine(value.description());
    }
    return exitDone;
  } catch (const PropertyListError &error) {
    throw Failure(visible(name) + ": " + visible(error.what()) + '\n' +
                  excerpt(text, error.offset()));
  }
}

}  // namespace

Action declareParse(CLI::App &app) {
  const auto file = std::make_shared<std::string>(standardInput);
  app.add_option("FILE", *file, "The file to read (default: standard input, also given as -)")
      ->type_name("");
  app.footer(
      "Prints the value as text that any peer reads: keys sorted, comments gone, ASCII only.\n"
      "With --json as one line of JSON; data becomes {\"data\": \"0fbd77\"}, numbers are strings.\n"
      "Where the text is malformed it says where and what was expected and ends with status 1.");
  return [file](const Options &options) { return parse(*file, options); };
}

}  // namespace kt::tools
