#include "formats/pcx_runs.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/overrun.h"
#include "base/vector_sse2.h"

namespace tavo::pcx {

namespace {

using namespace sse2;

// The two high bits mark a run, the others count it; so literals of 0xC0 and more are runs of one.
constexpr uint8_t kRun = 0xC0;
constexpr uint8_t kMaxRun = 63;
constexpr size_t kStep = 16;
constexpr size_t kBlock = 2 * kStep;

// Bytes that one block reads: what follows the run that begins last is copied as a block, too.
constexpr size_t kWindow = 2 * kBlock;

inline void copy_block(uint8_t* to, const uint8_t* from) {
  store(to, load(from));
  store(to + kStep, load(from + kStep));
}

inline uint32_t masks(V low, V high) { return top_bits8(low) | top_bits8(high) << kStep; }

// A bit for each of 32 bytes: whether it is 0xC0 or more. A doubled byte has bit 6 on top.
inline uint32_t run_mask(const uint8_t* from) {
  const V low = load(from);
  const V high = load(from + kStep);
  return masks(low & add8(low, low), high & add8(high, high));
}

// Of the bytes that look like heads of runs those that are: in a row of them every second one is a
// value. Adding its first bit to a row carries through it, which tells rows that start at even
// places from the others.
inline uint32_t head_mask(const uint8_t* from) {
  constexpr uint32_t kEven = 0x55555555;
  const uint32_t all = run_mask(from);
  const uint32_t even_starts = all & ~(all << 1) & kEven;
  const uint32_t even_rows = all & ~(all + even_starts);
  return (even_rows & kEven) | (all & ~even_rows & ~kEven);
}

// A bit for each of 32 bytes: whether the next one is the same.
inline uint32_t repeat_mask(const uint8_t* from) {
  return masks(equal8(load(from), load(from + 1)),
               equal8(load(from + kStep), load(from + kStep + 1)));
}

}  // namespace

// Blocks of 32 bytes as long as they are at hand. What lies between the runs is copied whole, and a
// run filled whole: only then is it looked whether that went too far, which it does once a line. In
// bounds because each write begins in front of `end` and has 64 bytes at most, a run of 63 in whole
// vectors: kLineSlack.
uint8_t* RunDecoder::decode_fast(uint8_t* out, uint8_t* end) {
  const uint8_t* const window = bytes_.window().data();
  const uint8_t* const last = window + bytes_.window().size() - kWindow;
  const uint8_t* in = window;
  while (out < end && in <= last) {
    size_t at = 0;
    for (uint32_t heads = head_mask(in); heads != 0; heads &= heads - 1) {
      const auto stop = static_cast<size_t>(std::countr_zero(heads));
      copy_block(out, in + at);
      out += stop - at;
      at = stop;
      if (out >= end) break;
      // Of 0 nothing comes: head and value are passed over.
      const size_t count = in[stop] & kMaxRun;
      value_ = in[stop + 1];
      fill_over(out, value_, count);
      out += count;
      at = stop + 2;
      if (out < end) continue;
      left_ = static_cast<size_t>(out - end);
      out = end;
      break;
    }
    if (out < end && at < kBlock) {
      copy_block(out, in + at);
      out += kBlock - at;
      at = kBlock;
    }
    in += at;
  }
  const size_t too_many = out > end ? static_cast<size_t>(out - end) : 0;
  bytes_.consume(static_cast<size_t>(in - window) - too_many);
  return out - too_many;
}

uint8_t* RunDecoder::put_run(uint8_t* out, uint8_t* end) {
  const size_t part = std::min(left_, static_cast<size_t>(end - out));
  std::memset(out, value_, part);
  left_ -= part;
  return out + part;
}

// Reads a run, or a byte as a run of one. False at the end of the data.
bool RunDecoder::start_run() {
  int byte = bytes_.get();
  left_ = 1;
  if (byte >= kRun) {
    left_ = static_cast<size_t>(byte & kMaxRun);
    byte = bytes_.get();
  }
  value_ = static_cast<uint8_t>(byte);
  return byte >= 0;
}

Status RunDecoder::decode_line(std::span<uint8_t> line) {
  missing_ = 0;
  uint8_t* out = line.data();
  uint8_t* const end = out + line.size();
  while (true) {
    out = put_run(out, end);
    if (out == end) return kOk;
    if (bytes_.window().size() < kWindow) TRY(bytes_.refill());
    if (bytes_.window().size() >= kWindow) {
      out = decode_fast(out, end);
    } else if (!start_run()) {
      left_ = 0;
      missing_ = static_cast<size_t>(end - out);
      std::fill(out, end, uint8_t{0});
      return bytes_.failure();
    }
  }
}

namespace {

// A count of 1 to 63.
inline uint8_t* put_one_run(uint8_t* out, uint8_t value, size_t count) {
  out[0] = static_cast<uint8_t>(kRun | count);
  out[1] = value;
  return out + 2;
}

// A rest of one byte stands for itself when it does not look like a head.
uint8_t* put_long_run(uint8_t* out, uint8_t value, size_t count) {
  for (; count > kMaxRun; count -= kMaxRun) out = put_one_run(out, value, kMaxRun);
  if (count > 1 || value >= kRun) return put_one_run(out, value, count);
  *out = value;
  return out + 1;
}

// How many bytes from `from` on are the same; another one follows the line.
inline size_t run_length(const uint8_t* from) {
  const uint8_t* at = from;
  while (true) {
    const uint32_t repeats = repeat_mask(at);
    if (repeats != UINT32_MAX) {
      return static_cast<size_t>(at - from) + static_cast<size_t>(std::countr_one(repeats)) + 1;
    }
    at += kBlock;
  }
}

}  // namespace

size_t encode_line(std::span<uint8_t> line, uint8_t* const out) {
  line.data()[line.size()] = static_cast<uint8_t>(~line.back());  // no run passes the end
  uint8_t* to = out;
  const uint8_t* from = line.data();
  const uint8_t* const end = from + line.size();
  while (from < end) {
    const size_t block = std::min(kBlock, static_cast<size_t>(end - from));
    const uint32_t repeats = repeat_mask(from);
    uint32_t starts = (repeats | run_mask(from)) & ~(repeats << 1);
    if (block < kBlock) starts &= (uint32_t{1} << block) - 1;
    size_t at = 0;
    for (; starts != 0; starts &= starts - 1) {
      const auto stop = static_cast<size_t>(std::countr_zero(starts));
      copy_block(to, from + at);
      to += stop - at;
      const size_t count = static_cast<size_t>(std::countr_one(repeats >> stop)) + 1;
      if (stop + count > kBlock) {  // up to the end of the block, perhaps beyond
        const size_t whole = run_length(from + stop);
        to = put_long_run(to, from[stop], whole);
        at = stop + whole;
        break;
      }
      to = put_one_run(to, from[stop], count);
      at = stop + count;
    }
    if (at < block) {
      copy_block(to, from + at);
      to += block - at;
      at = block;
    }
    from += at;
  }
  return static_cast<size_t>(to - out);
}

}  // namespace tavo::pcx
