// Byte source, checked arithmetic, allocation gate.
#include <gtest/gtest.h>

#include <vector>

#include "base/bit_reader.h"
#include "base/byte_source.h"
#include "base/checked.h"
#include "platform/platform.h"

namespace tavo {
namespace {

// Gives its bytes in pieces of at most `piece`, then ends or fails.
struct Pieces {
  std::vector<uint8_t> bytes;
  size_t piece = 1;
  bool fails = false;
  size_t at = 0;

  Status read_some(std::span<uint8_t> into, size_t& got) {
    got = std::min({piece, into.size(), bytes.size() - at});
    std::copy_n(bytes.begin() + static_cast<ptrdiff_t>(at), got, into.begin());
    at += got;
    return got == 0 && fails ? kReadError : kOk;
  }
};

std::vector<uint8_t> counting(size_t n) {
  std::vector<uint8_t> bytes(n);
  for (size_t i = 0; i < n; ++i) bytes[i] = static_cast<uint8_t>(i * 7 + i / 256);
  return bytes;
}

TEST(ByteSource, GivesEveryByteOnceWhateverTheReads) {
  for (const size_t piece : {1, 3, 64, 5000}) {
    for (const size_t window : {16, 100}) {
      Pieces file{.bytes = counting(1000), .piece = piece};
      ByteSource source(file);
      ASSERT_TRUE(source.start(window, 16, 16).ok());
      std::vector<uint8_t> seen;
      for (size_t step = 1; seen.size() < 1000; ++step) {
        ASSERT_TRUE(source.look_ahead(step).ok());  // beyond the window, in the end
        ASSERT_GE(source.window().size(), std::min(step, 1000 - seen.size()));
        if (step % 3 == 0) {
          const int byte = source.get();
          ASSERT_GE(byte, 0);
          seen.push_back(static_cast<uint8_t>(byte));
        } else {
          std::vector<uint8_t> part(std::min<size_t>(step, 1000 - seen.size()));
          ASSERT_TRUE(source.read(part).ok());
          seen.insert(seen.end(), part.begin(), part.end());
        }
      }
      EXPECT_EQ(seen, file.bytes);
      EXPECT_EQ(source.get(), -1);
      uint8_t one = 0;
      EXPECT_EQ(source.read({&one, 1}), kReadError);
    }
  }
}

TEST(ByteSource, AFailedReadIsReportedAndSticks) {
  Pieces file{.bytes = counting(10), .piece = 4, .fails = true};
  ByteSource source(file);
  ASSERT_TRUE(source.start(16, 16, 16).ok());
  ASSERT_TRUE(source.skip(10).ok());
  EXPECT_EQ(source.refill(), kReadError);
  EXPECT_TRUE(source.at_end());
  EXPECT_EQ(source.failure(), kReadError);
  EXPECT_EQ(source.skip(1), kReadError);
}

// Every bit once and in order, whatever the pieces, then zeros that are known to be none.
template <BitOrder kOrder>
void expect_every_bit(bool mirrors) {
  for (const size_t piece : {1, 5, 1000}) {
    Pieces file{.bytes = counting(200), .piece = piece};
    ByteSource source(file);
    ASSERT_TRUE(source.start(16, 16, 16).ok());
    BitReader<kOrder, true> reader;
    reader.reset(mirrors);
    reader.open(source);
    const bool is_low_first = (kOrder == BitOrder::kLowFirst) != mirrors;
    for (uint32_t at = 0, n = 1; at < 1600; at += n, n = std::min(n % 16 + 1, 1600 - at)) {
      uint32_t want = 0;
      for (uint32_t i = 0; i < n; ++i) {
        const uint32_t place = (at + i) % 8;
        const uint32_t bit = file.bytes[(at + i) / 8] >> (is_low_first ? place : 7 - place) & 1;
        want |= bit << (kOrder == BitOrder::kLowFirst ? i : n - 1 - i);
      }
      n % 3 == 0 ? reader.refill_step(reader.bits) : reader.refill(reader.bits);
      ASSERT_TRUE(reader.has(reader.bits, n) && !reader.ran_out(reader.bits)) << at;
      ASSERT_EQ(reader.bits.take(n), want) << at << ' ' << piece;
      ASSERT_EQ(reader.position(), (at + n + 7) / 8);
    }
    reader.refill(reader.bits);
    EXPECT_FALSE(reader.has(reader.bits, 1));
    EXPECT_EQ(reader.bits.take(16), 0u);
    EXPECT_TRUE(reader.ran_out(reader.bits));
  }
}

TEST(BitReader, GivesEveryBitOnceAndThenZeros) {
  for (const bool mirrors : {false, true}) {
    expect_every_bit<BitOrder::kLowFirst>(mirrors);
    expect_every_bit<BitOrder::kHighFirst>(mirrors);
  }
}

TEST(Checked, RefusesWhatDoesNotFit) {
  EXPECT_FALSE(checked_add(0xFFFFFFFFu, 1u));
  EXPECT_EQ(round_up(65u, 4u), 68u);
}

TEST(Buffer, ShrinksWhileMemoryIsRefusedAndGivesUpAtTheMinimum) {
  const int64_t before = platform::blocks_in_use();
  {
    Buffer buffer;
    platform::refuse_allocation(0, false);
    EXPECT_TRUE(buffer.allocate_shrinking(4096, 1024, 1024).ok());
    EXPECT_EQ(buffer.size(), 3072u);
    platform::refuse_allocation(0, true);
    EXPECT_EQ(buffer.allocate_shrinking(4096, 1024, 1024), kNoMemory);
    platform::refuse_allocation(-1, false);
    EXPECT_EQ(buffer.allocate(UINT64_MAX), kNoMemory);
  }
  EXPECT_EQ(platform::blocks_in_use(), before);
}

}  // namespace
}  // namespace tavo
