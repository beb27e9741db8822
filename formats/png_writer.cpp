// The PNG writer: rows filtered, coded and cut into chunks as they come.
#include <algorithm>
#include <array>
#include <cstring>

#include "base/buffer.h"
#include "base/crc32.h"
#include "base/endian.h"
#include "base/settings.h"
#include "codec/deflate.h"
#include "codec/row_filters.h"
#include "color/palettes.h"
#include "core/bitmap.h"
#include "formats/listed_colors.h"
#include "formats/png.h"
#include "formats/png_header.h"
#include "io/output_file.h"

namespace tavo::png {

namespace {

// Chunks (5.3) on their way into a file: length of the data, type, data, CRC-32 of type and data.
class ChunkWriter {
 public:
  explicit ChunkWriter(io::OutputFile& file) : file_(file) {}

  Status write(uint32_t type, std::span<const uint8_t> data) {
    std::array<uint8_t, kHeadBytes> head;
    store_be32(&head[0], static_cast<uint32_t>(data.size()));
    store_be32(&head[4], type);
    std::array<uint8_t, kCheckBytes> check;
    store_be32(check.data(), crc32(crc32(0, std::span(head).subspan(4)), data));
    bytes_ += head.size() + data.size() + check.size();
    TRY(file_.write(head));
    TRY(file_.write(data));
    return file_.write(check);
  }

  // So far.
  uint64_t bytes() const { return bytes_; }

 private:
  io::OutputFile& file_;
  uint64_t bytes_ = 0;
};

// The data of IDAT chunks, as they come from the encoder: a chunk each time its buffer of 32 KiB is
// full.
class DataWriter {
 public:
  explicit DataWriter(ChunkWriter& chunks) : chunks_(chunks) {}
  Status write(std::span<const uint8_t> data) { return chunks_.write(kIDAT, data); }

 private:
  ChunkWriter& chunks_;
};

// How a picture is written.
struct Kind {
  uint8_t color = 0;  // type
  uint32_t bits = 8;  // of a sample
  size_t pixel_bytes = 1;
};

// Up to 8 bits grey where the palette is an even ramp of greys, which is what grey pictures have.
Kind choose_kind(int32_t depth, std::span<const T_PaletteEntry> palette) {
  if (depth == 24) return {kIsColor, 8, 3};
  if (depth == 32) return {kIsColor | kHasAlpha, 8, 4};
  const auto bits = static_cast<uint32_t>(depth);
  const bool is_gray = color::is_gray_ramp(palette.first(1u << bits));
  return {static_cast<uint8_t>(is_gray ? 0 : kIsColor | kIsIndexed), bits, 1};
}

// Rounded, so that the reader comes back to the same dots per inch.
uint32_t per_meter(int32_t per_inch) {
  return static_cast<uint32_t>((int64_t{per_inch} * 10000 + 127) / 254);
}

class Writer final : public io::RowWriter {
 public:
  Writer() : RowWriter(this), chunks_(file_), data_(chunks_), encoder_(data_) {}

  Status prepare(const io::SaveRequest& request, const BitmapHandle& picture,
                 io::RowLayout& layout) {
    formats::list_colors(picture, request.depth, palette_);
    kind_ = choose_kind(request.depth, palette_);
    layout.palette = palette_;
    const uint64_t bytes = core::packed_bytes(static_cast<uint64_t>(picture.Width), request.depth);
    layout.order = T_ORDER_RGB;
    const uint64_t most = filters::kFront + bytes + filters::kSlack;
    TRY(row_.allocate(most));
    TRY(above_.allocate(most));
    TRY(filtered_.allocate(1 + bytes + filters::kSlack));
    row_bytes_ = static_cast<size_t>(bytes);
    is_clear_ = request.depth == 32;
    TRY(encoder_.allocate(static_cast<deflate::Level>(settings.deflate_level)));
    is_apart_ = is_clear_ && !encoder_.holds((1 + bytes) * static_cast<uint64_t>(picture.Height));
    return kOk;
  }

  // The order that 5.6 asks for: IHDR first, PLTE and pHYs before IDAT.
  Status begin(const io::SaveRequest& request, const BitmapHandle& picture) {
    TRY(file_.create(request.name));
    TRY(file_.write(kSignature));
    TRY(write_header(picture));
    if ((kind_.color & kIsIndexed) != 0) TRY(write_palette(picture));
    TRY(write_size(picture));
    data_at_ = chunks_.bytes() + kSignature.size();
    encoder_.start();
    return kOk;
  }

  // Filters make nothing of indices, nor of several pixels in a byte ("Filter selection").
  Status put_row(std::span<const uint8_t> row) {
    uint8_t* const here = row_.data() + filters::kFront;
    std::memcpy(here, row.data(), row_bytes_);
    const std::span<const uint8_t> bytes(here, row_bytes_);
    const uint8_t* const above = above_.data() + filters::kFront;
    is_clear_ = is_clear_ && is_clear(bytes);
    const auto filter = filters::choose(bytes, above, kind_.pixel_bytes, allowed_filters());
    filtered_.data()[0] = static_cast<uint8_t>(filter);
    filters::apply(filter, bytes, above, kind_.pixel_bytes, filtered_.data() + 1);
    std::swap(row_, above_);
    std::span<const uint8_t> coded = filtered_.bytes().first(1 + row_bytes_);
    filtered_bytes_ += coded.size();
    if (is_first_ && is_apart_ && is_clear_) {
      TRY(encoder_.store(coded.first(kApart)));
      coded = coded.subspan(kApart);
    }
    is_first_ = false;
    return encoder_.encode(coded);
  }

