// SPDX-License-Identifier: MIT

#include "kt/diagnostics/KtDebug.h"

#include "kt/foundation/UserDefaults.h"

unsigned char debug = 0;

void KtSetDebugEnabled(unsigned char enabled) {
  debug = enabled;
}

void KtAutoSetDebug() {
  debug = kt::boolUserDefault("KtDebugEnabled") ? 1 : 0;
}
