// SPDX-License-Identifier: MIT

// The terminal at standard output, used as a screen: what was on it before comes back at the end.
// Keys are read from standard input without waiting for Enter and without an echo; signal keys such
// as Ctrl-C work as always. For the main thread; one object at a time.
#ifndef KT_TOOLS_KT_TERMINAL_H
#define KT_TOOLS_KT_TERMINAL_H

#include <termios.h>

#include <optional>
#include <string>
#include <vector>

#include "tools/kt/PromptOutput.h"
#include "tools/kt/Screen.h"

namespace kt::tools {

class Terminal {
 public:
  // Changes nothing; the first show() takes the screen. Requires: standard output is a terminal.
  Terminal();
  Terminal(const Terminal &) = delete;
  Terminal &operator=(const Terminal &) = delete;

  // Gives the screen back.
  ~Terminal() { leave(); }

  // Shows `lines`, each no wider than size().width, and nothing else. Takes the screen first if it
  // is not taken. Returns false if that can't be done now: the terminal has not taken the lines
  // before these, the user stopped its output, or the program runs in the background. Never waits.
  // Throws Failure if the terminal is gone.
  bool show(const std::vector<std::string> &lines);

  // Writes more of the lines that the terminal has not taken yet. Call it when
  // waitingDescriptor() can be written. Throws as show() does.
  void writeMore();

  // Returns the descriptor to poll for writing while there are such lines, otherwise -1.
  [[nodiscard]] int waitingDescriptor() const {
    return unwritten_.empty() ? -1 : output_.descriptor();
  }

  // Gives the screen back with its cursor and its modes. Does nothing if it is not taken. Waits for
  // a slow terminal, but not for one that takes nothing for a second.
  void leave();

  // Notes that others may have used the screen; the next show() takes it again.
  void forget() { taken_ = false; }

  // Returns the size. A terminal that does not know its own has 80 columns and 24 lines.
  [[nodiscard]] ScreenSize size() const;

  // Returns what the terminal shows according to the locale of the environment.
  [[nodiscard]] Charset charset() const { return charset_; }

  // Returns the descriptor to poll for keys, or -1 if there are none now: standard input is not a
  // terminal, or the screen is not taken.
  [[nodiscard]] int keyDescriptor() const;

  // Returns the keys that were pressed since the last call, as far as they have arrived. Returns
  // nothing if there will be none any more: the terminal is gone.
  [[nodiscard]] std::optional<std::string> keys() const;

 private:
  void take();

  const PromptOutput output_;
  std::string unwritten_;         // the rest of what is to be shown
  std::optional<termios> modes_;  // of standard input before; nothing: it is not a terminal
  Charset charset_;
  bool taken_ = false;  // whether the screen is this program's
};

}  // namespace kt::tools

#endif
