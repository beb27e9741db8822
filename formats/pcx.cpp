#include "formats/pcx.h"

#include <algorithm>
#include <cstring>

#include "base/byte_source.h"
#include "base/endian.h"
#include "base/limits.h"
#include "base/settings.h"
#include "color/palettes.h"
#include "core/bitmap.h"
#include "formats/bit_planes.h"
#include "formats/byte_planes.h"
#include "formats/dcx.h"
#include "formats/pcx_runs.h"
#include "formats/plausible.h"
#include "process/row_delivery.h"

namespace tavo::pcx {

namespace {

using process::RowDelivery;

// Offsets in the header, by the names of the manual; words have the low byte first. Encoding (2)
// and PaletteInfo are not looked at: kept, all files count as run-length coded, those that say 0,
// too, whose lines other programs take as they are (the manual knows 1 alone), and whether they are
// grey shows in the palette. Byte 64, reserved, and those from 70 on, the size of the screen and a
// filler, are written as 0.
constexpr size_t kManufacturerAt = 0, kVersionAt = 1, kBitsPerPixel = 3;
constexpr size_t kXMin = 4, kYMin = 6, kXMax = 8, kYMax = 10;
constexpr size_t kHDpi = 12, kVDpi = 14, kColormap = 16, kPlanes = 65, kBytesPerLine = 66;
constexpr size_t kPaletteInfo = 68;

constexpr uint8_t kManufacturer = 10;
constexpr uint8_t kVersion = 5;  // what can have a palette of 256 colours
constexpr uint8_t kRunLength = 1;

// "256 color palette": behind the pixels, a mark and 256 triples.
constexpr uint32_t kTrailerSize = 1 + 3 * 256;
constexpr uint8_t kTrailerMark = 12;

// Planes of one bit are those of an EGA: blue, green, red, intensity. Kept: four are combined
// whatever the header says; those that a file does not have are zero.
constexpr uint32_t kCombinedPlanes = 4;

// Packed pixels, of 2 bits for CGA boards; planes of one bit, for EGA; planes of 8 bits for red,
// green, blue, and a fourth, which is ignored.
bool is_layout(uint8_t plane_bits, uint8_t planes) {
  if (planes == 1) return plane_bits == 1 || plane_bits == 2 || plane_bits == 4 || plane_bits == 8;
  if (plane_bits == 1) return planes >= 2 && planes <= kCombinedPlanes;
  return plane_bits == 8 && (planes == 3 || planes == 4);
}

// Kept: two colours that are equal, as where a program left the palette 0, are black and white.
void set_header_palette(const Header& header, process::SourcePicture& picture) {
  const uint8_t* const palette = header.palette.data();
  if (picture.colors == 2 && std::memcmp(palette, palette + 3, 3) == 0) {
    picture.palette[1] = {255, 255, 255, 0};
    return;
  }
  for (uint32_t i = 0; i < picture.colors; ++i) {
    picture.palette[i] = color::rgb_entry(palette + 3 * i);
  }
}

// What the reader delivers; the palette of 256 colours is read later. Two and three planes of one
// bit count their 4 and 8 colours, and are delivered with 4 bits.
process::SourcePicture describe(const Header& header) {
  process::SourcePicture picture;
  picture.width = header.width;
  picture.height = header.height;
  picture.bits = header.is_true_color() ? 24 : header.planes > 1 ? 4 : header.plane_bits;
  picture.order = T_ORDER_RGB;
  picture.view_perspective = 0;
  picture.storage_kind = T_FORMAT_PCX;
  picture.has_resolution = true;
  picture.x_resolution = header.x_resolution;
  picture.y_resolution = header.y_resolution;
  picture.colors = header.colors();
  if (picture.bits <= 4) set_header_palette(header, picture);
  return picture;
}

Status read_header(io::InputFile& file, const dcx::Page& page, Header& header) {
  std::array<uint8_t, kHeaderSize> bytes;
  TRY(file.seek(page.start));
  size_t got = 0;
  TRY(file.read_up_to(bytes, got));
  // Too short for a header: another format, not a file that was cut.
  if (got < bytes.size()) return kBadData;
  return parse_header(bytes, page.end - page.start, header);
}

// The palette that ends the page; `data_end` gets where the pixels end at the latest. Kept: a
// picture of 8 bits without it is damaged.
Status read_trailer(io::InputFile& file, const dcx::Page& page, uint32_t& data_end,
                    process::SourcePicture& picture) {
  // Kept: in front of the file the seek fails, within the header the read.
  if (page.end < kTrailerSize) return kSeekError;
  data_end = page.end - kTrailerSize;
  if (data_end < page.start + uint64_t{kHeaderSize}) return kReadError;
  std::array<uint8_t, kTrailerSize> trailer;
  TRY(file.seek(data_end));
  TRY(file.read(trailer));
  if (trailer[0] != kTrailerMark) return kReadError;
  for (uint32_t i = 0; i < 256; ++i) picture.palette[i] = color::rgb_entry(&trailer[1 + 3 * i]);
  return kOk;
}

// Files of a few bytes may claim many rows: what is not there takes no decoding.
Status deliver_zeros(uint32_t left, RowDelivery& rows) {
  while (left > 0) {
    uint32_t count = 0;
    const std::span<uint8_t> zeros = rows.next_rows(left, count);
    std::memset(zeros.data(), 0, zeros.size());
    TRY(rows.commit(count, 0));
    left -= count;
  }
  return rows.finish();
}

// Lines that bitmaps hold as files do: decoded where they are delivered.
Status read_plain_lines(RunDecoder& decoder, const Header& header, RowDelivery& rows) {
  auto left = static_cast<uint32_t>(header.height);
  while (left > 0) {
    uint32_t count = 0;
    const std::span<uint8_t> lines = rows.next_rows(left, count);
    TRY(decoder.decode_line(lines));
    const size_t whole = (lines.size() - decoder.missing()) / header.line_bytes;
    TRY(rows.commit(count, static_cast<uint32_t>(whole)));
    left -= count;
  }
  return rows.finish();
}

// The planes of a line follow one another. Runs may go from one plane to the next and, though the
// manual wants a break at the end of each line, to the next line: kept. Lines are as long as the
// header says, which may be more than the picture's width takes.
Status read_rows(ByteSource& bytes, const Header& header, RowDelivery& rows) {
  RunDecoder decoder(bytes);
  const uint32_t line_bytes = header.line_bytes;
  if (header.planes == 1 && line_bytes == rows.source_line()) {
    return read_plain_lines(decoder, header, rows);
  }
  const uint32_t planes =
      std::max(uint32_t{header.planes}, header.planes == 1 ? 1 : kCombinedPlanes);
  Buffer line;
  TRY(line.allocate(uint64_t{planes} * line_bytes + kLineSlack));
  const std::span<uint8_t> coded = line.bytes().first(size_t{header.planes} * line_bytes);
  const std::span<uint8_t> spare = line.bytes().subspan(coded.size());
  const auto width = static_cast<uint32_t>(header.width);
  for (int32_t y = 0; y < header.height; ++y) {
    if (decoder.is_at_end()) return deliver_zeros(static_cast<uint32_t>(header.height - y), rows);
    TRY(decoder.decode_line(coded));
    const std::span<uint8_t> row = rows.next_row();
    if (header.planes == 1) {
      std::ranges::copy(coded.first(std::min(coded.size(), row.size())), row.begin());
    } else if (header.is_true_color()) {
      formats::interleave_bytes(coded.data(), line_bytes, width, row.data());
    } else {
      // The decoder may have left something where the missing planes are.
      std::ranges::fill(spare.first(std::min(spare.size(), kLineSlack)), uint8_t{0});
      formats::combine_4_planes(coded.data(), line_bytes, width, row.data());
    }
    TRY(rows.commit(1, decoder.missing() == 0 ? 1 : 0));
  }
  return rows.finish();
}

}  // namespace

Status parse_header(std::span<const uint8_t, kHeaderSize> bytes, uint32_t page_bytes,
                    Header& header) {
  if (bytes[kManufacturerAt] != kManufacturer) return kBadData;
  header.version = bytes[kVersionAt];
  header.plane_bits = bytes[kBitsPerPixel];
  header.planes = bytes[kPlanes];
  // The window's corners, both of them inside.
  header.width = load_le16(&bytes[kXMax]) - load_le16(&bytes[kXMin]) + 1;
  header.height = load_le16(&bytes[kYMax]) - load_le16(&bytes[kYMin]) + 1;
  header.x_resolution = load_le16(&bytes[kHDpi]);
  header.y_resolution = load_le16(&bytes[kVDpi]);
  header.line_bytes = load_le16(&bytes[kBytesPerLine]);
  std::ranges::copy(bytes.subspan<kColormap, 48>(), header.palette.begin());
  if (header.width < 1 || header.height < 1) return kBadData;
  TRY(limits::check_picture(header.width, header.height));
  if (!is_layout(header.plane_bits, header.planes)) return kBadData;
  // The manual wants lines of an even length. ImageMagick writes odd ones: they load as they are.
  const int32_t needed = (header.width * header.plane_bits + 7) / 8;
  if (needed > header.line_bytes) return kBadData;
  return formats::check_plausible(formats::Density::kRuns,
                                  uint64_t{header.planes} * header.line_bytes,
                                  static_cast<uint32_t>(header.height), page_bytes);
}

// Versions: 0 is PC Paintbrush 2.5; 2 is 2.8 with palette; 3 is 2.8 without, whose palette is read
// all the same: kept; 4, PC Paintbrush for Windows, is not identified; 5 is 3.0. A direct load
// takes any.
Status probe(const io::ProbeInput& input, FILEINFO& info) {
  dcx::Page page;
  TRY(dcx::locate(input.file, settings.page_number, page));
  Header header;
  TRY(read_header(input.file, page, header));
  if (header.version != 5 && header.version != 3 && header.version != 2 && header.version != 0) {
    return kBadData;
  }
  process::describe(describe(header), T_FORMAT_PCX, "Run Length", info);
  info.Page = page.number;
  info.PageCount = page.count;
  return kOk;
}

Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  io::InputFile file;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  dcx::Page page;
  TRY(dcx::locate(file, settings.page_number, page));
  Header header;
  TRY(read_header(file, page, header));
  process::SourcePicture picture = describe(header);
  uint32_t data_end = page.end;
  if (picture.bits == 8) TRY(read_trailer(file, page, data_end, picture));

