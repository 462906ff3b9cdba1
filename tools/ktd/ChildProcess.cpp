// SPDX-License-Identifier: MIT

#include "tools/ktd/ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <mutex>
#include <system_error>
#include <thread>

namespace kt::tools {

namespace {

using Clock = std::chrono::steady_clock;

// How long a killed group may take to end before it is left to reapStrays().
constexpr std::chrono::milliseconds patience{1000};

constexpr pid_t withoutNumber = 0;  // a child that is being started

std::mutex awaitedMutex;
std::list<pid_t> awaitedChildren;  // guarded by awaitedMutex

// Throws the reason if a function that returns it has failed.
void check(int reason) {
  if (reason != 0) throw std::system_error(reason, std::generic_category());
}

// ---- Starting ----

class SpawnAttributes {
 public:
  SpawnAttributes() { check(::posix_spawnattr_init(&attributes_)); }
  SpawnAttributes(const SpawnAttributes &) = delete;
  SpawnAttributes &operator=(const SpawnAttributes &) = delete;
  ~SpawnAttributes() { ::posix_spawnattr_destroy(&attributes_); }

  void setDefaultSignals() {
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    // sigfillset omits the two signals of the C library, which the program would inherit ignored.
    std::memset(&all, 0xff, sizeof all);
    check(::posix_spawnattr_setsigmask(&attributes_, &none));
    check(::posix_spawnattr_setsigdefault(&attributes_, &all));
    addFlags(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }

  void setOwnGroup() {
    check(::posix_spawnattr_setpgroup(&attributes_, 0));
    addFlags(POSIX_SPAWN_SETPGROUP);
  }

  [[nodiscard]] const posix_spawnattr_t *get() const { return &attributes_; }

 private:
  void addFlags(int flags) {
    flags_ |= flags;
    check(::posix_spawnattr_setflags(&attributes_, static_cast<short>(flags_)));
  }

  posix_spawnattr_t attributes_{};
  int flags_ = 0;
};

// What the child does before it becomes the program.
class SpawnActions {
 public:
  SpawnActions() { check(::posix_spawn_file_actions_init(&actions_)); }
  SpawnActions(const SpawnActions &) = delete;
  SpawnActions &operator=(const SpawnActions &) = delete;
  ~SpawnActions() { ::posix_spawn_file_actions_destroy(&actions_); }

  void duplicate(const file::Descriptor &from, int to) {
    check(::posix_spawn_file_actions_adddup2(&actions_, from.get(), to));
  }
  void closeFrom(int first) { check(::posix_spawn_file_actions_addclosefrom_np(&actions_, first)); }
  void changeFolder(const char *path) {
    check(::posix_spawn_file_actions_addchdir_np(&actions_, path));
  }

