// SPDX-License-Identifier: MIT

// kt parse: reads property-list text from a file or standard input and prints it in canonical form.
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

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

// ---- Reading ----

// A file that is open for reading. Standard input is not closed.
class Input {
 public:
  explicit Input(const std::string &file)
      : stream_(file == standardInput ? stdin : std::fopen(file.c_str(), "r")) {}
  Input(const Input &) = delete;
  Input &operator=(const Input &) = delete;
  ~Input() {
    // Nothing was written, so closing can lose nothing.
    if (stream_ != nullptr && stream_ != stdin) (void)std::fclose(stream_);
  }

  // Returns everything up to the end, or nothing if reading fails; errno then says why.
  [[nodiscard]] std::optional<std::string> contents() const {
    if (stream_ == nullptr) return std::nullopt;
    std::string text;
    std::array<char, 65536> block;
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), stream_)) {
      text.append(block.data(), count);
    }
    if (std::ferror(stream_) != 0) return std::nullopt;
    return text;
  }

 private:
  std::FILE *stream_;  // null if the file can't be opened
};

std::string contentsOf(const std::string &file, const std::string &name) {
  std::optional<std::string> text = Input(file).contents();
  if (!text) throw Failure(escaped(name) + ": can't read it: " + std::strerror(errno));
  return *std::move(text);
}

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
    const std::string text = contentsOf(file, name);
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
