#include "formats/tga.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/byte_source.h"
#include "base/endian.h"
#include "base/limits.h"
#include "color/palettes.h"
#include "color/widen.h"
#include "core/bitmap.h"
#include "formats/plain_rows.h"
#include "formats/plausible.h"
#include "formats/tga_runs.h"
#include "process/row_delivery.h"

namespace tavo::tga {

namespace {

using process::RowDelivery;

// Offsets of the header's fields, as TGA 2.0 numbers them (fields 1 to 5.6).
constexpr size_t kIdLength = 0;      // field 1
constexpr size_t kMapType = 1;       // field 2
constexpr size_t kImageType = 2;     // field 3
constexpr size_t kMapFirst = 3;      // field 4.1
constexpr size_t kMapLength = 5;     // field 4.2
constexpr size_t kMapEntrySize = 7;  // field 4.3
constexpr size_t kXOrigin = 8;       // field 5.1
constexpr size_t kYOrigin = 10;      // field 5.2
constexpr size_t kWidth = 12;        // field 5.3
constexpr size_t kHeight = 14;       // field 5.4
constexpr size_t kPixelDepth = 16;   // field 5.5
constexpr size_t kDescriptor = 17;   // field 5.6

// Field 3: the image types; 8 more when run-length coded.
constexpr uint8_t kMapped = 1;
constexpr uint8_t kTrueColor = 2;
constexpr uint8_t kGray = 3;
constexpr uint8_t kRunLength = 8;

// Field 5.6: attribute bits per pixel, the corner of the first pixel, and two bits for interleaving
// in earlier versions, "must be zero" in 2.0.
constexpr uint8_t kAttributeBits = 0x0F;
constexpr uint8_t kCornerBits = 0x30;
constexpr uint8_t kBottomRight = 0x10;
constexpr uint8_t kTopLeft = 0x20;
constexpr uint8_t kTopRight = 0x30;
constexpr uint8_t kInterleaving = 0xC0;

size_t map_entry_bytes(const Header& header) { return (header.map_entry_bits + 7u) / 8; }
size_t pixel_bytes(const Header& header) { return (header.pixel_bits + 7u) / 8; }

// Field 4.3. TGA 2.0 has no entries of 8 bits: they are taken for grey levels.
bool is_map_entry_size(uint8_t bits) {
  return bits == 8 || bits == 15 || bits == 16 || bits == 24 || bits == 32;
}

// The kind that an image type stands for, when the pixel depth (field 5.5) and the map go with it.
// Kept: true colour of 8 bits, which are grey levels, and grey of 16. Types 32 and 33 (Huffman
// codes and deltas), and all that are nobody's, are another type of picture.
Status classify(uint8_t type, uint8_t bits, bool has_map, Kind& kind) {
  switch (type & ~kRunLength) {
    case kMapped:
      kind = Kind::kMapped;
      return has_map && bits == 8 ? kOk : kBadData;
    case kTrueColor:
      kind = Kind::kTrueColor;
      return bits == 8 || bits == 15 || bits == 16 || bits == 24 || bits == 32 ? kOk : kBadData;
    case kGray:
      kind = Kind::kGray;
      return bits == 8 || bits == 16 ? kOk : kBadData;
    default:
      return bits == 8 || bits == 16 || bits == 24 || bits == 32 ? kSubtype : kBadData;
  }
}

// Rows from the right count as bottom row first, whichever is: kept. So from the bottom they show
// mirrored, from the top turned by half.
uint32_t orientation_of(uint8_t corner) {
  if (corner == kBottomRight) return 2;
  return corner == kTopRight ? 3 : 1;
}

// Behind the last index of the map that a pixel of 8 bits can name.
uint32_t end_of_map(const Header& header) {
  return std::min(256u, uint32_t{header.map_first} + header.map_entries);
}

// What the reader delivers; the palette of mapped files is read later. 16 bits are 5-5-5 whatever
// the image type says.
process::SourcePicture describe(const Header& header) {
  process::SourcePicture picture;
  picture.width = header.width;
  picture.height = header.height;
  picture.bits = header.pixel_bits == 15 ? 16 : header.pixel_bits;
  picture.order = T_ORDER_BGR;
  picture.view_perspective = header.is_top_down ? 0 : 2;
  picture.orientation = header.orientation;
  picture.extras = header.has_alpha ? T_EXTRA_ALPHA : 0;
  picture.storage_kind = T_FORMAT_TGA;
  picture.has_origin = true;
  picture.x_origin = header.x_origin;
  picture.y_origin = header.y_origin;
  if (header.kind == Kind::kMapped) {
    picture.order = T_ORDER_RGB;
    picture.colors = std::min<uint32_t>(header.map_entries, 256);
  } else if (picture.bits == 8) {
    picture.colors = 256;
    picture.flags = T_FLAG_GRAY;
    color::fill_gray_ramp(picture.palette);
  }
  return picture;
}

// Field 7. Entry i belongs to index first + i. Kept: the entries alone are counted as the picture's
// colours, wherever they begin. Words are 5-5-5, the lowest bits blue; 15 bits are kept in two
// bytes.
Status read_map(ByteSource& bytes, const Header& header, process::SourcePicture& picture) {
  const size_t entry_bytes = map_entry_bytes(header);
  if (header.kind != Kind::kMapped) return bytes.skip(entry_bytes * header.map_entries);
  Buffer map;
  TRY(map.allocate(entry_bytes * header.map_entries));
  TRY(bytes.read(map.bytes()));
  const uint8_t* entry = map.data();
  for (uint32_t i = header.map_first; i < end_of_map(header); ++i, entry += entry_bytes) {
    if (entry_bytes == 1) {
      picture.palette[i] = color::gray_entry(*entry);
    } else if (entry_bytes == 2) {
      const uint32_t word = load_le16(entry);
      picture.palette[i] = {color::widen_5_bits(word), color::widen_5_bits(word >> 5),
                            color::widen_5_bits(word >> 10), 0};
    } else {
      picture.palette[i] = color::bgr_entry(entry);
    }
  }
  return kOk;
}

Status read_rows(ByteSource& bytes, const Header& header, RowDelivery& rows) {
  const size_t row_bytes = pixel_bytes(header) * header.width;
  // Field 8, whose data end before the developer and extension areas and the footer that files of
  // version 2.0 may have: nothing in those is for bitmaps.
  if (!header.is_run_length) {
    return formats::read_plain_rows(bytes, row_bytes, header.height, rows);
  }
  RunDecoder decoder(bytes, pixel_bytes(header));
  for (uint32_t y = 0; y < header.height; ++y) {
    const std::span<uint8_t> row = rows.next_row().first(row_bytes);
    size_t got = 0;
    const Status status = decoder.decode_row(row, got);
    std::ranges::fill(row.subspan(got), uint8_t{0});
    if (got != 0) TRY(rows.commit(1, got == row_bytes ? 1 : 0));  // of a cut row, what there is
    if (got < row_bytes) return rows.finish_early(status.ok() ? kReadError : status);
  }
  return rows.finish();
}

}  // namespace

Status parse_header(std::span<const uint8_t> bytes, uint64_t file_bytes, Header& header) {
  if (bytes.size() < kHeaderSize) return kReadError;
  const uint8_t map_type = bytes[kMapType];
  const uint8_t type = bytes[kImageType];
  const uint8_t descriptor = bytes[kDescriptor];
  header.id_bytes = bytes[kIdLength];
  header.map_first = load_le16(&bytes[kMapFirst]);
  header.map_entries = load_le16(&bytes[kMapLength]);
  header.map_entry_bits = bytes[kMapEntrySize];
  header.x_origin = load_le16(&bytes[kXOrigin]);
  header.y_origin = load_le16(&bytes[kYOrigin]);
  header.width = load_le16(&bytes[kWidth]);
  header.height = load_le16(&bytes[kHeight]);
  header.pixel_bits = bytes[kPixelDepth];
  const uint8_t corner = descriptor & kCornerBits;
  header.is_top_down = corner == kTopLeft;
  header.orientation = orientation_of(corner);
  header.has_alpha = (descriptor & kAttributeBits) != 0;
  header.is_run_length = (type & kRunLength) != 0;

  // Kept: 9 stands for 1. True-colour pictures may have a map (for displays), which is skipped.
  if (map_type != 0 && map_type != 1 && map_type != 9) return kBadData;
  if (map_type == 0 && header.map_entries != 0) return kBadData;  // field 4 must be 0 then
  const bool has_map = header.map_entries != 0;
  if (has_map && !is_map_entry_size(header.map_entry_bits)) return kBadData;
  if (header.width == 0 || header.height == 0) return kBadData;
  TRY(limits::check_picture(header.width, header.height));
  if ((descriptor & kInterleaving) != 0 || (descriptor & kAttributeBits) > 8) return kBadData;
  TRY(classify(type, header.pixel_bits, has_map, header.kind));
  return formats::check_plausible(
      header.is_run_length ? formats::Density::kRuns : formats::Density::kPlain,
      pixel_bytes(header) * header.width, header.height, file_bytes);
}

Status probe(const io::ProbeInput& input, FILEINFO& info) {
  Header header;
  const auto head = input.head.first(std::min(input.head.size(), kHeaderSize));
  TRY(parse_header(head, input.file_size, header));
  process::describe(describe(header), T_FORMAT_TGA, header.is_run_length ? "Run Length" : "None",
                    info);
  return kOk;
}

namespace {

uint32_t data_offset(const Header& header) {
  const size_t map = map_entry_bytes(header) * header.map_entries;
  return static_cast<uint32_t>(kHeaderSize + header.id_bytes + map);
}

// `asks_upright`: for the top row first, which plain rows can be read in.
Status read_rows_of(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
                    void* context, bool asks_upright) {
  io::InputFile file;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  ByteSource bytes(file);
  TRY(bytes.start());
  std::array<uint8_t, kHeaderSize> head;
  TRY(bytes.read(head));
  Header header;
  uint32_t file_bytes = 0;
  TRY(file.size(file_bytes));
  TRY(parse_header(head, file_bytes, header));
  TRY(bytes.skip(header.id_bytes));  // field 6: any text
  process::SourcePicture picture = describe(header);
  TRY(read_map(bytes, header, picture));
  const bool is_upright = asks_upright && picture.view_perspective >= 2 && !header.is_run_length;
  if (is_upright) picture.view_perspective = 0;

  RowDelivery rows(picture, *bitmap, sink, bits_per_pixel, context);
  TRY(rows.start());
  if (!is_upright) return read_rows(bytes, header, rows);
  return formats::read_plain_rows_upright(file, data_offset(header),
                                          pixel_bytes(header) * header.width, header.height, rows);
}

}  // namespace

Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  return read_rows_of(name, bitmap, sink, bits_per_pixel, context, false);
}

