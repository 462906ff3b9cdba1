// SPDX-License-Identifier: MIT

// Prints a command's results to standard output in the form that the options ask for: as text, as
// JSON or not at all. One thread at a time may use it.
#ifndef KT_TOOLS_KT_RESULTS_H
#define KT_TOOLS_KT_RESULTS_H

#include <chrono>
#include <string>
#include <string_view>

#include "tools/kt/Command.h"

namespace kt::tools {

class Results {
 public:
  explicit Results(const Options &options) : form_(formOf(options)) {}

  // Prints one result and flushes: text() as a line, or json() with --json, or nothing with
  // --quiet. Throws Failure if the output accepts no more, as every function here does.
  template <typename Text, typename Json>
  void print(Text text, Json json) {
    add(text, json);
    flush();
  }

  // The same for one of many results. They are written in blocks; call flush() after the last one.
  template <typename Text, typename Json>
  void add(Text text, Json json) {
    if (form_ == Form::none) return;
    append(form_ == Form::json ? json() : text());
  }

  // Writes the results added so far if they are many, or if nothing was written for 100 ms. Call it
  // now and then.
  void flushWhenDue();

  // Writes the results added so far.
  void flush();

  // Ends each result with `lineEnd` instead of a line feed. Requires: not with --json.
  void setLineEnd(char lineEnd) { lineEnd_ = lineEnd; }

 private:
  using Clock = std::chrono::steady_clock;
  enum class Form { text, json, none };

  static Form formOf(const Options &options) {
    if (options.quiet) return Form::none;
    return options.json ? Form::json : Form::text;
  }

  void append(std::string_view result);

  const Form form_;
  char lineEnd_ = '\n';
  std::string block_;                         // not written yet
  Clock::time_point written_ = Clock::now();  // when something was last written
};

// Prints paths, many of them. The text of a path is its bytes; on a terminal it is escaped instead,
// unless paths end with a NUL.
class PathResults : public Results {
 public:
  // `endsWithNul` ends each path with a NUL instead of a line feed. Throws Misuse if results are
  // JSON too.
  PathResults(const Options &options, bool endsWithNul);

  // Returns the text of `path`.
  [[nodiscard]] std::string textOf(std::string_view path) const;

 private:
  const bool escapes_;  // whether paths are escaped
};

}  // namespace kt::tools

#endif
