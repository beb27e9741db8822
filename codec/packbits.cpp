#include "codec/packbits.h"

#include <algorithm>
#include <cstring>

#include "codec/byte_runs.h"

namespace tavo::packbits {
namespace {

// A packet is a head byte n and, for n from 0 to 127, n + 1 literals or, for n from -127 to -1, a
// byte to be repeated 1 - n times (TIFF 6.0, section 9).
constexpr size_t kMaxPacket = 128;
constexpr size_t kShort = 32;
// Two equal bytes between literals stay literals, as section 9 advises: a packet would save
// nothing.
constexpr size_t kMinRun = 3;

}  // namespace

// Packets that lie whole in the window and in what is asked for. In bounds because the longest has
// room in both; shorter ones are written over again. Most are short: the rest of a long one has a
// branch of its own.
void Decoder::decode_whole(std::span<uint8_t>& out) {
  const uint8_t* const start = bytes_.window().data();
  const uint8_t* const last = start + bytes_.window().size() - kMaxPacket;
  const uint8_t* in = start;
  uint8_t* to = out.data();
  uint8_t* const to_last = to + out.size() - kMaxPacket;
  while (in < last && to <= to_last) {
    const uint32_t head = *in++;
    if (head < 128) {
      std::memcpy(to, in, kShort);
      if (head >= kShort) std::memcpy(to + kShort, in + kShort, kMaxPacket - kShort);
      in += head + 1;
      to += head + 1;
    } else if (head > 128) {
      const uint8_t value = *in++;
      std::memset(to, value, kShort);
      if (257 - head > kShort) std::memset(to + kShort, value, kMaxPacket - kShort);
      to += 257 - head;
    }
  }
  bytes_.consume(static_cast<size_t>(in - start));
  out = out.subspan(static_cast<size_t>(to - out.data()));
}

// kept: packets may go on over the ends of rows, though section 9 has each row on its own: a strip
// that was packed as a whole decodes, too.
Status Decoder::decode(std::span<uint8_t> all, size_t& got) {
  std::span<uint8_t> out = all;
  const Status status = decode_packets(out);
  got = all.size() - out.size();
  return status;
}

Status Decoder::decode_packets(std::span<uint8_t>& out) {
  while (!out.empty()) {
    if (left_ == 0 && out.size() >= kMaxPacket && bytes_.window().size() > kMaxPacket) {
      decode_whole(out);
      if (out.empty()) break;
    }
    if (left_ == 0) {
      const int head = bytes_.get();
      if (head < 0) return bytes_.shortage();
      if (head == 128) continue;  // -128 is no packet: readers pass it (section 9)
      is_run_ = head > 128;
      left_ = static_cast<size_t>(is_run_ ? 257 - head : head + 1);
      if (is_run_) {
        const int value = bytes_.get();
        if (value < 0) return bytes_.shortage();
        value_ = static_cast<uint8_t>(value);
      }
    }
    size_t part = std::min(left_, out.size());
    Status status = kOk;
    if (is_run_) {
      std::memset(out.data(), value_, part);
    } else {
      const size_t wanted = part;
      status = bytes_.read_some(out.first(wanted), part);
      if (status.ok() && part < wanted) status = kReadError;
    }
    left_ -= part;
    out = out.subspan(part);
    TRY(status);
  }
  return kOk;
}

namespace {

struct Packets {
  uint8_t* to;

  void run(uint8_t value, size_t count) {
    for (; count > 0; to += 2) {
      const size_t part = std::min(count, kMaxPacket);
      to[0] = static_cast<uint8_t>(1 - static_cast<int>(part));
      to[1] = value;
      count -= part;
    }
  }
  void literals(std::span<const uint8_t> bytes) {
    while (!bytes.empty()) {
      const size_t part = std::min(bytes.size(), kMaxPacket);
      *to++ = static_cast<uint8_t>(part - 1);
      std::memcpy(to, bytes.data(), part);
      to += part;
      bytes = bytes.subspan(part);
    }
  }
};

}  // namespace

// Each row on its own, as section 9 demands of TIFF files.
size_t encode(std::span<const uint8_t> row, uint8_t* out) {
  Packets packets{out};
  cut_runs<kMinRun>(row, packets);
  return static_cast<size_t>(packets.to - out);
}

}  // namespace tavo::packbits
