#include <algorithm>
#include <array>
#include <cstring>

#include "base/buffer.h"
#include "base/checked.h"
#include "base/endian.h"
#include "codec/packbits.h"
#include "core/bitmap.h"
#include "formats/byte_planes.h"
#include "formats/listed_colors.h"
#include "formats/pict.h"
#include "io/output_file.h"
#include "io/row_writer.h"

namespace tavo::pict {

namespace {

constexpr uint32_t kLongestPlain = 7;          // bytes of rows that are not packed
constexpr uint32_t kLongestByteCounted = 250;  // of rows whose packed bytes a byte counts

// Row lengths below 0x4000, in whole groups of 16 pixels.
constexpr uint32_t kLongestRow = 16368;
constexpr uint32_t kMostColumns24 = 4080;

constexpr uint32_t kBandStep = 16;  // bands begin at multiples of it, so at whole bytes
// Of 32767 columns of 24 bits: eight times 4080, the rest in two halves.
constexpr size_t kMostBands = 10;

// Rows of bands are kept until there are as many; those of narrow bands (see split()) all.
constexpr uint64_t kKeptBytes = 8 << 20;

// A part of the picture's columns, which is a bitmap of its own.
struct Band {
  uint32_t left = 0;
  uint32_t columns = 0;
  uint32_t row_bytes = 0;  // as the pixel map says
};

struct Bands {
  std::array<Band, kMostBands> all;
  size_t count = 0;

  void add(uint32_t columns, int32_t depth) {
    const uint32_t left = count == 0 ? 0 : all[count - 1].left + all[count - 1].columns;
    const auto bytes = static_cast<uint32_t>(core::packed_bytes(columns, depth == 24 ? 32 : depth));
    all[count++] = {left, columns, round_up(bytes, 2u)};
  }
};

// ImageMagick 6 and GraphicsMagick take the packed bytes of rows from 201 bytes on to be counted by
// a word, the documents from 251 on; of 24 bits they compare three bytes for a column, the
// documents four. Rows between the two are cut in halves, about which all agree.
uint32_t first_half(uint32_t columns, int32_t depth) {
  if (depth == 24) return columns >= 63 && columns <= 66 ? 32 : columns;
  const auto bytes = round_up(static_cast<uint32_t>(core::packed_bytes(columns, depth)), 2u);
  if (bytes <= 200 || bytes > kLongestByteCounted) return columns;
  return (columns / 2 + kBandStep / 2) / kBandStep * kBandStep;
}

Bands split(uint32_t width, int32_t depth) {
  const uint32_t most =
      depth == 24 ? kMostColumns24 : kLongestRow * 8 / static_cast<uint32_t>(depth);
  Bands bands;
  for (; width > most; width -= most) bands.add(most, depth);
  const uint32_t first = first_half(width, depth);
  bands.add(first, depth);
  if (first < width) bands.add(width - first, depth);
  return bands;
}

// Words and longs of a record, the high byte first.
class Fields {
 public:
  Fields& word(uint32_t value) {
    store_be16(&bytes_[size_], static_cast<uint16_t>(value));
    size_ += 2;
    return *this;
  }
  Fields& words(std::initializer_list<uint32_t> values) {
    for (const uint32_t value : values) word(value);
    return *this;
  }
  Fields& zeros(size_t bytes) {
    size_ += bytes;
    return *this;
  }
  // 16.16
  Fields& dots(int32_t per_inch) {
    return words({static_cast<uint32_t>(std::clamp(per_inch, 0, INT16_MAX)), 0});
  }
  Fields& rect(uint32_t top, uint32_t left, uint32_t bottom, uint32_t right) {
    return words({top, left, bottom, right});
  }
  std::span<const uint8_t> bytes() const { return std::span(bytes_).first(size_); }

 private:
  std::array<uint8_t, 128> bytes_ = {};
  size_t size_ = 0;
};

// Version 2, one bitmap; or several side by side, in rows of them where they are wide.
class Writer final : public io::RowWriter {
 public:
  Writer() : RowWriter(this) {}

