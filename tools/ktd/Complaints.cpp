// SPDX-License-Identifier: MIT

#include "tools/ktd/Complaints.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "tools/common/Visible.h"

namespace kt::tools {

namespace {

void write(const std::string &text) {
  (void)std::fwrite(text.data(), 1, text.size(), stderr);  // no better place to tell of a failure
}

}  // namespace

void Complaints::say(std::string_view reason) {
  const std::lock_guard lock(mutex_);
  write(lines_.say("ktd: " + visible(reason), std::chrono::steady_clock::now()));
  if (lines_.anyLeftOut()) ::alarm(1);
}

void Complaints::settle() {
  const std::lock_guard lock(mutex_);
  write(lines_.leftOut(std::chrono::steady_clock::now()));
}

}  // namespace kt::tools
