// SPDX-License-Identifier: MIT

// Big integers in one include: the record and its storage, comparison, arithmetic, the highest bit,
// and text in any base. For C and for C++; docs/bigint.md tells the rest.
#ifndef KT_BIGINT_H
#define KT_BIGINT_H

#include "kt/bigint/_KtArithmetic.h"
#include "kt/bigint/_KtComparison.h"
#include "kt/bigint/_KtEncoding.h"
#include "kt/bigint/_KtInt.h"
#include "kt/bigint/_KtLog.h"

#endif
