#include "formats/wpg.h"

#include <algorithm>
#include <array>

#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/depths.h"
#include "base/endian.h"
#include "base/limits.h"
#include "base/settings.h"
#include "color/palettes.h"
#include "color/widen.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "core/rows.h"
#include "formats/drawn_page.h"
#include "formats/equal_rows.h"
#include "formats/listed_colors.h"
#include "formats/plausible.h"
#include "formats/two_levels.h"
#include "formats/white_byte.h"
#include "formats/whole_rows.h"
#include "formats/wpg_drawing.h"
#include "formats/wpg_records.h"
#include "process/rotate/turn.h"
#include "process/row_delivery.h"

namespace tavo::wpg {

namespace {

using process::RowDelivery;

constexpr formats::ZeroIs kZeroIs = formats::ZeroIs::kBlack;

// Kept: where there is a bitmap, it is the picture, whatever is drawn around it.
bool is_drawn(const Contents& contents) { return contents.count == 0 && contents.has_drawing; }

// A page that is drawn.
process::SourcePicture describe_page(const Contents& contents) {
  process::SourcePicture picture;
  picture.storage_kind = T_FORMAT_WPG;
  const int32_t scale = formats::draw_scale(contents.width, contents.height);
  picture.width = contents.width * scale;
  picture.height = contents.height * scale;
  picture.bits = 24;
  process::set_resolution(kScreenDotsPerInch * scale, kScreenDotsPerInch * scale, picture);
  return picture;
}

bool can_be_read(const Contents& contents) {
  return !contents.is_encrypted && contents.count != 0 && contents.bitmap.bits != 0;
}

// As the bitmap is stored. What cannot be read is told with the drawing's size and 1 bit. Kept:
// colour maps mean nothing to 1 bit, as other programs have it.
process::SourcePicture describe_stored(const Contents& contents) {
  const StoredBitmap& bitmap = contents.bitmap;
  process::SourcePicture picture;
  picture.storage_kind = T_FORMAT_WPG;
  formats::describe_two_levels(kZeroIs, picture);
  picture.width = contents.count != 0 ? bitmap.width : contents.width;
  picture.height = contents.count != 0 ? bitmap.height : contents.height;
  if (!can_be_read(contents)) return picture;
  process::set_resolution(bitmap.x_resolution, bitmap.y_resolution, picture);
  if (bitmap.bits == 1) return picture;
  // Bitmaps here have no 2 bits; widened, the pixels use four of sixteen colours.
  picture.bits = request_depth(static_cast<int32_t>(bitmap.bits));
  picture.colors = bitmap.bits == 24 ? 0 : 1u << bitmap.bits;
  std::ranges::copy(contents.palette, picture.palette);
  if (picture.colors == 0) return picture;
  if (contents.has_palette) picture.flags |= T_FLAG_PALETTE;
  const auto palette = std::span(picture.palette).first(picture.colors);
  // Four greys are no ramp of the sixteen that pixels of 4 bits may have.
  if (bitmap.bits != 2 && color::is_gray_ramp(palette)) picture.flags |= T_FLAG_GRAY;
  return picture;
}

bool is_turned(const StoredBitmap& bitmap) {
  return bitmap.degrees != 0 || bitmap.is_mirrored || bitmap.is_flipped;
}

// As it is delivered.
process::SourcePicture describe(const Contents& contents) {
  if (is_drawn(contents)) return describe_page(contents);
  process::SourcePicture picture = describe_stored(contents);
  if (can_be_read(contents) && contents.bitmap.degrees % 180 != 0) {
    std::swap(picture.width, picture.height);
    std::swap(picture.x_resolution, picture.y_resolution);
  }
  return picture;
}

const char* compression_text(const Contents& contents) {
  const bool has_runs = can_be_read(contents) && contents.bitmap.coding != Coding::kNone;
  return has_runs ? "Run Length" : "None";
}

// Kept: 1 bit is black and white whatever the colour map.
uint8_t white_byte(const Contents& contents) {
  const uint32_t bits = contents.bitmap.bits;
  return bits == 1 ? 0xFF : formats::white_byte(contents.palette, bits);
}

// The rows of the chosen bitmap as they are stored, 2 bits as 4.
// A row has whole bytes and no other padding. The record ends the data: runs that ask for more get
// none of the next one.
class StoredRows {
 public:
  StoredRows(io::InputFile& file, const Contents& contents)
      : contents_(contents),
        part_(file, contents.bitmap.data_bytes),
        bytes_(part_),
        decoder_(bytes_, contents.bitmap.coding),
        row_bytes_((size_t{contents.bitmap.width} * contents.bitmap.bits + 7) / 8) {}

  Status start() {
    TRY(bytes_.start());
    return decoder_.start(row_bytes_, white_byte(contents_));
  }

