// SPDX-License-Identifier: MIT

// The keys of a configuration file: how each value is read, written and checked. Texts are read by
// the functions that read the command line (Arguments.h, HandlerText.h). Functions without state.
#ifndef KT_TOOLS_KTD_CONFIGURATIONKEYS_H
#define KT_TOOLS_KTD_CONFIGURATIONKEYS_H

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "kt/foundation/PropertyList.h"
#include "tools/ktd/Configuration.h"
#include "tools/text/PropertyListParts.h"

namespace kt::tools {

// A value in a file, or an element of it.
struct Setting {
  std::string_view key;  // which the value belongs to
  Part part;             // where the value is
  PropertyList value;
};

// The functions throw PropertyListError, with the place, if the value is wrong.
struct ConfigurationKey {
  std::string_view name;  // the long option without the dashes

  // Sets what the value says.
  void (*read)(const Setting &setting, Configuration &configuration);

  // Returns a value that `read` reads back, or nothing if the option was not given.
  std::optional<PropertyList> (*valueOf)(const Configuration &configuration);

  // Checks the value against all others and against the system. Null if there is nothing to check.
  void (*check)(const Setting &setting, const Configuration &configuration) = nullptr;
};

// Returns all keys, in the order of their names.
[[nodiscard]] std::span<const ConfigurationKey> configurationKeys();

// Returns why the directory `root` can't be served, or nothing if it can: "the files of \"/srv\"
// can't be served: Permission denied"
[[nodiscard]] std::optional<std::string> whyNotServed(const std::string &root);

// Returns why the program of `handler` can't be run, or nothing if it can: "the program
// \"/bin/fetch\" can't be run: No such file or directory"
[[nodiscard]] std::optional<std::string> whyNotStarted(const Handler &handler);

}  // namespace kt::tools

#endif
