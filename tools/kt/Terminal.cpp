// SPDX-License-Identifier: MIT

#include "tools/kt/Terminal.h"

#include <langinfo.h>
#include <locale.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

#include "kt/foundation/Format.h"

namespace kt::tools {

namespace {

// Control sequences: take the alternate screen and hide the cursor; show the cursor and return to
// the usual screen.
constexpr std::string_view takeScreen = "\033[?1049h\033[?25l";
constexpr std::string_view giveBackScreen = "\033[?25h\033[?1049l";

Charset charsetOfLocale() {
  const locale_t locale = ::newlocale(LC_CTYPE_MASK, "", nullptr);
  if (locale == nullptr) return Charset::ascii;  // the environment names an unknown locale
  const std::string_view codeset = ::nl_langinfo_l(CODESET, locale);
  const Charset charset = codeset == "UTF-8" ? Charset::utf8 : Charset::ascii;
  ::freelocale(locale);
  return charset;
}

std::optional<termios> modesOf(int descriptor) {
  termios modes{};
  if (::tcgetattr(descriptor, &modes) != 0) return std::nullopt;
  return modes;
}

// A process in the background must leave the terminal alone: the shell uses it.
bool isInForeground() {
  const pid_t group = ::tcgetpgrp(STDOUT_FILENO);
  return group == -1 || group == ::getpgrp();  // -1: it is not this session's terminal
}

// Returns whether the terminal takes output, at the latest after `patienceMs`. After Ctrl-S it does
// not, possibly forever.
bool acceptsOutput(int descriptor, int patienceMs) {
  pollfd output{descriptor, POLLOUT, 0};
  return ::poll(&output, 1, patienceMs) == 1;
}

void setModes(const termios &modes) {
  while (::tcsetattr(STDIN_FILENO, TCSANOW, &modes) != 0 && errno == EINTR) {
  }
}

}  // namespace

Terminal::Terminal() : modes_(modesOf(STDIN_FILENO)), charset_(charsetOfLocale()) {}

void Terminal::take() {
  if (modes_) {
    termios keys = *modes_;
    keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    keys.c_cc[VMIN] = 0;  // a read returns what is there
    keys.c_cc[VTIME] = 0;
    setModes(keys);
  }
  taken_ = true;
  unwritten_ = takeScreen;
}

void Terminal::leave() {
  if (!taken_) return;
  taken_ = false;
  if (modes_) {
    termios flowing = *modes_;
    flowing.c_iflag &= ~static_cast<tcflag_t>(IXON);  // ends a stop by Ctrl-S
    setModes(flowing);
  }
  constexpr int patienceMs = 1000;
  unwritten_.clear();
  if (acceptsOutput(output_.descriptor(), patienceMs)) {
    // If the terminal accepts no more, there is nothing to give back.
    [[maybe_unused]] const ssize_t written =
        ::write(output_.descriptor(), giveBackScreen.data(), giveBackScreen.size());
  }
  if (modes_) setModes(*modes_);
}

void Terminal::writeMore() {
  if (!acceptsOutput(output_.descriptor(), 0)) return;
  unwritten_.erase(0, output_.write(unwritten_));
}

bool Terminal::show(const std::vector<std::string> &lines) {
  if (!isInForeground() || !acceptsOutput(output_.descriptor(), 0)) return false;
  if (!unwritten_.empty()) return false;
  if (!taken_) take();
  std::string &text = unwritten_;
  for (std::size_t row = 0; row < lines.size(); ++row) {
    // Erased first: after a line of full width the cursor is still on its last character.
    text += kt::format("\033[%d;1H\033[2K", row + 1) + lines[row];
  }
  if (lines.size() < size().height) text += kt::format("\033[%d;1H\033[J", lines.size() + 1);
  writeMore();
  return true;
}

ScreenSize Terminal::size() const {
  winsize size{};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
    return {80, 24};
  }
  return {size.ws_col, size.ws_row};
}

int Terminal::keyDescriptor() const {
  return modes_ && taken_ ? STDIN_FILENO : -1;
}

std::optional<std::string> Terminal::keys() const {
  std::array<char, 64> typed{};
  pollfd input{STDIN_FILENO, POLLIN, 0};
  if (::poll(&input, 1, 0) == 1 && (input.revents & (POLLHUP | POLLERR)) != 0) return std::nullopt;
  const ssize_t count = ::read(STDIN_FILENO, typed.data(), typed.size());
  if (count < 0) return errno == EINTR ? std::optional(std::string()) : std::nullopt;
  return std::string(typed.data(), static_cast<std::size_t>(count));
}

}  // namespace kt::tools
