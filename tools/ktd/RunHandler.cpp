// SPDX-License-Identifier: MIT

#include "tools/ktd/RunHandler.h"

#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <system_error>

#include "kt/foundation/Format.h"
#include "kt/foundation/Utf8.h"
#include "kt/udp/StopSignal.h"
#include "tools/common/Paths.h"
#include "tools/common/Requests.h"
#include "tools/ktd/Capture.h"
#include "tools/ktd/HandlerJson.h"

namespace kt::tools {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t mostOutput = std::size_t{1} << 20;  // bytes of standard output; 1 MiB
constexpr std::size_t mostErrors = 4096;  // bytes of standard error that may hold its first line

// The statuses with which a shell says that a program was not found or can't be executed.
constexpr int notFoundStatus = 127;
constexpr int notExecutableStatus = 126;

// ---- What the program is given ----

// Returns "NAME=value" with this process's value, or with `usual` if it has none.
std::string inherited(const std::string &name, const char *usual) {
  const char *value = std::getenv(name.c_str());
  return name + '=' + (value != nullptr && *value != '\0' ? value : usual);
}

std::vector<std::string> environmentFor(const HandlerRequest &request) {
  return {inherited("PATH", "/usr/local/bin:/usr/bin:/bin"), inherited("LANG", "C.UTF-8"),
          "KT_KIND=" + request.kind, "KT_SENDER=" + request.sender,
          "KT_SIGNATURE=" + request.signature};
}

// A file in memory that holds the program's standard input. Unlike a pipe it takes any size at
// once, and a program that does not read it ends nobody with SIGPIPE.
class InputFile {
 public:
  // Throws std::system_error if the system refuses.
  explicit InputFile(std::string_view text) : file_(::memfd_create("kt-request", MFD_CLOEXEC)) {
    check(file_.get() >= 0);
    const ssize_t written = ::write(file_.get(), text.data(), text.size());
    check(written == static_cast<ssize_t>(text.size()));  // memory takes all at once
    check(::lseek(file_.get(), 0, SEEK_SET) == 0);
  }

  [[nodiscard]] int descriptor() const { return file_.get(); }

 private:
  static void check(bool succeeded) {
    if (!succeeded) throw std::system_error(errno, std::generic_category());
  }

  file::Descriptor file_;
};

// ---- Running ----

enum class Outcome { ended, timedOut, flooded, stopped };

// Returns `text` without the part of a character that truncation may have left at its end.
std::string_view withoutIncompleteEnd(std::string_view text) {
  std::size_t start = 0;  // of the next character
  while (start < text.size()) {
    const Utf8Character character = firstUtf8Character(text.substr(start));
    const std::size_t end = start + character.byteCount;
    if (!character.wellFormed && end == text.size()) return text.substr(0, start);
    start = end;
  }
  return text;
}

// A program in work with what it wrote so far.
class Run {
 public:
  Run(const Handler &handler, const HandlerRequest &request, const Dictionary &packet)
      : deadline_(Clock::now() + request.timeout),
        output_(mostOutput),
        errors_(mostErrors),
        process_({handler.program, handler.arguments, environmentFor(request)},
                 {InputFile(handlerInput(packet)).descriptor(), output_.writingEnd(),
                  errors_.writingEnd()}) {
    output_.closeWritingEnd();
    errors_.closeWritingEnd();
  }

  // Waits until the program ends by itself or must be killed, and ends its group.
  Outcome finish(const udp::StopSignal &stop) {
    Outcome outcome = wait(stop);
    ending_ = process_.end();
    // After the group has ended: whatever it wrote has arrived, and little more can follow.
    output_.receiveRest();
    errors_.receiveRest();
    if (outcome == Outcome::ended && output_.hasOverflowed()) outcome = Outcome::flooded;
    return outcome;
  }

  // Requires for all below: finish() was called.
  [[nodiscard]] Ending ending() const { return ending_; }
  [[nodiscard]] const std::string &output() const { return output_.text(); }

