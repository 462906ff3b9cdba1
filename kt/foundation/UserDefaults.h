// SPDX-License-Identifier: MIT

// Settings that a user makes outside the program. A function without state: the environment and the
// file are read at each call. Any thread may call it while none changes the environment.
#ifndef KT_FOUNDATION_USERDEFAULTS_H
#define KT_FOUNDATION_USERDEFAULTS_H

#include <string>

namespace kt {

// The yes or no that the user chose for `key`. It is read from the environment variable of that
// name; only where that is not set, from the same key of the dictionary in the property-list file
// `kt/defaults.plist` of the user's configuration folder: $XDG_CONFIG_HOME where that is set and
// not empty, else ~/.config, with ~ as $HOME or, where that is not set or empty, as the user
// database has it.
//
// YES, TRUE, Y and T in any case mean yes, and so does a text that begins with a number other than
// 0
// (`1`, ` 2 of them`). Everything else means no: the empty text, an absent key, a value that is no
// string, a file that is absent, unreadable, malformed, larger than 1 MiB or no regular file (which
// is never waited for).
[[nodiscard, gnu::visibility("default")]] bool boolUserDefault(const std::string &key);

}  // namespace kt

#endif
