#include "formats/pict_bitmap.h"

#include "base/depths.h"
#include "base/endian.h"
#include "color/palettes.h"
#include "core/bitmap.h"
#include "formats/two_levels.h"

namespace tavo::pict {

namespace {

// Rows that take fewer bytes than this are never packed, whatever opcode and pack type say.
constexpr uint32_t kLeastPacked = 8;

// The word rowBytes: the highest bit parts a PixMap from the BitMap of the first QuickDraw. Of
// indexed pixels the next bit is reserved, too; of direct ones it counts, or rows of more than 4095
// pixels of 32 bits would be lost.
constexpr uint32_t kIsPixelMap = 0x8000;
constexpr uint32_t kIndexedBytes = 0x3FFF, kDirectBytes = 0x7FFF;

// Fields of a pixel map behind its bounds: packType, pixelSize, cmpCount.
struct PixelMap {
  uint32_t packing = 0;
  uint32_t bits = 1;
  uint32_t components = 1;
};

// pmVersion, packType, packSize (4), hRes and vRes (16.16), pixelType, pixelSize, cmpCount,
// cmpSize, planeBytes (4), pmTable (4), pmReserved (4); words where nothing is said. The opcode
// tells what pixelType does, the depth what cmpSize does.
Status read_map_fields(Stream& stream, Bitmap& bitmap, PixelMap& map) {
  constexpr size_t kBytes = 36, kPackType = 2, kHRes = 8, kVRes = 12, kPixelSize = 18,
                   kComponents = 20;
  std::span<const uint8_t> bytes;
  TRY(stream.take(kBytes, bytes));
  map.packing = load_be16(&bytes[kPackType]);
  map.bits = load_be16(&bytes[kPixelSize]);
  map.components = load_be16(&bytes[kComponents]);
  bitmap.x_resolution = load_be32(&bytes[kHRes]);
  bitmap.y_resolution = load_be32(&bytes[kVRes]);
  return kOk;
}

// ctSeed (4), ctFlags, ctSize (entries less one; FFFF is none), then of each entry its number, red,
// green and blue. Of 16 bits a component only the higher 8 are looked at. Entries that no pixel of
// 8 bits can mean are passed over; those that are not listed stay black.
Status read_color_table(Stream& stream, Bitmap& bitmap) {
  constexpr uint32_t kIsInOrder = 0x8000;  // entry numbers mean nothing
  constexpr size_t kFlags = 4, kLast = 6, kHeadBytes = 8, kEntryBytes = 8;
  std::span<const uint8_t> bytes;
  TRY(stream.take(kHeadBytes, bytes));
  const bool is_in_order = (load_be16(&bytes[kFlags]) & kIsInOrder) != 0;
  const uint32_t count = (load_be16(&bytes[kLast]) + 1u) & 0xFFFF;
  for (uint32_t i = 0; i < count; ++i) {
    TRY(stream.take(kEntryBytes, bytes));
    const uint32_t index = is_in_order ? i : load_be16(bytes.data());
    if (index < std::size(bitmap.palette)) {
      bitmap.palette[index] = {bytes[6], bytes[4], bytes[2], 0};
    }
  }
  bitmap.has_palette = true;
  return kOk;
}

Status set_indexed(const PixelMap& map, Bitmap& bitmap) {
  if (map.bits != 1 && map.bits != 2 && map.bits != 4 && map.bits != 8) return kSubtype;
  bitmap.bits = map.bits;
  bitmap.packing = bitmap.row_bytes < kLeastPacked ? Packing::kPlain : Packing::kBytes;
  return kOk;
}

// packType of 16 bits: 1 plain, 3 packets of words; of 32 bits: 1 plain, 2 without the byte that
// pads, 4 a plane for each component. 0 is the usual one of the depth, 3 or 4.
Status set_direct(const PixelMap& map, Bitmap& bitmap) {
  const bool is_short = bitmap.row_bytes < kLeastPacked;
  constexpr uint32_t kDefault = 0, kNone = 1, kNoPad = 2, kByWords = 3, kByComponents = 4;
  if (map.bits == 16) {
    if (map.packing != kDefault && map.packing != kNone && map.packing != kByWords) return kSubtype;
    bitmap.bits = 16;
    bitmap.packing = is_short || map.packing == kNone ? Packing::kPlain : Packing::kWords;
    return kOk;
  }
  if (map.bits != 32) return kSubtype;
  bitmap.bits = 24;
  bitmap.components = map.components;
  if (is_short || map.packing == kNone) {
    bitmap.packing = Packing::kPlain;
  } else if (map.packing == kNoPad) {
    bitmap.packing = Packing::kTriples;
  } else if (map.packing == kDefault || map.packing == kByComponents) {
    if (map.components != 3 && map.components != 4) return kSubtype;
    bitmap.packing = Packing::kPlanes;
  } else {
    return kSubtype;
  }
  return kOk;
}

// Whether a row as the pixel map has it holds the pixels of one.
bool holds_row(const Bitmap& bitmap) {
  const auto width = static_cast<uint64_t>(bitmap.bounds.width());
  const uint64_t bits = bitmap.bits == 24 ? 32 : bitmap.bits;
  return bitmap.row_bytes >= (width * bits + 7) / 8;
}

// From the word of bytes a row to the colour table.
Status read_map(Stream& stream, bool is_direct, Bitmap& bitmap) {
  std::span<const uint8_t> bytes;
  TRY(stream.take(2 + kRectBytes, bytes));
  const uint32_t word = load_be16(bytes.data());
  bitmap.row_bytes = word & (is_direct ? kDirectBytes : kIndexedBytes);
  bitmap.bounds = load_rect(&bytes[2]);
  if (bitmap.bounds.is_empty()) return kBadData;
  PixelMap map;
  const bool is_map = is_direct || (word & kIsPixelMap) != 0;
  if (is_map) TRY(read_map_fields(stream, bitmap, map));
  TRY(is_direct ? set_direct(map, bitmap) : set_indexed(map, bitmap));
  // Rows of words, planes and triples are as long as the bounds are wide: rowBytes only tells how
  // their packed bytes are counted.
  const bool counts = bitmap.is_indexed() || bitmap.packing == Packing::kPlain;
  if (counts && !holds_row(bitmap)) return kBadData;
  return is_map && !is_direct ? read_color_table(stream, bitmap) : kOk;
}

}  // namespace

Status read_pixel_map(Stream& stream, Bitmap& bitmap) { return read_map(stream, false, bitmap); }

Status read_bitmap(Stream& stream, uint32_t opcode, Bitmap& bitmap, Region& mask) {
  constexpr size_t kBaseAddress = 4, kRectsAndMode = 2 * kRectBytes + 2;
  const bool is_direct = opcode >= kDirectBitsRect;
  std::span<const uint8_t> bytes;
  if (is_direct) TRY(stream.take(kBaseAddress, bytes));  // any value; 000000FF by the documents
  TRY(read_map(stream, is_direct, bitmap));
  // Some writers do not pack BitsRect and BitsRgn, whatever the length of their rows.
  const bool may_be_plain = opcode == kBitsRect || opcode == kBitsRegion;
  if (may_be_plain && bitmap.packing == Packing::kBytes) bitmap.packing = Packing::kBytesOrPlain;

  // srcRect in the bounds' coordinates, dstRect in the picture's, transfer mode.
  TRY(stream.take(kRectsAndMode, bytes));
  bitmap.source = intersect(load_rect(bytes.data()), bitmap.bounds);
  bitmap.destination = load_rect(&bytes[kRectBytes]);
  bitmap.mode = load_be16(&bytes[2 * kRectBytes]);
  if (bitmap.source.is_empty()) return kBadData;
  mask.set(kEverywhere);
  const bool has_mask = opcode % 2 != 0;  // BitsRgn, PackBitsRgn, DirectBitsRgn
  if (!has_mask) return kOk;
  bytes = stream.peek(2);
  TRY(stream.take(bytes.size() < 2 ? 2 : load_be16(bytes.data()), bytes));
  return mask.take(bytes);
}

size_t shown_bytes(const Bitmap& bitmap) {
  const int32_t bits = request_depth(static_cast<int32_t>(bitmap.bits));
  return static_cast<size_t>(
      core::packed_bytes(static_cast<uint64_t>(bitmap.source.width()), bits));
}

void describe_pixels(const Bitmap& bitmap, process::SourcePicture& picture) {
  picture.bits = request_depth(static_cast<int32_t>(bitmap.bits));
  picture.order = bitmap.bits == 16 ? T_ORDER_BGR : T_ORDER_RGB;
  if (!bitmap.is_indexed()) return;
  if (!bitmap.has_palette) return formats::describe_two_levels(formats::ZeroIs::kWhite, picture);
  picture.colors = 1u << bitmap.bits;
  std::copy_n(bitmap.palette, std::size(bitmap.palette), picture.palette);
  picture.flags |= T_FLAG_PALETTE;
  const auto palette = std::span(picture.palette).first(picture.colors);
  if (bitmap.bits > 2 && color::is_gray_ramp(palette)) picture.flags |= T_FLAG_GRAY;
}

}  // namespace tavo::pict