  Status prepare(const io::SaveRequest& request, const BitmapHandle& picture,
                 io::RowLayout& layout) {
    if (picture.Width > INT16_MAX || picture.Height > INT16_MAX) return kBadSize;
    depth_ = request.depth;
    width_ = static_cast<uint32_t>(picture.Width);
    height_ = static_cast<uint32_t>(picture.Height);
    x_resolution_ = picture.XResolution;
    y_resolution_ = picture.YResolution;
    row_bytes_ = static_cast<size_t>(core::packed_bytes(width_, depth_));
    layout.row_bytes = row_bytes_;
    layout.order = T_ORDER_RGB;
    if (depth_ <= 8) {
      formats::list_colors(picture, depth_, palette_);
      layout.palette = palette_;
    }
    bands_ = split(width_, depth_);
    const uint32_t line =
        std::max_element(bands_.all.begin(), bands_.all.end(), is_shorter)->row_bytes;
    TRY(line_.allocate(line + kSlack));
    TRY(coded_.allocate(2 + packbits::max_encoded_size(line) + 3));
    if (depth_ == 24) TRY(planes_.allocate(3 * plane_stride(line)));
    if (bands_.count == 1) return kOk;
    kept_most_ = static_cast<uint32_t>(std::clamp<uint64_t>(kKeptBytes / row_bytes_, 1, height_));
    return kept_.allocate(uint64_t{kept_most_} * row_bytes_);
  }

  // picSize (low word, known at the end), picFrame; VersionOp, HeaderOp of the extended kind, whose
  // resolution is that of the frame; then what QuickDraw's own pictures begin with.
  Status begin(const io::SaveRequest& request, const BitmapHandle&) {
    TRY(file_.create(request.name));
    TRY(file_.write_zeros(kPreamble));
    constexpr int32_t kScreen = 72;  // the frame has pixels as points
    Fields head;
    head.word(0).rect(0, 0, height_, width_);
    head.words({0x0011, 0x02FF});  // version
    head.words({0x0C00, 0xFFFE, 0})
        .dots(kScreen)
        .dots(kScreen)
        .rect(0, 0, height_, width_)
        .zeros(4);
    head.word(0x001E);                                     // DefHilite
    head.words({0x0001, 10}).rect(0, 0, height_, width_);  // clip
    TRY(put(head.bytes()));
    return bands_.count == 1 ? begin_bitmap(bands_.all[0], height_) : kOk;
  }

  Status put_row(std::span<const uint8_t> row) {
    if (bands_.count == 1) return put_part(bands_.all[0], row);
    std::ranges::copy(row, kept_.data() + kept_rows_ * row_bytes_);
    return ++kept_rows_ == kept_most_ ? put_kept() : kOk;
  }

  Status finish() {
    if (kept_rows_ != 0) TRY(put_kept());
    TRY(align());
    TRY(put(Fields().word(0x00FF).bytes()));
    const auto size = static_cast<uint32_t>(written_);
    TRY(file_.seek(kPreamble));
    TRY(file_.write(Fields().word(size).bytes()));  // there is room for its low word
    return file_.finish();
  }

 private:
  static constexpr uint32_t kPreamble = 512;
  static constexpr uint32_t kSlack = 3 * formats::kSplitPixels;

  static bool is_shorter(const Band& a, const Band& b) { return a.row_bytes < b.row_bytes; }
  static size_t plane_stride(uint32_t line) { return round_up(line / 4, formats::kSplitPixels); }

  Status put(std::span<const uint8_t> bytes) {
    written_ += bytes.size();
    return file_.write(bytes);
  }

  // Records begin at even positions.
  Status align() {
    constexpr uint8_t kPad[1] = {};
    return written_ % 2 != 0 ? put(kPad) : kOk;
  }