  Status decode(std::span<uint8_t> row) {
    TRY(decoder_.decode(row.first(row_bytes_)));
    if (contents_.bitmap.bits == 2) color::widen_2_to_4(row.data(), contents_.bitmap.width);
    return kOk;
  }

 private:
  const Contents& contents_;
  io::InputPart part_;
  ByteSource bytes_;
  RowDecoder decoder_;
  size_t row_bytes_;
};

Status read_rows(StoredRows& stored, uint32_t height, RowDelivery& rows) {
  for (uint32_t y = 0; y < height; ++y) {
    const Status status = stored.decode(rows.next_row());
    if (!status.ok()) return rows.finish_early(status);
    TRY(rows.commit());
  }
  return rows.finish();
}

// The whole bitmap, turned. `status` gets why rows are missing, which are white.
Status read_turned(StoredRows& stored, const Contents& contents, BitmapHandle& whole,
                   Status& status) {
  const process::SourcePicture picture = describe_stored(contents);
  TRY(core::init_bitmap(whole, picture.width, picture.height, picture.bits));
  whole.ViewPerspective = 0;
  TRY(core::allocate_quietly(whole));
  core::access_bitmap(whole);
  Buffer row;
  TRY(row.allocate(whole.BytesPerLine));
  const auto height = static_cast<uint32_t>(picture.height);
  for (uint32_t y = 0; y < height; ++y) {
    if (status.ok()) status = stored.decode(row.bytes());
    if (!status.ok()) {
      std::ranges::fill(row.bytes(), white_byte(contents));
      if (contents.bitmap.bits == 2) color::widen_2_to_4(row.data(), picture.width);
    }
    TRY(core::put_row(whole, y, row.bytes()));
  }
  const core::ProgressPart part(0, 50);
  const StoredBitmap& bitmap = contents.bitmap;
  if (bitmap.is_mirrored) TRY(process::reverse_bitmap(whole));
  if (bitmap.is_flipped) TRY(process::flip_bitmap(whole));
  return bitmap.degrees == 0 ? kOk : process::rotate_bitmap(whole, bitmap.degrees);
}

Status scan_page(io::InputFile& file, uint32_t file_bytes, Contents& contents) {
  TRY(scan(file, file_bytes, settings.page_number, contents));
  const StoredBitmap& bitmap = contents.bitmap;
  TRY(limits::check(T_LIMIT_PAGES, static_cast<uint64_t>(contents.page)));
  if (is_drawn(contents)) {
    return formats::check_page(contents.width, contents.height, file_bytes);
  }
  TRY(limits::check_picture(bitmap.width, bitmap.height));
  return formats::check_repeating(bitmap.width, bitmap.height, file_bytes);
}

}  // namespace

Status probe(const io::ProbeInput& input, FILEINFO& info) {
  Contents contents;
  TRY(scan_page(input.file, input.file_size, contents));
  process::describe(describe(contents), T_FORMAT_WPG, compression_text(contents), info);
  info.Page = contents.page;
  // A drawing is a page, and so is what cannot be read.
  info.PageCount = std::max(contents.count, 1);
  return kOk;
}

Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  io::InputFile file;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  uint32_t file_bytes = 0;
  TRY(file.size(file_bytes));
  Contents contents;
  TRY(scan_page(file, file_bytes, contents));
  if (is_drawn(contents)) {
    const process::SourcePicture page = describe(contents);
    RowDelivery page_rows(page, *bitmap, sink, bits_per_pixel, context);
    return formats::deliver_page(page, page_rows, [&](draw::Painter& painter, int32_t factor) {
      // Width and height have one scale: draw_scale() brings both down alike.
      return draw_records(file, file_bytes, contents, painter,
                          page.width / contents.width * factor);
    });
  }
  if (!can_be_read(contents)) return kSubtype;

  TRY(file.seek(contents.bitmap.data));
  StoredRows stored(file, contents);
  TRY(stored.start());
  const process::SourcePicture picture = describe(contents);
  RowDelivery rows(picture, *bitmap, sink, bits_per_pixel, context);
  if (!is_turned(contents.bitmap)) {
    TRY(rows.start());
    return read_rows(stored, contents.bitmap.height, rows);
  }
  core::OwnedBitmap whole;
  Status status = kOk;
  TRY(read_turned(stored, contents, *whole, status));
  const core::ProgressPart part(50, 100);
  TRY(rows.start());
  return formats::deliver_whole(*whole, status, rows);
}

namespace {

uint16_t word(int64_t value) {
  return static_cast<uint16_t>(std::clamp<int64_t>(value, 0, UINT16_MAX));
}

// Version 1 with one bitmap of type 1 (of type 2 the vector importers take the place wrongly).
class Writer final : public io::RowWriter {
 public:
  Writer() : RowWriter(this) {}

