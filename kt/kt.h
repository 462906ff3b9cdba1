// SPDX-License-Identifier: MIT

// Includes the whole toolkit: property lists and formatting, the debug log, messaging over UDP, big
// integers, and the directory walker. Each part can be included alone.
#ifndef KT_KT_H
#define KT_KT_H

#include "kt/bigint.h"
#include "kt/bigint/Integer.h"
#include "kt/diagnostics/KtDebug.h"
#include "kt/foundation/Format.h"
#include "kt/foundation/HostName.h"
#include "kt/foundation/LogLine.h"
#include "kt/foundation/PropertyList.h"
#include "kt/foundation/UserDefaults.h"
#include "kt/foundation/Utf8.h"
#include "kt/udp/AsyncClient.h"
#include "kt/udp/Interfaces.h"
#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPClient.h"
#include "kt/udp/KtUDPDaemon.h"
#include "kt/udp/Reply.h"
#include "kt/walker/_KtWalker.h"

#endif
