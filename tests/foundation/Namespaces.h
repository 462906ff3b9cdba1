// SPDX-License-Identifier: MIT

// A child process in namespaces of its own, for tests that change what belongs to the machine: its
// name, its mounts.
#ifndef KT_TESTS_FOUNDATION_NAMESPACES_H
#define KT_TESTS_FOUNDATION_NAMESPACES_H

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <exception>
#include <fstream>
#include <optional>
#include <string>

namespace kt::test {

// Gives the user and the group of this process the same numbers in its new user namespace.
inline bool keepIdentity(const std::string &user, const std::string &group) {
  const auto isWritten = [](const char *path, const std::string &text) {
    return static_cast<bool>((std::ofstream(path) << text).flush());
  };
  return isWritten("/proc/self/setgroups", "deny") &&
         isWritten("/proc/self/uid_map", user + ' ' + user + " 1\n") &&
         isWritten("/proc/self/gid_map", group + ' ' + group + " 1\n");
}

// Runs `body` in a child process with a user namespace, where it has all privileges under its own
// user id, and the namespaces of `flags` (CLONE_NEWUTS, ...). Returns what `body` returned, false
// too when it threw; nothing when the system gives no namespaces.
template <typename Body>
std::optional<bool> inNamespaces(int flags, Body body) {
  constexpr int noNamespaces = 77;
  const pid_t child = fork();
  if (child < 0) return std::nullopt;
  if (child == 0) {
    const std::string user = std::to_string(getuid());
    const std::string group = std::to_string(getgid());
    if (unshare(CLONE_NEWUSER | flags) != 0 || !keepIdentity(user, group)) _exit(noNamespaces);
    try {
      _exit(body() ? 0 : 1);
    } catch (const std::exception &) {
      _exit(1);
    }
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child) return std::nullopt;
  if (WIFEXITED(status) && WEXITSTATUS(status) == noNamespaces) return std::nullopt;
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace kt::test

#endif
