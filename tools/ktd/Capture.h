// SPDX-License-Identifier: MIT

// What another process writes to one of its streams: a pipe and the bytes that came through it.
// Serves one thread at a time. No child process inherits the pipe unless it is given to it.
#ifndef KT_TOOLS_KTD_CAPTURE_H
#define KT_TOOLS_KTD_CAPTURE_H

#include <cstddef>
#include <optional>
#include <string>

#include "kt/foundation/File.h"

namespace kt::tools {

class Capture {
 public:
  // Keeps the first `limit` bytes. Throws std::system_error if the system has no pipe.
  explicit Capture(std::size_t limit);

  // Returns the descriptor that the other process writes to. Requires: closeWritingEnd() was not
  // called.
  [[nodiscard]] int writingEnd() const { return writingEnd_->get(); }

  // Call it once the other process has its copy. The stream then ends when nobody can write to it.
  void closeWritingEnd() { writingEnd_.reset(); }

  // Returns the descriptor to poll for reading, or -1 after the end of the stream.
  [[nodiscard]] int readingEnd() const { return readingEnd_ ? readingEnd_->get() : -1; }

  // Reads some of what has arrived, without waiting. Returns false if nothing has.
  bool receive();

  // Reads what has arrived, without waiting, until there is no more or `limit` bytes are kept: a
  // writer that never stops does not keep it busy.
  void receiveRest();

  // Returns the bytes that are kept.
  [[nodiscard]] const std::string &text() const { return text_; }

  // Returns whether more than `limit` bytes came.
  [[nodiscard]] bool hasOverflowed() const { return overflowed_; }

 private:
  std::size_t limit_;                           // the most bytes in text_
  std::optional<file::Descriptor> readingEnd_;  // nothing after the end of the stream
  std::optional<file::Descriptor> writingEnd_;  // nothing once it is closed
  std::string text_;                            // the first bytes
  bool overflowed_ = false;                     // whether any were dropped
};

}  // namespace kt::tools

#endif