  // All up to the pixels of `rows` rows from row top_ on: DirectBitsRect of pack type 4 for
  // colours, BitsRect where rows are too short to be packed, else PackBitsRect, always with a
  // PixMap.
  Status begin_bitmap(const Band& band, uint32_t rows) {
    TRY(align());
    Fields head;
    const bool is_direct = depth_ == 24;
    const bool is_plain = band.row_bytes <= kLongestPlain;
    head.word(is_direct ? 0x009A : is_plain ? 0x0090 : 0x0098);
    if (is_direct) head.words({0, 0x00FF});  // base address
    head.word(0x8000 | band.row_bytes).rect(0, 0, rows, band.columns);
    head.words({0, is_direct ? 4u : 0u}).zeros(4);  // version, packing, size of the packed pixels
    head.dots(x_resolution_).dots(y_resolution_);
    // Pixel type and size, count and size of the components.
    const auto bits = static_cast<uint32_t>(depth_);
    is_direct ? head.words({16, 32, 3, 8}) : head.words({0, bits, 1, bits});
    head.zeros(12);
    TRY(put(head.bytes()));
    if (!is_direct) TRY(put_colors());
    Fields places;
    places.rect(0, 0, rows, band.columns);
    places.rect(top_, band.left, top_ + rows, band.left + band.columns);
    places.word(0);  // mode: copy
    return put(places.bytes());
  }

  Status put_colors() {
    const uint32_t count = 1u << depth_;
    TRY(put(Fields().zeros(4).words({0, count - 1}).bytes()));
    for (uint32_t i = 0; i < count; ++i) {
      const T_PaletteEntry& entry = palette_[i];
      TRY(put(
          Fields().words({i, entry.Red * 257u, entry.Green * 257u, entry.Blue * 257u}).bytes()));
    }
    return kOk;
  }

  // The band's part of a row, with the count of its bytes in front.
  Status put_part(const Band& band, std::span<const uint8_t> row) {
    const auto left = static_cast<size_t>(core::packed_bytes(band.left, depth_));
    const auto bytes = static_cast<size_t>(core::packed_bytes(band.columns, depth_));
    line_.data()[band.row_bytes - 1] = 0;  // rows have even lengths
    std::memcpy(line_.data(), row.data() + left, bytes);
    if (band.row_bytes <= kLongestPlain) return put_plain(band);
    const size_t count_bytes = band.row_bytes > kLongestByteCounted ? 2 : 1;
    uint8_t* const out = coded_.data() + count_bytes;
    const size_t size = depth_ == 24 ? encode_planes(band, out)
                                     : packbits::encode(line_.bytes().first(band.row_bytes), out);
    coded_.data()[0] = static_cast<uint8_t>(size);
    if (count_bytes == 2) store_be16(coded_.data(), static_cast<uint16_t>(size));
    return put(coded_.bytes().first(count_bytes + size));
  }

  Status put_plain(const Band& band) {
    if (depth_ <= 8) return put(line_.bytes().first(band.row_bytes));
    const uint8_t* const rgb = line_.data();  // of one column
    const std::array<uint8_t, 4> pixel = {0, rgb[0], rgb[1], rgb[2]};
    return put(pixel);
  }

  // No packet goes on from one plane to the next, which some readers would not see.
  size_t encode_planes(const Band& band, uint8_t* out) {
    const size_t stride = plane_stride(band.row_bytes);
    formats::split_bytes(line_.data(), band.columns, planes_.data(), static_cast<uint32_t>(stride));
    uint8_t* to = out;
    for (size_t c = 0; c < 3; ++c) {
      to += packbits::encode({planes_.data() + c * stride, band.columns}, to);
    }
    return static_cast<size_t>(to - out);
  }

  Status put_kept() {
    for (const Band& band : std::span(bands_.all).first(bands_.count)) {
      TRY(begin_bitmap(band, kept_rows_));
      for (uint32_t y = 0; y < kept_rows_; ++y) {
        TRY(put_part(band, kept_.bytes().subspan(y * row_bytes_, row_bytes_)));
      }
    }
    top_ += kept_rows_;
    kept_rows_ = 0;
    return kOk;
  }

  io::OutputFile file_;
  int32_t depth_ = 0;
  uint32_t width_ = 0;
  uint32_t height_ = 0;
  int32_t x_resolution_ = 0;
  int32_t y_resolution_ = 0;
  size_t row_bytes_ = 0;  // of the picture
  T_PaletteEntry palette_[256] = {};
  Bands bands_;
  uint64_t written_ = 0;  // behind the 512 bytes
  uint32_t top_ = 0;      // row of the picture that comes next
  Buffer line_;           // a band's part of a row
  Buffer planes_;
  Buffer coded_;
  Buffer kept_;  // rows of which several bands are made
  uint32_t kept_most_ = 0;
  uint32_t kept_rows_ = 0;
};

}  // namespace

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

}  // namespace tavo::pict
