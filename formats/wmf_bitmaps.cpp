#include "formats/wmf_bitmaps.h"

#include <algorithm>
#include <array>

#include "base/endian.h"
#include "color/palettes.h"
#include "core/bitmap.h"
#include "formats/plausible.h"
#include "formats/two_levels.h"
#include "tavo45.h"

namespace tavo::wmf {

namespace {

// Where the parameters of a record are, in words; [MS-WMF] 2.3.1. Places that a record does not
// have are those of others that mean the same.
// BITBLT, DIBBITBLT and SETDIBTODEV do not scale, and so name one size for source and target.
struct Layout {
  uint16_t function;
  uint8_t words;
  int8_t operation;  // of two words; -1: it copies
  int8_t usage;      // -1: a colour table
  uint8_t source_x, source_y, source_width, source_height;
  uint8_t x, y, width, height;
  bool is_dib;
  bool is_from_below;
};

constexpr Layout kLayouts[] = {
    {kBitBlt, 8, 0, -1, 3, 2, 5, 4, 7, 6, 5, 4, false, false},         // 2.3.1.1
    {kDibBitBlt, 8, 0, -1, 3, 2, 5, 4, 7, 6, 5, 4, true, false},       // 2.3.1.2
    {kStretchBlt, 10, 0, -1, 5, 4, 3, 2, 9, 8, 7, 6, false, false},    // 2.3.1.5
    {kDibStretchBlt, 10, 0, -1, 5, 4, 3, 2, 9, 8, 7, 6, true, false},  // 2.3.1.3
    {kSetDibToDev, 9, -1, 0, 4, 3, 6, 5, 8, 7, 6, 5, true, true},      // 2.3.1.4
    {kStretchDib, 11, 0, 2, 6, 5, 4, 3, 10, 9, 8, 7, true, true},      // 2.3.1.6
};

const Layout* layout_of(uint16_t function) {
  const auto* const layout = std::ranges::find(kLayouts, function, &Layout::function);
  return layout == std::end(kLayouts) ? nullptr : layout;
}

// Bitmap16 ([MS-WMF] 2.2.2.1): type, width, height, bytes of a row, planes, bits; words, the last
// two bytes. Its rows come top first.
constexpr size_t kOldHeaderBytes = 10;

Status parse_old_header(std::span<const uint8_t> bytes, dib::Header& header) {
  if (bytes.size() < kOldHeaderBytes) return kReadError;
  header.width = load_le16(&bytes[2]);
  header.height = load_le16(&bytes[4]);
  header.line_bytes = load_le16(&bytes[6]);
  header.bits = 1;
  header.is_top_down = true;
  header.table_offset = kOldHeaderBytes;
  if (bytes[8] != 1 || bytes[9] != 1) return kSubtype;  // colours of a device that nobody knows
  // WidthBytes is even in [MS-WMF]; any that has room for the pixels is believed.
  const auto needed = static_cast<uint32_t>((header.width + 7) / 8);
  return header.width == 0 || header.height == 0 || header.line_bytes < needed ? kBadData : kOk;
}

// Whether the file can have the picture: of plain rows most must be there.
Status check_size(const dib::Header& header, uint64_t bytes) {
  const auto height = static_cast<uint32_t>(header.height);
  // For either kind the file is too short, not wrong: kReadError.
  if (header.coding != dib::Coding::kNone) {
    const Status status =
        formats::check_plausible(formats::Density::kRuns, header.line_bytes, height, bytes);
    return status.ok() ? kOk : kReadError;
  }
  // Strictly, cut files would lose the rows that they have: of more than 64 KiB a sixteenth will
  // do.
  constexpr uint64_t kSmall = 1 << 16, kMostMissing = 16;
  const uint64_t size = uint64_t{header.line_bytes} * height;
  return size <= kSmall + kMostMissing * bytes ? kOk : kReadError;
}

// The rows that are there become the bitmap. Runs are never cut into bands, as GDI has it.
Status take_band(const BitmapForm& form, Bitmap& bitmap) {
  dib::Header& header = bitmap.header;
  if (header.coding != dib::Coding::kNone) return kOk;
  bitmap.first_row = form.first_row;
  header.height = std::min(form.rows, header.height - form.first_row);
  return header.height > 0 ? kOk : kBadData;
}

// What stands between header and pixels: as many entries as the header says, also where no pixel
// can need them. More than 256 are no number of entries.
size_t table_bytes(const dib::Header& header, ColorUsage usage) {
  const bool is_said = header.colors_used > 0 && header.colors_used <= 256;
  const size_t entries = is_said ? header.colors_used : header.table_entries;
  if (usage == ColorUsage::kColors) return entries * header.entry_bytes;
  return usage == ColorUsage::kWords ? 2 * entries : 0;
}

}  // namespace

ColorUsage color_usage(int16_t word) {
  const bool is_one = word >= 0 && word <= static_cast<int16_t>(ColorUsage::kPixels);
  return is_one ? static_cast<ColorUsage>(word) : ColorUsage::kColors;
}

bool is_bitmap_function(uint16_t function) { return layout_of(function) != nullptr; }

bool take_call(Records& records, BitmapCall& call) {
  const Layout& layout = *layout_of(records.function());
  std::array<int16_t, 16> words;
  // Without a bitmap the record is as long as its number of parameters says, with a word unused
  // ([MS-WMF] 2.3.1.2).
  const uint64_t parameters = records.function() >> 8;
  call.has_bitmap = layout.usage >= 0 || records.size() != 2 * parameters;
  std::array<int16_t, 4> head;
  const size_t unused_at = layout.words - size_t{4};
  if (call.has_bitmap) {
    if (!records.take(std::span(words).first(layout.words))) return false;
  } else {
    if (!records.take(std::span(words).first(unused_at))) return false;
    if (!records.take(std::span(head).first(1))) return false;
    if (!records.take(std::span(words).subspan(unused_at, 4))) return false;
  }
  call.operation =
      layout.operation < 0 ? draw::kCopySource : draw::RasterOp(static_cast<uint8_t>(words[1]));
  call.form.is_dib = layout.is_dib;
  if (layout.usage >= 0) call.form.usage = color_usage(words[static_cast<size_t>(layout.usage)]);
  if (records.function() == kSetDibToDev) {
    call.form.rows = static_cast<uint16_t>(words[1]);
    call.form.first_row = static_cast<uint16_t>(words[2]);
  }
  call.is_from_below = layout.is_from_below;
  call.source_x = words[layout.source_x];
  call.source_y = words[layout.source_y];
  call.source_width = words[layout.source_width];
  call.source_height = words[layout.source_height];
  call.x = words[layout.x];
  call.y = words[layout.y];
  call.width = words[layout.width];
  call.height = words[layout.height];
  return true;
}

process::SourcePicture Bitmap::describe() const {
  process::SourcePicture picture = dib::describe(header);
  picture.storage_kind = T_FORMAT_WMF;
  picture.view_perspective = 0;
  picture.order = T_ORDER_BGR;
  // GDI's calls know neither alpha nor profiles, whatever the bitmap's header has.
  picture.extras = 0;
  std::ranges::copy(palette, picture.palette);
  if (picture.colors == 0) return picture;
  const auto colors = std::span(picture.palette).first(picture.colors);
  if (color::is_gray_ramp(colors)) picture.flags |= T_FLAG_GRAY;
  return picture;
}

Status take_bitmap(ByteSource& source, uint64_t bytes, const BitmapForm& form, Bitmap& bitmap) {
  dib::Header& header = bitmap.header;
  TRY(source.look_ahead(dib::kLargestHeader));
  if (!form.is_dib) {
    TRY(parse_old_header(source.window(), header));
    std::copy_n(formats::two_levels(formats::ZeroIs::kBlack), 2, bitmap.palette);
  } else {
    TRY(dib::parse_header(source.window(), header));
    TRY(take_band(form, bitmap));
  }
  TRY(check_size(header, bytes));
  const size_t size = table_bytes(header, form.usage);
  TRY(source.look_ahead(header.table_offset + size));
  if (source.window().size() < header.table_offset + size) return source.shortage();
  source.consume(header.table_offset);
  // Palettes are not kept; kept: greys in the order of the pixels' values stand for one.
  if (form.usage == ColorUsage::kColors) {
    dib::read_table(header, source.window().data(), bitmap.palette);
  } else if (header.table_entries != 0) {
    color::fill_gray_ramp(std::span(bitmap.palette).first(size_t{1} << header.bits));
  }
  source.consume(size);
  return kOk;
}

Status source_box(const BitmapCall& call, const Bitmap& bitmap, draw::Box& box) {
  const auto ordered = [](int32_t from, int32_t length, int32_t& first, int32_t& end) {
    first = std::min(from, from + length);
    end = std::max(from, from + length);
  };
  ordered(call.source_x, call.source_width, box.left, box.right);
  ordered(call.source_y - bitmap.first_row, call.source_height, box.top, box.bottom);
  if (call.is_from_below) {
    const int32_t top = bitmap.header.height - box.bottom;
    box.bottom = bitmap.header.height - box.top;
    box.top = top;
  }
  const draw::Box all = {0, 0, bitmap.header.width, bitmap.header.height};
  return common(box, all).is_empty() ? kBadData : kOk;
}

Status BitmapRows::start() {
  TRY(reader_.start());
  const process::SourcePicture picture = bitmap_.describe();
  line_bytes_ = core::bytes_per_line(picture.width, picture.bits);
  TRY(row_.allocate(uint64_t{line_bytes_} + dib::RleDecoder::kSlack));
  TRY(colors_.allocate(3 * uint64_t{static_cast<uint32_t>(picture.width)}));
  return convert_.start(picture.bits, 24, T_ORDER_BGR, T_ORDER_BGR, bitmap_.palette, nullptr);
}

Status BitmapRows::next_colors() {
  TRY(next());
  return convert_.convert(row_.data(), colors_.data(), bitmap_.header.width);
}

}  // namespace tavo::wmf
