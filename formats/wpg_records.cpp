#include "formats/wpg_records.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "base/byte_source.h"
#include "base/endian.h"
#include "color/palettes.h"
#include "formats/drawn_page.h"
#include "formats/wpg_object.h"
#include "formats/wpg_walk.h"

namespace tavo::wpg {

namespace {

// Rotation word of bitmap type 2.
constexpr uint32_t kDegrees = 0x0FFF, kFlipped = 0x2000, kMirrored = 0x8000;

int64_t screen_pixels(int64_t units, int64_t units_per_inch) {
  return (units * kScreenDotsPerInch + units_per_inch / 2) / units_per_inch;
}

class Scanner {
 public:
  Scanner(Walk& walk, int32_t page, Contents& contents)
      : walk_(walk), page_(page), contents_(contents) {
    default_palette(palette_);
  }

  Status run(bool is_version2) {
    while (walk_.next(is_version2)) {
      // Files without an end record count as whole: only drawings need it (draw_records).
      const bool is_end = walk_.type() == (is_version2 ? kEnd2 : kEnd);
      if (is_end) break;
      is_version2 ? take_record2() : take_record1();
    }
    const bool is_empty = contents_.bitmap.width == 0 || contents_.bitmap.height == 0;
    return contents_.count != 0 && is_empty ? kBadData : kOk;
  }

 private:
  void take_record1() {
    switch (walk_.type()) {
      case kStart: {
        std::array<uint8_t, 6> start;  // version, flags, width, height
        if (has_page() || !walk_.take(start)) return;
        contents_.frame.width = load_le16(&start[2]);
        contents_.frame.height = load_le16(&start[4]);
        return set_screen(kUnitsPerInch, kUnitsPerInch);
      }
      case kColorMap:
        return take_color_map(3);
      case kBitmap1:
        return take_bitmap1(0);
      case kBitmap2: {
        // Where on the page it lies does not matter: the bitmap alone is delivered.
        std::array<uint8_t, 10> place;  // rotation, corners
        if (walk_.take(place)) take_bitmap1(load_le16(place.data()));
        return;
      }
      case kLine:
      case kPolyline:
      case kRectangle:
      case kPolygon:
      case kEllipse:
      case kText:
      case kCurve:
        // Without a start record in front there is no page for it.
        contents_.has_drawing = has_page();
        return;
      default:
        return;
    }
  }

  void take_bitmap1(uint32_t rotation) {
    std::array<uint8_t, 10> head;  // width, height, bits, resolutions
    if (!walk_.take(head)) return;
    const uint32_t bits = load_le16(&head[4]);
    StoredBitmap bitmap;
    bitmap.width = load_le16(&head[0]);
    bitmap.height = load_le16(&head[2]);
    // Of another depth the bitmap is known and counted, and cannot be read.
    bitmap.bits = bits == 1 || bits == 2 || bits == 4 || bits == 8 ? bits : 0;
    bitmap.x_resolution = load_le16(&head[6]);
    bitmap.y_resolution = load_le16(&head[8]);
    bitmap.is_mirrored = (rotation & kMirrored) != 0;
    bitmap.is_flipped = (rotation & kFlipped) != 0;
    const auto degrees = static_cast<int32_t>(rotation & kDegrees);
    // Kept: bitmaps at another angle stay as they are stored; the page that they lie on is not
    // drawn.
    if (degrees % 90 == 0) bitmap.degrees = degrees % 360;
    add(bitmap);
  }

  void take_record2() {
    switch (walk_.type()) {
      case kStart2:
        return take_start2();
      case kColorMap2:
        return take_color_map(4);
      case kBitmapPlace:
        return take_place();
      case kBitmapData:
        return take_bitmap2();
      case kPolyline2:
      case kSpline2:
      case kCurve2:
      case kRectangle2:
      case kArc2:
      case kTextLine:
        contents_.has_drawing = has_page();
        return;
      default:
        return;
    }
  }

  // Units per inch, precision, two boxes, the second of which is the page. What has none there gets
  // the first one.
  void take_start2() {
    std::array<uint8_t, 5> head;
    // Precision: 0 positions of 16 bits, 1 of 32. By others nothing behind could be read.
    if (has_page() || !walk_.take(head) || head[4] > 1) return;
    contents_.is_long = head[4] != 0;
    const auto units = [](const uint8_t* bytes) {
      const uint32_t count = load_le16(bytes);
      // So that nothing is divided by 0; strictly such a file would have no size.
      return count == 0 ? kUnitsPerInch : count;
    };
    contents_.units_per_inch = units(&head[0]);
    for (int i = 0; i < 2; ++i) {
      Position from, to;
      if (!take_box(from, to)) break;
      if (from.x == to.x || from.y == to.y) continue;
      contents_.frame = {std::min(from.x, to.x), std::min(from.y, to.y), std::abs(to.x - from.x),
                         std::abs(to.y - from.y)};
    }
    y_units_per_inch_ = units(&head[2]);
    set_screen(kOne * contents_.units_per_inch, kOne * y_units_per_inch_);
  }

