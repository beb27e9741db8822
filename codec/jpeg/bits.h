// The entropy-coded bytes of a scan: taken from a ByteSource, freed of stuffed zeros, and read bit
// by bit. Facts: ISO/IEC 10918-1, B.1.1.5 and F.1.2.3.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/endian.h"
#include "base/status.h"

namespace tavo::jpeg {

// The bit buffer is a machine word. The pictures do not depend on its width: every read below asks
// for no more than the narrower one holds.
using BitWord = std::conditional_t<sizeof(void*) == 8, uint64_t, uint32_t>;
inline constexpr int kWordBits = 8 * static_cast<int>(sizeof(BitWord));
// What is there at least after a refill.
inline constexpr int kRefilledBits = kWordBits - 8;

// A position in unstuffed bytes. Small enough to live in registers: the decoding loops copy it,
// work on the copy and store it back. At least 8 readable bytes follow `next` always.
struct BitPosition {
  BitWord bits = 0;  // the next bits, highest first
  int count = 0;     // how many of them have been paid for; those below repeat what comes next
  const uint8_t* next = nullptr;

  void refill() {
    BitWord word = load_native<BitWord>(next);
    if constexpr (sizeof(BitWord) == 8) {
      word = __builtin_bswap64(word);
    } else {
      word = __builtin_bswap32(word);
    }
    bits |= word >> count;
    next += (kWordBits - 1 - count) >> 3;
    count |= kRefilledBits;
  }

  uint32_t peek(int n) const { return static_cast<uint32_t>(bits >> (kWordBits - n)); }  // 1..16
  void drop(int n) {
    bits <<= n;
    count -= n;
  }
  // 0 to 16 bits; a refill must have brought them.
  uint32_t take(int n) {
    const auto value = static_cast<uint32_t>(bits >> 1 >> (kWordBits - 1 - n));
    drop(n);
    return value;
  }
  // The signed value of `n` magnitude bits.
  int take_signed(int n) {
    if (n == 0) return 0;
    const auto value = static_cast<int>(take(n));
    return value < 1 << (n - 1) ? value - (1 << n) + 1 : value;
  }
};

// The markers that end a segment of entropy-coded data, and the end of all data.
inline constexpr int kNoMarker = -1;
inline constexpr int kEndOfData = -2;

class EntropyReader {
 public:
  // Takes the buffer. `mcu_bytes` bounds what one MCU may use.
  Status start(size_t mcu_bytes);

  // Begins with the next byte of `source`, which must stay alive; also after a restart marker.
  void begin(ByteSource& source);

  // Makes `mcu_bytes` bytes readable from the position, zeros after the end.
  void ensure() {
    if (at.next > refill_from_) fetch();
  }
  // True once more bits were taken than the segment has.
  bool is_exhausted() const {
    return is_complete_ && (at.next - data_) * 8 - at.count > (end_ - data_) * 8;
  }

  // Bytes of the source that may be taken before they are needed.
  static constexpr uint64_t most_read_ahead(uint64_t mcu_bytes) {
    return 2 * (kDataBytes + 2 * mcu_bytes);
  }

  // Drops what is left of the segment. Returns the marker that ends it, unread in the source, or
  // kEndOfData.
  int skip_to_marker();

  BitPosition at;

 private:
  // Space for unstuffed data; what an MCU may use comes on top.
  static constexpr size_t kDataBytes = 16384;

  void fetch();
  void copy_window();

  Buffer buffer_;
  size_t mcu_bytes_ = 0;
  ByteSource* source_ = nullptr;
  uint8_t* data_ = nullptr;
  uint8_t* end_ = nullptr;    // behind the last unstuffed byte
  uint8_t* limit_ = nullptr;  // behind the last place for one
  const uint8_t* refill_from_ = nullptr;
  bool is_complete_ = false;
  int marker_ = kNoMarker;
};

}  // namespace tavo::jpeg
