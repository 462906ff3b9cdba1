// SPDX-License-Identifier: MIT

// The configuration file: a property list whose keys are the long options. docs/programs.md
// describes it. For one thread at a time.
#ifndef KT_TOOLS_KTD_CONFIGURATIONFILE_H
#define KT_TOOLS_KTD_CONFIGURATIONFILE_H

#include <functional>
#include <set>
#include <string>

#include "tools/ktd/Configuration.h"

namespace kt::tools {

// Some of the keys.
using KeySet = std::set<std::string, std::less<>>;

// Sets in `configuration` what the file `path` says, except for the keys in `given`, which the
// command line has set; their values are read, but not used. Throws Failure, with line and column,
// if the file has an unknown key, a repeated key or a wrong value, or names a directory or a
// program that can't be used now.
void applyConfigurationFile(const std::string &path, const KeySet &given,
                            Configuration &configuration);

// Returns the configuration as the text of a file, which reads back as the same configuration.
[[nodiscard]] std::string textOf(const Configuration &configuration);

}  // namespace kt::tools

#endif