  // Flags, corners; with some flags a transformation between.
  void take_place() {
    // The flags without fields behind them (wpg_object.cpp). With others the resolution stays
    // unknown.
    constexpr uint32_t kPlain = 0xFF00;
    place_width_ = place_height_ = 0;
    std::array<uint8_t, 2> flags;
    Position from, to;
    if (!walk_.take(flags) || (load_le16(flags.data()) & ~kPlain) != 0) return;
    if (!take_box(from, to)) return;
    // The resolution behind the corners is not looked at: what counts is how large the bitmap is
    // shown.
    place_width_ = std::abs(to.x - from.x);
    place_height_ = std::abs(to.y - from.y);
  }

  bool take_box(Position& from, Position& to) {
    const bool is_long = contents_.is_long;
    return walk_.take_position(is_long, from.x) && walk_.take_position(is_long, from.y) &&
           walk_.take_position(is_long, to.x) && walk_.take_position(is_long, to.y);
  }

  // The first page is the only one.
  bool has_page() const { return contents_.frame.width != 0 && contents_.frame.height != 0; }

  void set_screen(int64_t x_units_per_inch, int64_t y_units_per_inch) {
    const auto size = formats::page_size(screen_pixels(contents_.frame.width, x_units_per_inch),
                                         screen_pixels(contents_.frame.height, y_units_per_inch));
    contents_.width = size.width;
    contents_.height = size.height;
  }

  void take_bitmap2() {
    std::array<uint8_t, 6> head;  // width, height, depth code, coding
    if (!walk_.take(head)) return;
    // Depth codes 1 to 4, and 8 for 24 bits; coding 0 plain rows, 1 runs.
    constexpr uint8_t kBitsOfCode[] = {0, 1, 2, 4, 8, 0, 0, 0, 24};
    StoredBitmap bitmap;
    bitmap.width = load_le16(&head[0]);
    bitmap.height = load_le16(&head[2]);
    const bool is_known = head[4] < std::size(kBitsOfCode) && head[5] <= 1;
    bitmap.bits = is_known ? kBitsOfCode[head[4]] : 0;
    bitmap.coding = head[5] == 0 ? Coding::kNone : Coding::kRuns2;
    // Factors of 16 bits each: products fit, quotients not always.
    const auto dots = [](int64_t pixels, int64_t units_per_inch, int64_t length) {
      if (length == 0) return 0;
      const int64_t exact = (pixels * units_per_inch * kOne + length / 2) / length;
      return static_cast<int32_t>(std::min<int64_t>(exact, INT32_MAX));
    };
    bitmap.x_resolution = dots(bitmap.width, contents_.units_per_inch, place_width_);
    bitmap.y_resolution = dots(bitmap.height, y_units_per_inch_, place_height_);
    if (bitmap.coding == Coding::kNone) skip_unit_size(bitmap);
    add(bitmap);
  }

  // WordPerfect puts a code of the run-length coding, 7D 01, in front of plain rows, too.
  void skip_unit_size(const StoredBitmap& bitmap) {
    const uint64_t row_bytes = (uint64_t{bitmap.width} * bitmap.bits + 7) / 8;
    std::array<uint8_t, 2> code;
    if (walk_.left() == row_bytes * bitmap.height + code.size()) walk_.take(code);
  }

  void take_color_map(size_t entry_bytes) {
    std::array<uint8_t, 4> head;  // first entry, count
    if (!walk_.take(head)) return;
    const uint32_t first = load_le16(&head[0]);
    const uint32_t end = std::min(first + load_le16(&head[2]), 256u);
    for (uint32_t i = first; i < end; ++i) {
      // Of four bytes the last is transparency, which bitmaps do not have here.
      std::array<uint8_t, 4> entry;
      if (!walk_.take(std::span(entry).first(entry_bytes))) return;
      palette_[i] = color::rgb_entry(entry.data());
      has_palette_ = true;
    }
  }