  RowDelivery rows(picture, *bitmap, sink, bits_per_pixel, context);
  TRY(rows.start());
  const uint32_t data_start = page.start + static_cast<uint32_t>(kHeaderSize);
  TRY(file.seek(data_start));
  io::InputPart data(file, std::max(data_end, data_start) - data_start);
  ByteSource bytes(data);
  TRY(bytes.start());
  return read_rows(bytes, header, rows);
}

namespace {

using Palette = T_PaletteEntry[256];

// The colours of the file, and those that rows of other colours are brought to. Kept: 4 bits of a
// picture of 8 are grey levels. A bitmap of fewer bits has no more colours than its own: what its
// record holds behind them is nobody's.
void choose_palette(const BitmapHandle& bitmap, int32_t depth, Palette& palette) {
  if (depth == 4 && bitmap.BitsPerPixel == 8) {
    color::fill_gray_ramp(std::span(palette).first(16));
    return;
  }
  const int32_t bits = std::min({depth, bitmap.BitsPerPixel, 8});
  std::copy_n(bitmap.Info.Palette, 1u << bits, palette);
}

// A resolution that the field of 16 bits cannot hold is unknown.
void put_resolution(uint8_t* file, int32_t resolution) {
  const bool fits = resolution >= 0 && resolution <= UINT16_MAX;
  store_le16(file, static_cast<uint16_t>(fits ? resolution : 0));
}

Status write_header(io::OutputFile& file, const BitmapHandle& bitmap, int32_t depth,
                    uint32_t line_bytes, const Palette& palette) {
  std::array<uint8_t, kHeaderSize> head = {kManufacturer, kVersion, kRunLength};
  head[kBitsPerPixel] = static_cast<uint8_t>(std::min(depth, 8));
  // The window begins at 0, 0.
  store_le16(&head[kXMax], static_cast<uint16_t>(bitmap.Width - 1));
  store_le16(&head[kYMax], static_cast<uint16_t>(bitmap.Height - 1));
  put_resolution(&head[kHDpi], bitmap.XResolution);
  put_resolution(&head[kVDpi], bitmap.YResolution);
  // Kept: more colours than 16 leave the header's palette 0, except that pictures of 1 bit give it
  // their two whatever the depth is.
  const uint32_t listed = depth == 4 ? 16 : depth == 1 || bitmap.BitsPerPixel == 1 ? 2 : 0;
  for (uint32_t i = 0; i < listed; ++i) color::put_rgb(palette[i], &head[kColormap + 3 * i]);
  head[kPlanes] = depth == 24 ? 3 : 1;
  store_le16(&head[kBytesPerLine], static_cast<uint16_t>(line_bytes));
  store_le16(&head[kPaletteInfo], 1);  // colour or black and white; 2 would be grey
  return file.write(head);
}

Status write_trailer(io::OutputFile& file, const Palette& palette) {
  std::array<uint8_t, kTrailerSize> trailer = {kTrailerMark};
  for (uint32_t i = 0; i < 256; ++i) color::put_rgb(palette[i], &trailer[1 + 3 * i]);
  return file.write(trailer);
}

class Writer final : public io::RowWriter {
 public:
  Writer() : RowWriter(this) {}

