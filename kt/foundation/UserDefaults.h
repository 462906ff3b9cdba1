// SPDX-License-Identifier: MIT

// Settings that a user makes outside the program. Each call reads the environment and the settings
// file anew. Any thread may call this function while none changes the environment.
#ifndef KT_FOUNDATION_USERDEFAULTS_H
#define KT_FOUNDATION_USERDEFAULTS_H

#include <string>

namespace kt {

// Returns the yes or no that the user chose for `key`. The environment variable of that name comes
// first. Only if it is not set, the same key counts in the settings file `kt/defaults.plist`, whose
// property list is a dictionary. The file is in $XDG_CONFIG_HOME or, if that is not set or empty,
// in ~/.config. There ~ is $HOME or, if that is not set or empty, the user database's home folder.
//
// YES, TRUE, Y and T in any case mean yes. So does a text that begins with an integer other than 0,
// such as `1` or ` 2 of them`. Everything else means no: an absent key, the empty text, a value
// that is not a string. So does a settings file that is absent, unreadable, malformed, larger than
// 1 MiB, or not a regular file. The call never waits for such a file.
[[nodiscard]] bool boolUserDefault(const std::string &key);

}  // namespace kt

#endif
