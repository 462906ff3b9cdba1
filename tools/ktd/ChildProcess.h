// SPDX-License-Identifier: MIT

// A program that runs as a child of this process in a process group of its own, and the processes
// that such programs leave behind. A ChildProcess serves one thread at a time; different threads
// may have different ones. Its destructor ends the whole group.
#ifndef KT_TOOLS_KTD_CHILDPROCESS_H
#define KT_TOOLS_KTD_CHILDPROCESS_H

#include <sys/types.h>

#include <list>
#include <optional>
#include <string>
#include <vector>

#include "kt/foundation/File.h"

namespace kt::tools {

// Makes this process the parent of all its descendants whose own parent ended, so that it can reap
// them. Call it before other threads start and before the first ChildProcess.
void becomeSubreaper();

// Reaps the descendants that left the group of their ChildProcess, then lost their parent, and have
// ended. Never waits. Takes no status that a ChildProcess needs, but that of every other child. Any
// thread may call it, about once a second; a call may leave processes to the next one.
void reapStrays();

// How a program ended.
struct Ending {
  int signal;  // the signal that ended it; 0 if it exited
  int status;  // the exit status; 128 + signal after a signal, as in a shell
};

// Keeps reapStrays() away from a child whose status a thread awaits.
class AwaitedChild {
 public:
  // From here on reapStrays() reaps nothing: the child that is being started has no number yet.
  AwaitedChild();
  AwaitedChild(const AwaitedChild &) = delete;
  AwaitedChild &operator=(const AwaitedChild &) = delete;
  ~AwaitedChild();

  // From here on reapStrays() spares this child only. Call it once. Requires: child > 0.
  void setNumber(pid_t child);

 private:
  std::list<pid_t>::iterator place_;  // in the list of all awaited children
};

class ChildProcess {
 public:
  struct Command {
    std::string program;                   // an absolute path
    std::vector<std::string> arguments;    // without the program itself
    std::vector<std::string> environment;  // all of it: "NAME=value"
  };

  // The standard streams, descriptors of this process. The caller remains their owner.
  struct Streams {
    int input;
    int output;
    int errors;
  };

  // Starts the program with these streams and no other descriptor, in the folder "/", with default
  // signal handling. Texts of the command end at their first NUL. Throws std::system_error with the
  // reason if the system can't start it.
  ChildProcess(const Command &command, const Streams &streams);
  ChildProcess(const ChildProcess &) = delete;
  ChildProcess &operator=(const ChildProcess &) = delete;
  ~ChildProcess() { (void)end(); }  // nobody asks how it ended

  // Returns a descriptor that can be read once the program has ended, whatever the rest of its
  // group does. The ChildProcess remains its owner.
  [[nodiscard]] int descriptor() const { return process_->get(); }

  // Kills what still runs of the program and its group, and reaps it. Returns how the program
  // ended: by itself, if it ended before the call. Waits at most 1 s; what does not end by
  // then, for example because it waits for a dead disk, is left to reapStrays().
  Ending end();

 private:
  AwaitedChild awaited_;
  pid_t leader_;                             // the program's process, which names the group
  std::optional<file::Descriptor> process_;  // refers to the leader
  std::optional<Ending> ending_;             // nothing before end()
};

}  // namespace kt::tools

#endif
