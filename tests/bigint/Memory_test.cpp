// SPDX-License-Identifier: MIT

// What happens when there is no memory. The linker sends every call of the allocator in this
// program through the functions below, which can be told to refuse one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>

#include "tests/bigint/Records.h"

namespace {

int callsUntilRefusal = -1;  // negative: none is refused
int blocksInUse = 0;
std::size_t resizedTo = 0;  // bytes, the last time that a block was resized

bool isRefused() {
  return callsUntilRefusal >= 0 && callsUntilRefusal-- == 0;
}

}  // namespace

extern "C" {
void *__real_malloc(std::size_t size);
void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);
void __real_free(void *block);

void *__wrap_malloc(std::size_t size) {
  if (isRefused()) return nullptr;
  ++blocksInUse;
  return __real_malloc(size);
}
void *__wrap_calloc(std::size_t count, std::size_t size) {
  if (isRefused()) return nullptr;
  ++blocksInUse;
  return __real_calloc(count, size);
}
void *__wrap_realloc(void *block, std::size_t size) {
  resizedTo = size;
  return isRefused() ? nullptr : __real_realloc(block, size);
}
void __wrap_free(void *block) {
  if (block != nullptr) --blocksInUse;
  __real_free(block);
}
}

namespace {

using namespace kt::test;

TEST(Memory, AllocGivesNullWhereThereIsNoneAndKeepsNothing) {
  for (const int allowed : {0, 1}) {
    const int before = blocksInUse;
    callsUntilRefusal = allowed;
    const _KtInt *const made = _KtIntAlloc(7);
    callsUntilRefusal = -1;
    EXPECT_EQ(made, nullptr) << "after " << allowed << " blocks";
    EXPECT_EQ(blocksInUse, before) << "after " << allowed << " blocks";
  }
}

TEST(Memory, ARecordIsTwoBlocksAndFreeReleasesBoth) {
  const int before = blocksInUse;
  _KtInt *const made = _KtIntAlloc(7);
  EXPECT_EQ(blocksInUse, before + 2);
  _KtIntFree(made);
  EXPECT_EQ(blocksInUse, before);
}

TEST(Memory, SwapAndFreeReleaseEachBlockOnce) {
  const int before = blocksInUse;
  {
    const Record a = number(1);
    const Record b = record(allOnes(100));
    _KtIntSwap(a.get(), b.get());
  }
  EXPECT_EQ(blocksInUse, before);
}

TEST(Memory, ARequestOf300WordsResizesTheBlockTo88Bytes) {
  const Record i = number(7);
  _KtIntSetMinLength(i.get(), 300);
  EXPECT_EQ(resizedTo, 88U);
}

TEST(Memory, ABlockIsNeverSmallerThanItsValueNorEmpty) {
  const Record i = record(allOnes(100));
  _KtIntSetMinLength(i.get(), 300);
  EXPECT_EQ(resizedTo, 200U);
  const Record empty = number(0);
  empty->length = 0;
  _KtIntSetMinLength(empty.get(), 256);
  EXPECT_EQ(resizedTo, 2U);
}

TEST(Memory, AResizeThatFailsPrintsOneLineAndAborts) {
  GTEST_FLAG_SET(death_test_style, "fast");
  const Record i = number(7);
  const auto grow = [&i] {
    callsUntilRefusal = 0;
    _KtIntSetMinLength(i.get(), 200);
  };
  EXPECT_EXIT(grow(), testing::KilledBySignal(SIGABRT), testing::MatchesRegex("[^\n]+\n"));
}

}  // namespace