  Status prepare(const io::SaveRequest& request, const BitmapHandle& picture,
                 io::RowLayout& layout) {
    const int32_t depth = request.depth;
    width_ = static_cast<uint32_t>(picture.Width);
    const uint64_t plane_bytes = core::packed_bytes(width_, std::min(depth, 8));
    const uint64_t line_bytes = (plane_bytes + 1) / 2 * 2;  // the manual wants it even
    // The window has 16 bits and its last pixel inside; BytesPerLine has 16 bits, too.
    constexpr int32_t kMaxSize = UINT16_MAX + 1;
    if (picture.Width > kMaxSize || picture.Height > kMaxSize || line_bytes > UINT16_MAX) {
      return kBadSize;
    }
    line_bytes_ = static_cast<uint32_t>(line_bytes);
    stride_ = line_bytes_ + static_cast<uint32_t>(kLineSlack);
    planes_ = depth == 24 ? 3 : 1;
    choose_palette(picture, depth, palette_);
    layout.order = T_ORDER_RGB;
    layout.palette = palette_;
    TRY(lines_.allocate(uint64_t{planes_} * stride_));
    return coded_.allocate(encoded_limit(line_bytes));
  }

  Status begin(const io::SaveRequest& request, const BitmapHandle& picture) {
    has_trailer_ = request.depth == 8;
    TRY(file_.open(request.name, request.target));
    if (request.target == io::Target::kExtend) {
      TRY(dcx::begin_page(file_));
    } else if (request.format == T_FORMAT_DCX) {
      TRY(dcx::begin_file(file_));
    }
    return write_header(file_, picture, request.depth, line_bytes_, palette_);
  }