  [[nodiscard]] const posix_spawn_file_actions_t *get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

// Returns a copy of a stream above 2. In a server that runs without standard streams the originals
// may have their numbers, and the child would overwrite one before it is duplicated.
file::Descriptor copyAboveStandardStreams(int stream) {
  const int copy = ::fcntl(stream, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  check(copy < 0 ? errno : 0);
  return file::Descriptor(copy);
}

// Returns the null-terminated array of pointers that exec takes. Valid while the texts are
// unchanged.
std::vector<char *> pointersTo(std::vector<std::string> &texts) {
  std::vector<char *> pointers(texts.size() + 1, nullptr);
  std::transform(texts.begin(), texts.end(), pointers.begin(),
                 [](std::string &text) { return text.data(); });
  return pointers;
}

pid_t spawn(const ChildProcess::Command &command, const ChildProcess::Streams &streams) {
  const file::Descriptor input = copyAboveStandardStreams(streams.input);
  const file::Descriptor output = copyAboveStandardStreams(streams.output);
  const file::Descriptor errors = copyAboveStandardStreams(streams.errors);
  SpawnActions actions;
  actions.duplicate(input, STDIN_FILENO);
  actions.duplicate(output, STDOUT_FILENO);
  actions.duplicate(errors, STDERR_FILENO);
  actions.closeFrom(STDERR_FILENO + 1);
  actions.changeFolder("/");
  SpawnAttributes attributes;
  attributes.setDefaultSignals();
  attributes.setOwnGroup();

  std::vector<std::string> arguments{command.program};
  arguments.insert(arguments.end(), command.arguments.begin(), command.arguments.end());
  std::vector<std::string> environment = command.environment;
  pid_t child = 0;
  check(::posix_spawn(&child, command.program.c_str(), actions.get(), attributes.get(),
                      pointersTo(arguments).data(), pointersTo(environment).data()));
  return child;
}

// ---- Ending ----

// Reaps one of the children that `type` and `number` name. Returns nothing if there is none, or if
// none ends by `deadline`.
std::optional<siginfo_t> reap(idtype_t type, pid_t number, Clock::time_point deadline) {
  for (;;) {
    siginfo_t info{};
    if (::waitid(type, static_cast<id_t>(number), &info, WEXITED | WNOHANG) != 0) {
      return std::nullopt;
    }
    if (info.si_pid != 0) return info;
    if (Clock::now() >= deadline) return std::nullopt;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));  // waitid has no time limit
  }
}

Ending endingOf(const siginfo_t &info) {
  if (info.si_code == CLD_EXITED) return {0, info.si_status};
  return {info.si_status, 128 + info.si_status};
}

}  // namespace

// ---- Awaited and stray children ----

AwaitedChild::AwaitedChild() {
  const std::scoped_lock lock(awaitedMutex);
  place_ = awaitedChildren.insert(awaitedChildren.end(), withoutNumber);
}

AwaitedChild::~AwaitedChild() {
  const std::scoped_lock lock(awaitedMutex);
  awaitedChildren.erase(place_);
}

void AwaitedChild::setNumber(pid_t child) {
  const std::scoped_lock lock(awaitedMutex);
  *place_ = child;
}

void becomeSubreaper() {
  std::signal(SIGCHLD, SIG_DFL);  // if ignored, children are reaped before their status is read
  (void)::prctl(PR_SET_CHILD_SUBREAPER, 1UL, 0UL, 0UL, 0UL);  // cannot fail since Linux 3.4
}

void reapStrays() {
  const std::scoped_lock lock(awaitedMutex);
  const auto isAwaited = [](pid_t child) {
    return std::find(awaitedChildren.begin(), awaitedChildren.end(), child) !=
           awaitedChildren.end();
  };
  if (isAwaited(withoutNumber)) return;  // it may be any of the children
  for (;;) {
    siginfo_t info{};
    if (::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0) return;
    // An awaited child hides those that ended after it until its thread has reaped it.
    if (info.si_pid == 0 || isAwaited(info.si_pid)) return;
    // Fails if a ChildProcess just reaped it as a member of its group.
    (void)::waitid(P_PID, static_cast<id_t>(info.si_pid), &info, WEXITED | WNOHANG);
  }
}

// ---- ChildProcess ----

ChildProcess::ChildProcess(const Command &command, const Streams &streams)
    : leader_(spawn(command, streams)) {
  awaited_.setNumber(leader_);
  // The header of glibc 2.36 declares pidfd_open for C only.
  process_.emplace(static_cast<int>(::syscall(SYS_pidfd_open, leader_, 0)));
  if (process_->get() >= 0) return;
  const int reason = errno;
  (void)end();  // the constructor fails: nobody asks how the program ended
  check(reason);
}

Ending ChildProcess::end() {
  if (ending_) return *ending_;
  // Before the leader is reaped: until then no other process can get its number. It may itself have
  // moved to another group. Processes of another user, as of a set-user-ID program, are not killed.
  (void)::kill(-leader_, SIGKILL);
  (void)::kill(leader_, SIGKILL);
  const Clock::time_point deadline = Clock::now() + patience;
  const std::optional<siginfo_t> leader = reap(P_PID, leader_, deadline);
  while (reap(P_PGID, leader_, deadline)) {
  }
  ending_ = leader ? endingOf(*leader) : Ending{SIGKILL, 128 + SIGKILL};
  return *ending_;
}

}  // namespace kt::tools