  // Returns the first line of standard error without its line feed: data if it is not UTF-8.
  [[nodiscard]] PropertyList firstError() const {
    const std::string_view text = errors_.text();
    const std::size_t end = text.find('\n');
    const bool truncated = end == std::string_view::npos && errors_.hasOverflowed();
    return pathValue(truncated ? withoutIncompleteEnd(text) : text.substr(0, end));
  }

 private:
  Outcome wait(const udp::StopSignal &stop) {
    for (;;) {
      std::array<pollfd, 4> watched{
          pollfd{process_.descriptor(), POLLIN, 0}, pollfd{stop.descriptor(), POLLIN, 0},
          pollfd{output_.readingEnd(), POLLIN, 0}, pollfd{errors_.readingEnd(), POLLIN, 0}};
      (void)::poll(watched.data(), watched.size(), millisecondsLeft());  // what is not ready waits
      const auto [ended, stopped, output, errors] = watched;
      if (ended.revents != 0) return Outcome::ended;
      if (stopped.revents != 0) return Outcome::stopped;
      if (output.revents != 0) output_.receive();
      if (errors.revents != 0) errors_.receive();
      if (output_.hasOverflowed()) return Outcome::flooded;
      if (Clock::now() >= deadline_) return Outcome::timedOut;
    }
  }

  [[nodiscard]] int millisecondsLeft() const {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, INT_MAX));
  }

  Clock::time_point deadline_;  // when the program is killed
  Capture output_;
  Capture errors_;
  ChildProcess process_;
  Ending ending_{};  // after finish()
};

// ---- Answers ----

Dictionary failure(std::string_view reason, int status, const PropertyList &output) {
  return {{errorKey, reason}, {exitStatusKey, status}, {outputKey, output}};
}

// The text does not name the program: a client knows its kind, and paths are the server's own.
Dictionary failureToStart(int reason) {
  const int status = reason == ENOENT ? notFoundStatus : notExecutableStatus;
  return failure(kt::format("The program can't be started: %s.", std::strerror(reason)), status,
                 "");
}

std::string textOf(std::chrono::milliseconds time) {
  if (time.count() % 1000 == 0) return kt::format("%d s", time.count() / 1000);
  return kt::format("%d ms", time.count());
}

std::string textOf(const Ending &ending) {
  if (ending.signal == 0) return kt::format("The program ended with status %d.", ending.status);
  const char *name = ::sigdescr_np(ending.signal);
  return kt::format("The program was ended by signal %d (%s).", ending.signal,
                    name != nullptr ? name : "a real-time signal");
}

Dictionary answerOf(const Run &run, Outcome outcome, const HandlerRequest &request) {
  const auto failed = [&](std::string_view reason) {
    return failure(reason, run.ending().status, run.firstError());
  };
  switch (outcome) {
    case Outcome::ended:
      return run.ending().status == 0 ? handlerAnswer(run.output()) : failed(textOf(run.ending()));
    case Outcome::timedOut:
      return failed("The program did not end within " + textOf(request.timeout) +
                    " and was killed.");
    case Outcome::flooded:
      return failed(run.ending().signal == SIGKILL
                        ? "The program wrote more than 1 MiB and was killed."
                        : "The program wrote more than 1 MiB.");
    case Outcome::stopped:
      return {{errorKey, stoppingError}};
  }
  std::abort();  // not reached: the cases are all outcomes
}

}  // namespace

Dictionary runHandler(const Handler &handler, const HandlerRequest &request,
                      const Dictionary &packet, const std::stop_token &stop) {
  try {
    const udp::StopSignal stopSignal(stop);
    if (stopSignal.isRaised()) return {{errorKey, stoppingError}};
    Run run(handler, request, packet);
    const Outcome outcome = run.finish(stopSignal);
    return answerOf(run, outcome, request);
  } catch (const std::system_error &error) {
    return failureToStart(error.code().value());
  }
}

}  // namespace kt::tools
