#include "process/dib_block.h"

#include <algorithm>
#include <array>

#include "base/depths.h"
#include "base/endian.h"
#include "base/limits.h"
#include "core/bitmap.h"

namespace tavo::dib {

namespace {

// What headers may be long: BITMAPCOREHEADER, OS/2's short one, BITMAPINFOHEADER, the same with
// masks inside, with alpha, OS/2's full one, BITMAPV4HEADER, BITMAPV5HEADER.
constexpr uint32_t kShortOs2Size = 16, kFullOs2Size = 64;
constexpr uint32_t kHeaderSizes[] = {12, 16, 40, 52, 56, 64, 108, 124};

constexpr uint32_t kRgb = 0, kRle8 = 1, kRle4 = 2, kBitFields = 3, kAlphaBitFields = 6;

// Whether the bits of a mask are together, as they must be (BITMAPV4HEADER).
constexpr bool is_in_one_piece(uint32_t mask) { return (mask & (mask + (mask & -mask))) == 0; }

Status check_masks(const uint8_t* masks, uint32_t depth) {
  uint32_t taken = depth == 16 ? 0xFFFF0000 : 0;
  for (const uint32_t mask : {load_le32(masks), load_le32(masks + 4), load_le32(masks + 8)}) {
    if (mask == 0 || !is_in_one_piece(mask) || (mask & taken) != 0) return kBadData;
    taken |= mask;
  }
  return kOk;
}

Status check_coding(std::span<const uint8_t> bytes, uint32_t header_size, uint32_t depth) {
  switch (load_le32(&bytes[16])) {
    case kRgb:
      return kOk;
    case kRle8:
      return depth == 8 ? kOk : kSubtype;
    case kRle4:
      return depth == 4 ? kOk : kSubtype;
    case kBitFields:
    case kAlphaBitFields:
      // OS/2 has Huffman's code here.
      if (header_size == kFullOs2Size || (depth != 16 && depth != 32)) return kSubtype;
      if (bytes.size() < kInfoHeaderSize + 12) return kReadError;
      return check_masks(&bytes[kInfoHeaderSize], depth);
    default:
      return kSubtype;
  }
}

// Sizes of 16 bits in a core header, in which heights are never negative.
Status check_size(std::span<const uint8_t> bytes, bool is_core) {
  const auto width = static_cast<int32_t>(is_core ? load_le16(&bytes[4]) : load_le32(&bytes[4]));
  const auto height = static_cast<int32_t>(is_core ? load_le16(&bytes[6]) : load_le32(&bytes[8]));
  if (width < 1) return kBadData;
  if (height == 0 || height == INT32_MIN) return kBadSize;
  return limits::check_picture(width, height < 0 ? -height : height);
}

Status check_header(std::span<const uint8_t> bytes) {
  if (bytes.size() < 4) return kReadError;
  const uint32_t size = load_le32(bytes.data());
  if (std::ranges::find(kHeaderSizes, size) == std::end(kHeaderSizes)) return kBadData;
  if (bytes.size() < size) return kReadError;
  const bool is_core = size == kCoreHeaderSize;
  if (load_le16(&bytes[is_core ? 8 : 12]) > 1) return kBadData;  // planes
  TRY(check_size(bytes, is_core));
  const uint32_t depth = load_le16(&bytes[is_core ? 10 : 14]);
  if (!is_bitmap_depth(static_cast<int32_t>(depth))) return kSubtype;
  return is_core || size == kShortOs2Size ? kOk : check_coding(bytes, size, depth);
}

}  // namespace

Status parse_block(std::span<const uint8_t> bytes, Block& block) {
  TRY(check_header(bytes));
  Header& header = block.header;
  TRY(parse_header(bytes, header));
  if (header.coding == Coding::kRle24) return kSubtype;
  // No bitmap has alpha: where the colours are plain the fourth byte, or the highest of 16 bits,
  // is carried along.
  header.has_masks = header.has_masks && !has_plain_colors(header);
  const uint64_t rows = uint64_t{header.line_bytes} * static_cast<uint32_t>(header.height);
  if (rows > UINT32_MAX) return kBadSize;

  // The table is as long as the header says, also where no pixel can need it: above 8 bits it is
  // advice for displays with palettes.
  const uint32_t entries = header.colors_used != 0 ? header.colors_used : header.table_entries;
  const uint64_t bits_at = header.table_offset + uint64_t{entries} * header.entry_bytes;
  if (bits_at > bytes.size()) return kReadError;
  const uint32_t most = header.bits < 8 ? 1u << header.bits : 256;
  block.table = bytes.subspan(header.table_offset, std::min(entries, most) * header.entry_bytes);
  block.bits = bytes.subspan(static_cast<size_t>(bits_at));
  const bool is_whole = header.coding != Coding::kNone || block.bits.size() >= rows;
  return is_whole ? kOk : kReadError;
}

}  // namespace tavo::dib
