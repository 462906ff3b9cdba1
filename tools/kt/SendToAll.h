// SPDX-License-Identifier: MIT

// kt send --all: asks every server at the same time and prints what each answers.
#ifndef KT_TOOLS_KT_SENDTOALL_H
#define KT_TOOLS_KT_SENDTOALL_H

#include "kt/foundation/PropertyList.h"
#include "tools/kt/Command.h"

namespace kt::tools {

// Finds every server, sends `request` to each, waits until each has answered or was given up, and
// prints a line for each in the order in which they were found. Throws Failure if there is no
// server, or after printing if none has answered.
void sendToAll(const Dictionary &request, const Options &options);

}  // namespace kt::tools

#endif