  void add(StoredBitmap bitmap) {
    ++contents_.count;
    // Each up to the one asked for takes the place of the one before it: behind the last, that
    // stays.
    if (contents_.count > page_) return;
    bitmap.data = walk_.position();
    bitmap.data_bytes = walk_.left_in_file();
    contents_.page = contents_.count;
    contents_.bitmap = bitmap;
    contents_.has_palette = has_palette_;
    std::ranges::copy(palette_, contents_.palette);
  }

  Walk& walk_;
  int32_t page_;
  Contents& contents_;
  T_PaletteEntry palette_[256];
  bool has_palette_ = false;
  int64_t y_units_per_inch_ = kUnitsPerInch;
  int64_t place_width_ = 0;  // of the next bitmap, in 65536ths of a unit
  int64_t place_height_ = 0;
};

}  // namespace

Status scan(io::InputFile& file, uint32_t file_bytes, int32_t page, Contents& contents) {
  // The prefix of all WordPerfect files: offset of the data (4 bytes), product, type, major and
  // minor version, key, 2 reserved bytes.
  constexpr size_t kFirstRecordAt = 4, kProductAt = 8, kTypeAt = 9, kVersionAt = 10, kKeyAt = 12;
  std::array<uint8_t, kHeaderBytes> head;
  size_t got = 0;
  TRY(file.read_up_to(head, got));
  if (got < sizeof(kMagic) || std::memcmp(head.data(), kMagic, sizeof(kMagic)) != 0)
    return kBadData;
  if (got < head.size()) return kReadError;
  // WordPerfect 5 writes version 1, WordPerfect 6 version 2.
  const uint8_t version = head[kVersionAt];
  if (head[kProductAt] != kProduct || head[kTypeAt] != kFileType) return kBadData;
  if (version != 1 && version != 2) return kBadData;
  contents.is_encrypted = load_le16(&head[kKeyAt]) != 0;
  const uint32_t first = load_le32(&head[kFirstRecordAt]);
  if (first < kHeaderBytes) return kBadData;
  // Known as this format, with nothing in it that can be read.
  if (contents.is_encrypted || first >= file_bytes) return kOk;

  contents.first_record = first;
  contents.is_version2 = version == 2;
  TRY(file.seek(first));
  ByteSource bytes(file);
  TRY(bytes.start());
  Walk walk(bytes, first, file_bytes);
  const Status status = Scanner(walk, page, contents).run(version == 2);
  TRY(bytes.failure());
  return status;
}

// Sixteen colours of the EGA, sixteen greys, and nine circles of 24 hues, of three intensities in
// three saturations, all in steps of 63rds.
void default_palette(std::span<T_PaletteEntry, 256> palette) {
  constexpr uint8_t kGrays[] = {0, 5, 8, 11, 14, 17, 20, 24, 28, 32, 36, 40, 45, 50, 56, 63};
  constexpr uint8_t kLevels[9][5] = {
      {0, 16, 31, 47, 63}, {31, 39, 47, 55, 63}, {45, 49, 54, 58, 63},
      {0, 7, 14, 21, 28},  {14, 17, 21, 24, 28}, {20, 22, 24, 26, 28},
      {0, 4, 8, 12, 16},   {8, 10, 12, 14, 16},  {11, 12, 13, 15, 16}};
  const auto level = [](uint32_t part) { return static_cast<uint8_t>(part * 255 / 63); };
  std::ranges::fill(palette, T_PaletteEntry{});
  // Kept: as the VGA has it; libwpg has the colours of Windows in the first sixteen.
  for (uint32_t i = 0; i < 16; ++i) {
    const auto channel = [i](uint32_t bit) {
      return static_cast<uint8_t>((i & bit ? 0xAA : 0) + (i & 8 ? 0x55 : 0));
    };
    palette[i] = {channel(1), channel(2), channel(4), 0};
    palette[16 + i] = color::gray_entry(level(kGrays[i]));
  }
  palette[6].Green = 0x55;  // brown, not a dark yellow
  uint32_t next = 32;
  for (const auto& levels : kLevels) {
    // From blue round to blue: one channel after the other rises or falls by four steps.
    uint32_t rgb[] = {0, 0, 4};
    for (uint32_t step = 0; step < 24; ++step) {
      palette[next++] = {level(levels[rgb[2]]), level(levels[rgb[1]]), level(levels[rgb[0]]), 0};
      constexpr uint32_t kMoving[] = {0, 2, 1, 0, 2, 1};
      const uint32_t phase = step / 4;
      rgb[kMoving[phase]] += phase % 2 == 0 ? 1 : UINT32_MAX;
    }
  }
}

}  // namespace tavo::wpg
