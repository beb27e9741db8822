#include "formats/tga_runs.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "base/vector_sse2.h"

namespace tavo::tga {

namespace {

// TGA 2.0, "Run-length encoded images": the packet head's top bit marks a run, the others are the
// count less 1. Packets of version 2.0 end with their row; older ones may go on.
constexpr size_t kMaxPixels = 128;
constexpr size_t kStep = 16;
constexpr uint8_t kRun = 0x80;

constexpr size_t kFirst =
    3 * kStep;  // written without looking at the length: most packets end here

// Bytes that one packet and the excess of its copy may read.
constexpr size_t kWindow = 1 + kMaxPixels * 4 + kFirst;

inline void copy_step(uint8_t* to, const uint8_t* from) { sse2::store(to, sse2::load(from)); }

inline void copy_literals(uint8_t* to, const uint8_t* from, size_t bytes) {
  copy_step(to, from);
  copy_step(to + kStep, from + kStep);
  copy_step(to + 2 * kStep, from + 2 * kStep);
  for (size_t done = kFirst; done < bytes; done += kStep) copy_step(to + done, from + done);
}

// Writes a run; like copy_literals less than kFirst bytes too many.
template <size_t kPixelBytes>
inline void fill_run(uint8_t* to, const uint8_t* pixel, size_t bytes) {
  if constexpr (kPixelBytes == 3) {
    const uint64_t one = load_le16(pixel) | static_cast<uint64_t>(pixel[2]) << 16;
    const uint64_t two = one | one << 24;
    for (size_t done = 0; done < 24; done += 6) store_le64(to + done, two);
    for (size_t done = 24; done < bytes; done += 6) store_le64(to + done, two);
  } else {
    sse2::V all;
    if constexpr (kPixelBytes == 1) all = sse2::splat8(pixel[0]);
    if constexpr (kPixelBytes == 2) all = sse2::splat16(load_le16(pixel));
    if constexpr (kPixelBytes == 4) all = sse2::splat32(load_le32(pixel));
    for (size_t done = 0; done < bytes; done += kStep) sse2::store(to + done, all);
  }
}

}  // namespace

// Whole packets as long as kWindow bytes are at hand; the one that passes the end of the row is
// left over.
// In bounds because a row has kSlack bytes behind it and each copy writes less than kFirst too
// many.
template <size_t kPixelBytes>
uint8_t* RunDecoder::decode_fast(uint8_t* out, uint8_t* end) {
  const uint8_t* const window = bytes_.window().data();
  const uint8_t* const last = window + bytes_.window().size() - kWindow;
  const uint8_t* in = window;
  while (out != end && in <= last) {
    const uint8_t head = *in++;
    const size_t packet = ((head & ~kRun) + 1u) * kPixelBytes;
    const size_t part = std::min(packet, static_cast<size_t>(end - out));
    if ((head & kRun) != 0) {
      fill_run<kPixelBytes>(out, in, part);
      if (part < packet) std::memcpy(pixel_, in, kPixelBytes);
      in += kPixelBytes;
    } else {
      copy_literals(out, in, part);
      in += part;
    }
    out += part;
    left_ = packet - part;
    is_run_ = (head & kRun) != 0;
  }
  bytes_.consume(static_cast<size_t>(in - window));
  return out;
}

uint8_t* RunDecoder::run_fast(uint8_t* out, uint8_t* end) {
  switch (pixel_bytes_) {
    case 1:
      return decode_fast<1>(out, end);
    case 2:
      return decode_fast<2>(out, end);
    case 3:
      return decode_fast<3>(out, end);
    default:
      return decode_fast<4>(out, end);
  }
}

// Reads a packet's head and, for a run, its pixel. False at the end of the data.
bool RunDecoder::start_packet() {
  const int head = bytes_.get();
  if (head < 0) return false;
  is_run_ = (head & kRun) != 0;
  if (is_run_ && !bytes_.read({pixel_, pixel_bytes_}).ok()) return false;
  left_ = ((static_cast<size_t>(head) & 0x7F) + 1) * pixel_bytes_;
  return true;
}

// Packets and rows are whole pixels, so a run goes on with the first byte of its pixel.
uint8_t* RunDecoder::put_run(uint8_t* out, const uint8_t* end) {
  const size_t part = std::min(left_, static_cast<size_t>(end - out));
  for (size_t done = 0; done < part; done += pixel_bytes_) {
    std::memcpy(out + done, pixel_, pixel_bytes_);
  }
  left_ -= part;
  return out + part;
}

Status RunDecoder::put_literals(uint8_t*& out, const uint8_t* end) {
  const size_t part = std::min(left_, static_cast<size_t>(end - out));
  size_t got = 0;
  const Status status = bytes_.read_some({out, part}, got);
  out += got;
  left_ -= got;
  TRY(status);
  return got == part ? kOk : kReadError;
}

Status RunDecoder::decode_row(std::span<uint8_t> row, size_t& got) {
  uint8_t* out = row.data();
  uint8_t* const end = out + row.size();
  Status status = kOk;
  while (out != end && status.ok()) {
    if (left_ != 0) {
      if (is_run_) {
        out = put_run(out, end);
      } else {
        status = put_literals(out, end);
      }
      continue;
    }
    if (bytes_.window().size() < kWindow) status = bytes_.refill();
    if (bytes_.window().size() >= kWindow) {
      out = run_fast(out, end);
    } else if (status.ok() && !start_packet()) {
      status = bytes_.shortage();
    }
  }
  got = static_cast<size_t>(out - row.data());
  return status;
}

}  // namespace tavo::tga
