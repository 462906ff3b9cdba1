// SPDX-License-Identifier: MIT

// Runs a test in a child process with its own namespaces, so that it may change the host name or
// the mounts.
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

// Maps the user and the group of this process to the same ids in its new user namespace. Returns
// whether that succeeded.
inline bool keepIdentity(const std::string &user, const std::string &group) {
  const auto isWritten = [](const char *path, const std::string &text) {
    return static_cast<bool>((std::ofstream(path) << text).flush());
  };
  return isWritten("/proc/self/setgroups", "deny") &&
         isWritten("/proc/self/uid_map", user + ' ' + user + " 1\n") &&
         isWritten("/proc/self/gid_map", group + ' ' + group + " 1\n");
}

// Runs `body` in a child process with a new user namespace and the namespaces of `flags`, such as
// CLONE_NEWUTS. The child keeps its user id and has all privileges there. Returns the result of
// `body`, false if it throws, and nothing if the system refuses to make the namespaces.
template <typename Body>
std::optional<bool> inNamespaces(int flags, Body body) {
  constexpr int noNamespaces = 77;  // exit status of the child
  const pid_t child = ::fork();
  if (child < 0) return std::nullopt;
  if (child == 0) {
    const std::string user = std::to_string(::getuid());
    const std::string group = std::to_string(::getgid());
    if (::unshare(CLONE_NEWUSER | flags) != 0 || !keepIdentity(user, group)) ::_exit(noNamespaces);
    try {
      ::_exit(body() ? 0 : 1);
    } catch (const std::exception &) {
      ::_exit(1);
    }
  }
  int status = 0;
  if (::waitpid(child, &status, 0) != child) return std::nullopt;
  if (WIFEXITED(status) && WEXITSTATUS(status) == noNamespaces) return std::nullopt;
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace kt::test

#endif
