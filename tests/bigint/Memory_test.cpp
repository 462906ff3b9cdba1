// SPDX-License-Identifier: MIT

// Allocation, release and failure of memory in the C functions. The linker redirects this program's
// calls of the allocator to the functions below, which count blocks and can fail one call.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>

#include "tests/bigint/Records.h"

namespace kt::test {
namespace {

int callsUntilFailure = -1;  // negative: no call fails
int blocksInUse = 0;
std::size_t resizedTo = 0;  // bytes requested by the last realloc

bool failsNow() {
  return callsUntilFailure >= 0 && callsUntilFailure-- == 0;
}

}  // namespace

extern "C" {
void *__real_malloc(std::size_t size);
void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);
void __real_free(void *block);

void *__wrap_malloc(std::size_t size) {
  if (failsNow()) return nullptr;
  ++blocksInUse;
  return __real_malloc(size);
}
void *__wrap_calloc(std::size_t count, std::size_t size) {
  if (failsNow()) return nullptr;
  ++blocksInUse;
  return __real_calloc(count, size);
}
void *__wrap_realloc(void *block, std::size_t size) {
  resizedTo = size;
  return failsNow() ? nullptr : __real_realloc(block, size);
}
void __wrap_free(void *block) {
  if (block != nullptr) --blocksInUse;
  __real_free(block);
}
}  // extern "C"

namespace {

TEST(KtIntMemory, AllocReturnsNullAndKeepsNothingOnFailure) {
  for (const int allowed : {0, 1}) {
    const int before = blocksInUse;
    callsUntilFailure = allowed;
    const _KtInt *const made = _KtIntAlloc(7);
    callsUntilFailure = -1;
    EXPECT_EQ(made, nullptr) << "after " << allowed << " blocks";
    EXPECT_EQ(blocksInUse, before) << "after " << allowed << " blocks";
  }
}

TEST(KtIntMemory, FreeReleasesBothBlocksOfRecord) {
  const int before = blocksInUse;
  _KtInt *const made = _KtIntAlloc(7);
  EXPECT_EQ(blocksInUse, before + 2);
  _KtIntFree(made);
  EXPECT_EQ(blocksInUse, before);
}

TEST(KtIntMemory, SwapAndFreeReleaseEachBlockOnce) {
  const int before = blocksInUse;
  {
    const Record a = number(1);
    const Record b = record(allOnes(100));
    _KtIntSwap(a.get(), b.get());
  }
  EXPECT_EQ(blocksInUse, before);
}

TEST(KtIntMemory, RequestOf300WordsResizesBlockTo88Bytes) {
  const Record i = number(7);
  _KtIntSetMinLength(i.get(), 300);
  EXPECT_EQ(resizedTo, 88U);
}

TEST(KtIntMemory, BlockIsNeverSmallerThanValueNorEmpty) {
  const Record i = record(allOnes(100));
  _KtIntSetMinLength(i.get(), 300);
  EXPECT_EQ(resizedTo, 200U);
  const Record empty = number(0);
  empty->length = 0;
  _KtIntSetMinLength(empty.get(), 256);
  EXPECT_EQ(resizedTo, 2U);
}

TEST(KtIntMemory, FailedResizePrintsOneLineAndAborts) {
  GTEST_FLAG_SET(death_test_style, "fast");
  const Record i = number(7);
  const auto grow = [&i] {
    callsUntilFailure = 0;
    _KtIntSetMinLength(i.get(), 200);
  };
  EXPECT_EXIT(grow(), testing::KilledBySignal(SIGABRT), testing::MatchesRegex("[^\n]+\n"));
}

}  // namespace
}  // namespace kt::test
