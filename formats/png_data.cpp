#include "formats/png_data.h"

#include <algorithm>
#include <array>

#include "base/crc32.h"
#include "base/endian.h"
#include "formats/png_header.h"

namespace tavo::png {
namespace {

// What the checksum of a chunk begins with: it covers type and data, but not the length (5.3).
constexpr std::array<uint8_t, 4> kType = {'I', 'D', 'A', 'T'};

}  // namespace

DataStream::DataStream(ByteSource& bytes, uint32_t size)
    : bytes_(bytes), left_(size), sum_(crc32(0, kType)) {}

// Behind the data of one chunk: its checksum, and the head of the next one.
Status DataStream::next_chunk() {
  std::array<uint8_t, kCheckBytes + kHeadBytes> between;
  TRY(bytes_.read(std::span(between).first(kCheckBytes)));
  if (load_be32(between.data()) != sum_) return kBadData;
  TRY(bytes_.read(std::span(between).subspan(kCheckBytes)));
  left_ = load_be32(&between[4]);
  sum_ = crc32(0, kType);
  // IDAT chunks follow each other directly (5.6): any other chunk ends the data.
  is_at_end_ = load_be32(&between[8]) != kIDAT;
  return left_ > INT32_MAX ? kBadData : kOk;
}

Status DataStream::read_some(std::span<uint8_t> into, size_t& got) {
  got = 0;
  // Empty chunks are lawful (5.3); each takes 12 bytes, so that the loop ends with the file.
  while (left_ == 0 && !is_at_end_) TRY(next_chunk());
  if (is_at_end_) return kOk;
  const std::span<uint8_t> part = into.first(std::min<size_t>(into.size(), left_));
  TRY(bytes_.read_some(part, got));
  sum_ = crc32(sum_, part.first(got));
  left_ -= static_cast<uint32_t>(got);
  return kOk;
}

}  // namespace tavo::png
