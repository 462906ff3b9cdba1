// SPDX-License-Identifier: MIT

// Where the configuration comes from: the command line, and the file that it names. An option on
// the command line replaces the file's value as a whole. For one thread at a time.
#ifndef KT_TOOLS_KTD_CONFIGURATIONSOURCE_H
#define KT_TOOLS_KTD_CONFIGURATIONSOURCE_H

#include <optional>
#include <string>

#include "tools/ktd/Configuration.h"
#include "tools/ktd/ConfigurationFile.h"

namespace kt::tools {

class ConfigurationSource {
 public:
  // Parses the command line. Returns nothing if the program is to go on, otherwise its exit status:
  // 0 after --help and --version, 2 after an error, which it has written to standard error.
  [[nodiscard]] std::optional<int> parse(int argc, const char *const *argv);

  // Returns whether the command line names a file (--config).
  [[nodiscard]] bool hasFile() const { return path_.has_value(); }

  // Returns whether the configuration is to be printed instead of used (--print-config).
  [[nodiscard]] bool printsConfiguration() const { return printsConfiguration_; }

  // Reads the file, if there is one, and returns what it and the command line say together. May be
  // called again, when the file has changed. Throws Failure if the file is missing or wrong, or if
  // a directory or a program can't be used now.
  [[nodiscard]] Configuration load() const;

 private:
  std::optional<std::string> path_;  // of the file
  bool printsConfiguration_ = false;
  Configuration given_;  // what the command line says; defaults for the rest
  KeySet givenKeys_;     // the options that the command line gives
};

// Returns why a running server can't change from `old` to `next`, or nothing if it can: "the ports
// can't change while ktd runs; restart it"
[[nodiscard]] std::optional<std::string> whyNotReloaded(const Configuration &old,
                                                        const Configuration &next);

}  // namespace kt::tools

#endif
