#include "support/memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "standin/faults.h"
#include "support/numeric.h"

namespace {

using namespace pixmorph;

TEST(Memory, SizesOutsideTheLimitsGiveNothing) {
  for (const long long size : {0LL, -1LL, 0x80000000LL, 0x100000001LL, -0xFFFFFFFFLL})
    EXPECT_EQ(AllocateClearMemory(size), nullptr) << size;
  for (const long long size : {-1LL, 0x80000000LL, 0x100000001LL})
    EXPECT_EQ(allocateHandle(size), nullptr) << size;
  FreeMemoryNow(nullptr);
}

TEST(Memory, LargestSizesAreNotMistakenForSmallOnes) {
  if (!standin::AllocatorInterposed()) GTEST_SKIP() << "the sanitizer ends the run when memory is short";
  // Whether the memory can be had is the system's business.
  if (auto* block = static_cast<char*>(AllocateClearMemory(0x7FFFFFFF))) {
    EXPECT_EQ(block[0x7FFFFFFE], 0);
    FreeMemoryNow(block);
  }
  if (char** handle = allocateHandle(0x7FFFFFFF)) {
    EXPECT_EQ(getHandleSize(handle), 0x7FFFFFFF);
    EXPECT_EQ(lockHandle(handle)[0x7FFFFFFE], 0);
    freeHandle(handle);
  }
}

TEST(Memory, AllocatedMemoryIsZeroEvenWhenReused) {
  for (int round = 0; round < 3; ++round) {
    auto* block = static_cast<char*>(AllocateClearMemory(1000));
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(std::all_of(block, block + 1000, [](char byte) { return byte == 0; }));
    FillMemory(block, 0xEE, 1000);
    ClearMemory(block + 1, 2);
    MoveMemory(block + 1, block, 4);  // overlapping
    EXPECT_EQ(std::memcmp(block, "\xEE\xEE\0\0\xEE", 5), 0);
    block = static_cast<char*>(ReallocateMemory(block, 0x100000000LL + 2000));  // the low 32 bits count
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block[999], '\xEE');
    FillMemory(block, 0xEE, 2000);
    FreeMemoryNow(block);
  }
}

TEST(Memory, HandlesKeepTheirSizeInFrontOfTheData) {
  char** handle = allocateHandle(10);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(getHandleSize(handle), 10);
  EXPECT_EQ(lockHandle(handle), reinterpret_cast<char*>(handle) + 4);
  EXPECT_EQ(std::memcmp(lockHandle(handle), "\0\0\0\0\0\0\0\0\0", 10), 0);
  std::memcpy(lockHandle(handle), "0123456789", 10);
  unlockHandle(handle);
  handle = resizeHandle(handle, 100000);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(getHandleSize(handle), 100000);
  EXPECT_EQ(std::memcmp(lockHandle(handle), "0123456789", 10), 0);
  EXPECT_EQ(resizeHandle(handle, 0x7FFFFFF1), nullptr);  // frees it: a leak otherwise
  char** empty = allocateHandle(0);
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(resizeHandle(empty, -1), nullptr);
  EXPECT_EQ(getHandleSize(nullptr), 0);
  EXPECT_EQ(lockHandle(nullptr), nullptr);
}

TEST(Numeric, ConversionsTruncateSaturateAndTakeNoNumberForZero) {
  const double nan = __builtin_nan("");
  const double inf = __builtin_inf();
  EXPECT_EQ(TruncateToInt32(-2.9), -2);
  EXPECT_EQ(TruncateToInt32(2147483647.5), INT32_MAX);
  EXPECT_EQ(TruncateToInt32(2147483646.9), INT32_MAX - 1);
  EXPECT_EQ(TruncateToInt32(-2147483647.9), INT32_MIN + 1);
  EXPECT_EQ(TruncateToInt32(-inf), INT32_MIN);
  EXPECT_EQ(TruncateToInt32(nan), 0);
  EXPECT_EQ(TruncateToInt64(-9007199254740993.0), -9007199254740992);
  EXPECT_EQ(TruncateToInt64(inf), INT64_MAX);
  EXPECT_EQ(TruncateToInt64(-inf), INT64_MIN);
  EXPECT_EQ(TruncateToInt64(nan), 0);
  EXPECT_EQ(RoundToByte(254.5), 255);
  EXPECT_EQ(RoundToByte(-0.6), 0);
  EXPECT_EQ(RoundToByte(1e300), 255);
  EXPECT_EQ(RoundToByte(nan), 0);
}

TEST(Numeric, ByteSizesStayInvalidOnceTheyLeaveTheRange) {
  EXPECT_EQ(ByteSize(5).Plus(1).Times(15).Bytes(), 90);
  EXPECT_EQ(ByteSize(46341).Times(46341).Bytes(), -1);
  EXPECT_EQ(ByteSize(65536).Times(65536).Times(0).Bytes(), -1);  // 2^32 must not wrap to 0
  EXPECT_EQ(ByteSize(INT32_MAX).Plus(1).Bytes(), -1);
  EXPECT_EQ(ByteSize(-1).Times(-1).Bytes(), -1);
  EXPECT_EQ(ByteSize(0x7FFFFFF).Times(16).Plus(15).Bytes(), INT32_MAX);
}

}  // namespace