  // Rows of fewer than 24 bits are lines as they are: their padding is zero and reaches further.
  Status put_row(std::span<const uint8_t> row) {
    if (planes_ == 1) {
      std::memcpy(lines_.data(), row.data(), line_bytes_);
      return write_line(0);
    }
    split_row(row.data());
    for (uint32_t i = 0; i < planes_; ++i) TRY(write_line(i));
    return kOk;
  }

  Status finish() {
    if (has_trailer_) TRY(write_trailer(file_, palette_));
    return file_.finish();
  }

 private:
  // The loop reads whole groups of pixels: those at the end are brought to where they may be read.
  void split_row(const uint8_t* row) {
    const uint32_t whole = width_ / formats::kSplitPixels * formats::kSplitPixels;
    formats::split_bytes(row, whole, lines_.data(), stride_);
    std::array<uint8_t, size_t{3} * formats::kSplitPixels> last;
    std::copy_n(row + size_t{3} * whole, 3 * (width_ - whole), last.begin());
    formats::split_bytes(last.data(), width_ - whole, lines_.data() + whole, stride_);
  }

  Status write_line(uint32_t plane) {
    const std::span<uint8_t> line = lines_.bytes().subspan(size_t{plane} * stride_, line_bytes_);
    // The byte that makes an odd line even: split_row writes whole groups beyond the width.
    if (planes_ > 1 && line_bytes_ > width_) line.back() = 0;
    return file_.write(coded_.bytes().first(encode_line(line, coded_.data())));
  }

  io::OutputFile file_;
  Palette palette_ = {};
  uint32_t width_ = 0;
  uint32_t planes_ = 1;
  uint32_t line_bytes_ = 0;  // of each plane
  uint32_t stride_ = 0;
  bool has_trailer_ = false;
  Buffer lines_;  // of one row, a plane each
  Buffer coded_;
};

}  // namespace

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

}  // namespace tavo::pcx