  Status finish() {
    if (is_clear_ && is_apart_) {
      encoder_.change_checksum(kOpaque, filtered_bytes_ - (kApart - 1));
    } else if (is_clear_) {
      encoder_.change(kApart - 1, kOpaque);
    }
    TRY(encoder_.finish());
    TRY(chunks_.write(kIEND, {}));
    if (is_clear_ && is_apart_) TRY(make_opaque());
    return file_.finish();
  }

 private:
  // A picture whose fourth bytes are all 0 has no opacity: programs leave them so. That it is none
  // shows at its end, so it is written in a way that one byte decides. The first pixel's opacity is
  // the difference from 0, and all others, by the filters Sub in the first row and Up and Paeth in
  // the others, have none from that. Where the encoder does not hold all data until then, it stands
  // apart in a chunk of its own, as stored, so that it can be changed: kApart bytes of the data
  // (filter type, pixel) behind the heads of the stream (RFC 1950, 2.2) and of the block (RFC 1951,
  // 3.2.4).
  static constexpr size_t kApart = 5;
  static constexpr size_t kBeforeApart = 2 + 5;
  static constexpr uint8_t kOpaque = 255;

  static bool is_clear(std::span<const uint8_t> pixels) {
    uint32_t all = 0;
    for (size_t i = 0; i < pixels.size(); i += 4) all |= load_le32(&pixels[i]);
    return all >> 24 == 0;
  }

  uint32_t allowed_filters() const {
    const auto bit = [](filters::Filter filter) { return 1u << static_cast<uint32_t>(filter); };
    if ((kind_.color & kIsIndexed) != 0 || kind_.bits < 8) return bit(filters::Filter::kNone);
    if (!is_clear_) return filters::kAllFilters;
    return is_first_ ? bit(filters::Filter::kSub)
                     : bit(filters::Filter::kUp) | bit(filters::Filter::kPaeth);
  }

  Status make_opaque() {
    std::array<uint8_t, kHeadBytes + kBeforeApart + kApart + kCheckBytes> chunk;
    TRY(file_.read_at(data_at_, chunk));
    const auto data = std::span(chunk).subspan(4, chunk.size() - 4 - kCheckBytes);  // and its type
    data.back() = kOpaque;
    store_be32(&chunk[chunk.size() - kCheckBytes], crc32(0, data));
    return file_.write_at(data_at_, chunk);
  }

  // Compression, filter and interlace method, the last three bytes, stay 0.
  Status write_header(const BitmapHandle& picture) {
    std::array<uint8_t, kHeaderBytes> data = {};
    store_be32(&data[0], static_cast<uint32_t>(picture.Width));
    store_be32(&data[4], static_cast<uint32_t>(picture.Height));
    data[8] = static_cast<uint8_t>(kind_.bits);
    data[9] = kind_.color;
    return chunks_.write(kIHDR, data);
  }

  // The bitmap's Colors; all that the depth can name when it does not say.
  Status write_palette(const BitmapHandle& picture) {
    const uint32_t most = 1u << kind_.bits;
    const bool is_told = picture.BitsPerPixel == static_cast<int32_t>(kind_.bits) &&
                         picture.Colors >= 1 && picture.Colors < most;
    const uint32_t colors = is_told ? picture.Colors : most;
    std::array<uint8_t, 3 * 256> data;
    for (size_t i = 0; i < colors; ++i) color::put_rgb(palette_[i], &data[3 * i]);
    return chunks_.write(kPLTE, std::span(data).first(3 * colors));
  }

  // Of an unknown resolution no pHYs, which would state one.
  Status write_size(const BitmapHandle& picture) {
    if (picture.XResolution <= 0 || picture.YResolution <= 0) return kOk;
    std::array<uint8_t, 9> data;
    store_be32(&data[0], per_meter(picture.XResolution));
    store_be32(&data[4], per_meter(picture.YResolution));
    data[8] = kDotsPerMeter;
    return chunks_.write(kPHYS, data);
  }

  io::OutputFile file_;
  ChunkWriter chunks_;
  DataWriter data_;
  deflate::Encoder encoder_;
  Kind kind_;
  T_PaletteEntry palette_[256] = {};
  size_t row_bytes_ = 0;
  bool is_first_ = true;
  bool is_clear_ = false;        // all fourth bytes so far are 0
  bool is_apart_ = false;        // the first one is
  uint64_t filtered_bytes_ = 0;  // that have come
  uint64_t data_at_ = 0;         // where the first IDAT chunk is in the file
  Buffer row_, above_, filtered_;
};

}  // namespace

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

}  // namespace tavo::png