  Status prepare(const io::SaveRequest& request, const BitmapHandle& picture,
                 io::RowLayout& layout) {
    if (!io::has_16_bit_size(picture)) return kBadSize;
    depth_ = request.depth;
    layout.row_bytes =
        static_cast<size_t>(core::packed_bytes(static_cast<uint64_t>(picture.Width), depth_));
    if (depth_ == 1) {
      formats::ask_two_levels(kZeroIs, picture, layout);
    } else {
      formats::list_colors(picture, depth_, palette_);
      layout.palette = palette_;
    }
    // Code 0 repeats a row up to 255 times, which stands once itself.
    TRY(rows_.start(layout.row_bytes, 1 + UINT8_MAX));
    return coded_.allocate(most_coded(layout.row_bytes));
  }

  Status begin(const io::SaveRequest& request, const BitmapHandle& picture) {
    TRY(file_.create(request.name));
    // The first record is right behind the header. Minor version, key and reserved bytes are 0.
    std::array<uint8_t, kHeaderBytes + 8> head = {kMagic[0], kMagic[1], kMagic[2], kMagic[3],
                                                  kHeaderBytes};
    head[8] = kProduct;
    head[9] = kFileType;
    head[10] = 1;  // version
    uint8_t* const start = &head[kHeaderBytes];
    start[0] = kStart;
    start[1] = 6;  // bytes that follow: version, flags, size
    start[2] = 1;
    // The flags, start[3], are 0: no PostScript.
    store_le16(start + 4, units(picture.Width, picture.XResolution));
    store_le16(start + 6, units(picture.Height, picture.YResolution));
    TRY(file_.write(head));
    length_at_ = head.size();
    // Readers take 1 bit as black and white, whatever a map says; ImageMagick 6 does not.
    if (depth_ > 1) TRY(write_color_map());

    std::array<uint8_t, 16> bitmap = {kBitmap1, 0xFF};  // a length of two words follows
    // Behind type and 0xFF. How long the record becomes is known at the end only; other programs
    // take the long form of small lengths, too.
    length_at_ += 2;
    store_le16(&bitmap[6], word(picture.Width));
    store_le16(&bitmap[8], word(picture.Height));
    store_le16(&bitmap[10], static_cast<uint16_t>(depth_));
    store_le16(&bitmap[12], word(picture.XResolution));
    store_le16(&bitmap[14], word(picture.YResolution));
    length_ = bitmap.size() - 6;
    return file_.write(bitmap);
  }

  Status put_row(std::span<const uint8_t> row) { return rows_.add(row, *this); }

  Status put_group(std::span<const uint8_t> row, uint32_t count) {
    size_t size = encode_row(row, coded_.data());
    if (count > 1) {
      coded_.data()[size++] = 0;
      coded_.data()[size++] = static_cast<uint8_t>(count - 1);
    }
    length_ += size;
    return file_.write(coded_.bytes().first(size));
  }

  Status finish() {
    TRY(rows_.finish(*this));
    // A length has 31 bits: the top one says that there are two words.
    if (length_ > INT32_MAX) return kWriteError;
    const std::array<uint8_t, 2> end = {kEnd, 0};
    TRY(file_.write(end));
    std::array<uint8_t, 4> length;
    store_le16(&length[0], static_cast<uint16_t>(0x8000 | length_ >> 16));
    store_le16(&length[2], static_cast<uint16_t>(length_));
    TRY(file_.seek(length_at_));
    TRY(file_.write(length));
    return file_.finish();
  }

 private:
  // In 1200ths of an inch; what is larger than the field is cut.
  static uint16_t units(int32_t pixels, int32_t dots_per_inch) {
    const int64_t dots = std::max(dots_per_inch, 1);
    return word((int64_t{pixels} * kUnitsPerInch + dots / 2) / dots);
  }

  Status write_color_map() {
    const uint32_t colors = 1u << depth_;
    // The first entry, which is 0, and their number are words.
    const uint32_t bytes = 4 + 3 * colors;
    std::array<uint8_t, 8 + 3 * 256> record = {kColorMap, 0xFF};
    store_le16(&record[2], static_cast<uint16_t>(bytes));
    store_le16(&record[6], static_cast<uint16_t>(colors));
    for (uint32_t i = 0; i < colors; ++i) color::put_rgb(palette_[i], &record[8 + 3 * i]);
    length_at_ += 4 + bytes;
    return file_.write(std::span(record).first(4 + bytes));
  }

  io::OutputFile file_;
  int32_t depth_ = 0;
  T_PaletteEntry palette_[256] = {};
  uint64_t length_at_ = 0;  // in the file
  uint64_t length_ = 0;     // of the bitmap record
  formats::EqualRows rows_;
  Buffer coded_;
};

}  // namespace

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

}  // namespace tavo::wpg
