// SPDX-License-Identifier: MIT

// Includes the functions over _KtInt: storage, comparison, arithmetic, the most significant bit,
// and text in any base. For C and C++; docs/bigint.md explains them.
#ifndef KT_BIGINT_H
#define KT_BIGINT_H

#include "kt/bigint/_KtArithmetic.h"
#include "kt/bigint/_KtComparison.h"
#include "kt/bigint/_KtEncoding.h"
#include "kt/bigint/_KtInt.h"
#include "kt/bigint/_KtLog.h"

#endif
