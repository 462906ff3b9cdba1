// SPDX-License-Identifier: MIT

// Functions whose machine code check_disabled_path.py reads. Each makes one KtDebug call with
// arguments that need no computation, so that every instruction before the return comes from
// KtDebug.
#include <string>

#include "kt/diagnostics/KtDebug.h"

struct Packet {
  std::string description() const;
};

extern "C" {

int probeText(int count) {
  KtDebug("Registered and waiting.");
  return count;
}

int probeNumbers(int count, const char *text) {
  KtDebug("Received request\n%s %d", text, count);
  return count;
}

int probeObjects(int count, const Packet &packet, const std::string &name) {
  KtDebug("Sending %@ to %@", packet, name);
  return count;
}
}
