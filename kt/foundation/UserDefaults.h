// SPDX-License-Identifier: MIT

// Settings that a user makes outside the program. Each call reads the environment and the settings
// file anew. Any thread may call this function while none changes the environment.
#ifndef KT_FOUNDATION_USERDEFAULTS_H
#define KT_FOUNDATION_USERDEFAULTS_H

#include <string>

namespace kt {

// Returns the yes or no that the user chose for `key`. The environment variable of that name takes
// precedence. If it is not set, the value is the entry `key` of the settings file
// `kt/defaults.plist`, which is one dictionary. The file is in $XDG_CONFIG_HOME or, if that is not
// set or empty, in ~/.config. Here ~ is $HOME or, if that is not set or empty, the home directory
// in the user database.
//
// YES, TRUE, Y and T in any case mean yes. So does a text that begins with an integer other than 0,
// such as `1` or ` 2 of them`. Everything else means no:
//
//   - an absent key, the empty text, or a value that is not a string
//   - a settings file that is absent, unreadable, malformed, larger than 1 MiB, or not a regular
//     file; the call never waits for such a file
[[nodiscard]] bool boolUserDefault(const std::string &key);

}  // namespace kt

#endif