Status read_upright(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
                    void* context) {
  return read_rows_of(name, bitmap, sink, bits_per_pixel, context, true);
}

namespace {

Status write_headers(io::OutputFile& file, const BitmapHandle& bitmap, int32_t depth,
                     bool is_top_first) {
  std::array<uint8_t, kHeaderSize> head = {};
  if (depth == 8) {
    head[kMapType] = 1;
    store_le16(&head[kMapLength], 256);
    head[kMapEntrySize] = 24;
  }
  head[kImageType] = depth == 8 ? kMapped : kTrueColor;
  store_le16(&head[kWidth], static_cast<uint16_t>(bitmap.Width));
  store_le16(&head[kHeight], static_cast<uint16_t>(bitmap.Height));
  head[kPixelDepth] = static_cast<uint8_t>(depth);
  // Kept: no attribute bits, in 32 bits either.
  head[kDescriptor] = is_top_first ? kTopLeft : 0;
  TRY(file.write(head));
  if (depth != 8) return kOk;

  std::array<uint8_t, 3 * 256> map;
  for (size_t i = 0; i < 256; ++i) {
    const T_PaletteEntry& color = bitmap.Info.Palette[i];
    map[3 * i] = color.Blue;
    map[3 * i + 1] = color.Green;
    map[3 * i + 2] = color.Red;
  }
  return file.write(map);
}

// In stored order: the descriptor says which way up that is.
class Writer final : public io::RowWriter {
 public:
  Writer() : RowWriter(this, io::RowOrder::kAsStored) {}

  Status prepare(const io::SaveRequest& request, const BitmapHandle& picture,
                 io::RowLayout& layout) {
    const auto width = static_cast<uint64_t>(picture.Width);
    layout.row_bytes = static_cast<size_t>(core::packed_bytes(width, request.depth));
    is_top_first_ = layout.is_top_first;
    return io::has_16_bit_size(picture) ? kOk : kBadSize;
  }

  Status begin(const io::SaveRequest& request, const BitmapHandle& picture) {
    TRY(file_.create(request.name));
    return write_headers(file_, picture, request.depth, is_top_first_);
  }

  Status put(std::span<const uint8_t> rows) { return file_.write(rows); }
  Status finish() { return file_.finish(); }

 private:
  io::OutputFile file_;
  bool is_top_first_ = false;
};

}  // namespace

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

}  // namespace tavo::tga
