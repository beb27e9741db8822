// PackBits, the byte run coding of Macintosh files and TIFF 6.0 (section 9).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "base/status.h"

namespace tavo::packbits {

// Undoes the coding. Packets may go on from one call to the next.
class Decoder {
 public:
  explicit Decoder(ByteSource& bytes) : bytes_(bytes) {}

  // Forgets the packet at hand, for the next stream.
  void reset() { left_ = 0; }

  // Exactly all.size() bytes; kReadError when the data end before, after `got` of them. The bytes
  // behind those have no meaning then.
  Status decode(std::span<uint8_t> all, size_t& got);
  Status decode(std::span<uint8_t> all) {
    size_t got = 0;
    return decode(all, got);
  }

  // Whether the last packet ended with the last byte decoded.
  bool is_between_packets() const { return left_ == 0; }

 private:
  Status decode_packets(std::span<uint8_t>& out);
  void decode_whole(std::span<uint8_t>& out);

  ByteSource& bytes_;
  size_t left_ = 0;  // of the packet
  bool is_run_ = false;
  uint8_t value_ = 0;
};

constexpr size_t max_encoded_size(size_t size) { return size + (size + 127) / 128; }

// Encodes a row on its own into `out`, which has max_encoded_size(row.size()) bytes; returns how
// many it took. Runs of three bytes and more become run packets, shorter ones literals.
size_t encode(std::span<const uint8_t> row, uint8_t* out);

}  // namespace tavo::packbits
