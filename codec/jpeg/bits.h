// The entropy-coded bytes of a scan: taken from a ByteSource, freed of stuffed zeros, and read bit
// by bit. Facts: ISO/IEC 10918-1, B.1.1.5 and F.1.2.3.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/bit_reader.h"
#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/status.h"

namespace tavo::jpeg {

// A position in unstuffed bytes. Small enough to live in registers: the decoding loops copy it,
// work on the copy and store it back.
//
// Of base/bit_reader.h it shares the register alone. Where data may end at any marker,
// EntropyReader has looked for that while it took out the stuffed zeros: at least 8 readable bytes
// follow `next` always, so that a refill, which the loops do for every other coefficient, needs no
// test. The register is a machine word. The pictures do not depend on its width: every read below
// asks for no more than the narrower one holds.
struct BitPosition : BitRegister<BitOrder::kHighFirst, uintptr_t> {
  const uint8_t* next = nullptr;

  void refill() { BitRegister::refill(load(next), next); }

  // The signed value of `n` magnitude bits: RECEIVE and EXTEND of F.2.2.1.
  int take_signed(uint32_t n) {
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
    const auto taken = (at.next - data_) * 8 - static_cast<ptrdiff_t>(at.count);
    return is_complete_ && taken > (end_ - data_) * 8;
  }

  // The next byte, for decoders that take no bits; zeros after the end.
  uint8_t next_byte() {
    if (at.next >= end_) [[unlikely]] {
      fetch();
      if (at.next >= end_) {
        ++bytes_beyond_;
        return 0;
      }
    }
    return *at.next++;
  }
  // Zeros that next_byte() has given after the end.
  uint32_t bytes_beyond() const { return bytes_beyond_; }

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
  // The unstuffed data, in buffer_.
  uint8_t* data_ = nullptr;
  uint8_t* end_ = nullptr;    // behind the last unstuffed byte
  uint8_t* limit_ = nullptr;  // behind the last place for one
  const uint8_t* refill_from_ = nullptr;
  bool is_complete_ = false;
  uint32_t bytes_beyond_ = 0;
  int marker_ = kNoMarker;
};

}  // namespace tavo::jpeg
