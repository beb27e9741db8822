// The TIFF writer: pixels first, then values, the directory, and last of all the link to it, so
// that a save that fails on the way leaves the pages before it as they were.
#include <algorithm>
#include <array>

#include "base/buffer.h"
#include "base/endian.h"
#include "base/settings.h"
#include "codec/ccitt_encoder.h"
#include "codec/lzw.h"
#include "codec/packbits.h"
#include "formats/tiff.h"
#include "formats/tiff_directory.h"
#include "formats/tiff_image.h"
#include "io/input_file.h"
#include "io/output_file.h"
#include "process/row_fetch.h"

namespace tavo::tiff {

namespace {

constexpr uint32_t kStripBytes = 65536;
constexpr uint32_t kHeaderBytes = 8;
constexpr uint32_t kLinkInHeader = 4;
constexpr int32_t kFineResolution = 150;  // dots per inch from which T.4 takes K = 4

struct Variant {
  int32_t format;
  Compression compression;
  uint32_t t4_options;
};
constexpr Variant kVariants[] = {
    {T_FORMAT_TIFF, kNone, 0},          {T_FORMAT_TIFF_PACKBITS, kPackBits, 0},
    {T_FORMAT_TIFF_GROUP3, kGroup3, 0}, {T_FORMAT_TIFF_GROUP3_2D, kGroup3, 1},
    {T_FORMAT_TIFF_GROUP4, kGroup4, 0}, {T_FORMAT_TIFF_LZW, kLzw, 0},
};

bool is_fax(const Variant& variant) {
  return variant.compression == kGroup3 || variant.compression == kGroup4;
}

// Counts what goes through to the file.
class Output {
 public:
  Output(io::OutputFile& file, uint64_t position) : file_(file), position_(position) {}

  Status write(std::span<const uint8_t> bytes) {
    position_ += bytes.size();
    if (position_ > INT32_MAX) return kWriteError;  // positions beyond cannot be reached
    return file_.write(bytes);
  }
  Status make_even() {
    constexpr uint8_t kZero = 0;
    return position_ % 2 != 0 ? write({&kZero, 1}) : kOk;
  }
  uint32_t position() const { return static_cast<uint32_t>(position_); }

 private:
  io::OutputFile& file_;
  uint64_t position_;
};

// How the samples of a save are to be read.
struct Look {
  Photometric photometric = kRgb;
  bool inverts = false;  // the rows, on their way to the file
};

bool is_ramp(const T_PaletteEntry* palette, uint32_t entries, bool is_inverse) {
  for (uint32_t i = 0; i < entries; ++i) {
    const uint32_t step = is_inverse ? entries - 1 - i : i;
    const uint32_t level = step * 255 / (entries - 1);
    const T_PaletteEntry& entry = palette[i];
    if (entry.Red != level || entry.Green != level || entry.Blue != level) return false;
  }
  return true;
}

uint32_t brightness(const T_PaletteEntry& entry) {
  return 2u * entry.Red + 5u * entry.Green + entry.Blue;
}

// Fax codings show white and black, and 0 is white in all of them; the others keep what they can.
Look choose_look(const BitmapHandle& bitmap, int32_t depth, const Variant& variant) {
  if (depth > 8) return {kRgb, false};
  const T_PaletteEntry* palette = bitmap.Info.Palette;
  if (is_fax(variant)) return {kWhiteIsZero, brightness(palette[0]) < brightness(palette[1])};
  if (is_ramp(palette, 1u << depth, false)) return {kBlackIsZero, false};
  if (depth == 1 && is_ramp(palette, 2, true)) return {kWhiteIsZero, false};
  return {kPalette, false};
}

// Encodes rows into strips.
class StripWriter {
 public:
  StripWriter(Output& out, const Variant& variant, bool has_predictor)
      : out_(out), variant_(variant), has_predictor_(has_predictor), ccitt_(out), lzw_(out) {}

  Status start(const BitmapHandle& bitmap, size_t row_bytes) {
    if (variant_.compression == kPackBits) {
      return packed_.allocate(packbits::max_encoded_size(row_bytes));
    }
    if (!is_fax(variant_)) return kOk;
    ccitt::EncoderOptions options;
    if (variant_.compression == kGroup3) {
      const bool is_2d = variant_.t4_options != 0;
      options.coding = is_2d ? ccitt::Coding::kGroup3TwoD : ccitt::Coding::kGroup3;
      options.rows_per_1d = bitmap.YResolution < kFineResolution ? 2 : 4;
    }
    return ccitt_.start(options, static_cast<uint32_t>(bitmap.Width));
  }

  Status begin() { return variant_.compression == kLzw ? lzw_.start(8) : kOk; }

  // `row` may be changed. `step`: bytes of a pixel.
  Status add(std::span<uint8_t> row, size_t step) {
    switch (variant_.compression) {
      case kNone:
        return out_.write(row);
      case kPackBits:
        return out_.write({packed_.data(), packbits::encode(row, packed_.data())});
      case kLzw:
        if (has_predictor_) {
          for (size_t i = row.size(); i-- > step;) {
            row[i] = static_cast<uint8_t>(row[i] - row[i - step]);
          }
        }
        return lzw_.encode(row);
      default:
        return ccitt_.encode_row(row);
    }
  }

  Status finish() {
    if (is_fax(variant_)) return ccitt_.finish();
    return variant_.compression == kLzw ? lzw_.finish() : kOk;
  }

 private:
  Output& out_;
  const Variant& variant_;
  bool has_predictor_;
  Buffer packed_;
  ccitt::Encoder ccitt_;
  lzw::HighFirstEncoder lzw_;
};

// One page on its way into the file.
class PageWriter {
 public:
  PageWriter(io::OutputFile& file, uint64_t position, ByteOrder order)
      : out_(file, position), order_(order) {}

  Status write(BitmapHandle& bitmap, int32_t depth, const Variant& variant, int32_t page_index);
  // Where the directory is.
  uint32_t directory() const { return directory_; }

 private:
  static constexpr size_t kMaxEntries = 20;

  Status write_strips(BitmapHandle& bitmap);
  Status write_strip(process::RowFetch& rows, StripWriter& strip, uint32_t first, uint32_t count);
  Status write_values(const BitmapHandle& bitmap);
  Status write_longs(std::span<const uint32_t> values, uint32_t& position);
  Status write_rationals(const BitmapHandle& bitmap, uint32_t& position);
  Status write_color_map(const BitmapHandle& bitmap, uint32_t& position);
  void put16(uint8_t* at, uint32_t value) const;
  void put32(uint8_t* at, uint32_t value) const;
  void add(Tag tag, Type type, uint32_t count, uint32_t value);
  void add_list(Tag tag, std::span<const uint32_t> values, uint32_t position);
  void add_tags(const BitmapHandle& bitmap, int32_t page_index);
  Status write_directory();

  Output out_;
  ByteOrder order_;
  const Variant* variant_ = nullptr;
  int32_t depth_ = 0;
  Look look_;
  bool has_predictor_ = false;
  size_t row_bytes_ = 0;
  uint32_t rows_per_strip_ = 0;
  Array<uint32_t> offsets_;
  Array<uint32_t> sizes_;

  uint32_t offsets_at_ = 0;
  uint32_t sizes_at_ = 0;
  uint32_t sample_bits_at_ = 0;
  uint32_t resolution_at_ = 0;
  uint32_t color_map_at_ = 0;
  std::array<uint8_t, kMaxEntries* 12> entries_ = {};
  uint32_t entry_count_ = 0;
  uint32_t directory_ = 0;
};

void PageWriter::put16(uint8_t* at, uint32_t value) const {
  const auto narrow = static_cast<uint16_t>(value);
  order_.is_big_endian ? store_be16(at, narrow) : store_le16(at, narrow);
}

void PageWriter::put32(uint8_t* at, uint32_t value) const {
  order_.is_big_endian ? store_be32(at, value) : store_le32(at, value);
}

// ---- Pixels ----

Status PageWriter::write_strip(process::RowFetch& rows, StripWriter& strip, uint32_t first,
                               uint32_t count) {
  TRY(strip.begin());
  for (uint32_t y = first; y < first + count; ++y) {
    std::span<uint8_t> row;
    TRY(rows.picture(y, row));
    row = row.first(row_bytes_);
    if (look_.inverts) {
      for (uint8_t& byte : row) byte = static_cast<uint8_t>(~byte);
    }
    TRY(strip.add(row, depth_ > 8 ? 3 : 1));
  }
  return strip.finish();
}

Status PageWriter::write_strips(BitmapHandle& bitmap) {
  const auto height = static_cast<uint32_t>(bitmap.Height);
  const uint32_t strips = (height - 1) / rows_per_strip_ + 1;
  TRY(offsets_.allocate(strips));
  TRY(sizes_.allocate(strips));
  process::RowFetch rows(bitmap, depth_, T_ORDER_RGB);
  TRY(rows.start());
  StripWriter strip(out_, *variant_, has_predictor_);
  TRY(strip.start(bitmap, row_bytes_));
  for (uint32_t i = 0; i < strips; ++i) {
    const uint32_t first = i * rows_per_strip_;
    offsets_[i] = out_.position();
    TRY(write_strip(rows, strip, first, std::min(rows_per_strip_, height - first)));
    sizes_[i] = out_.position() - offsets_[i];
    TRY(out_.make_even());
  }
  return rows.finish();
}

// ---- Values outside the directory ----

Status PageWriter::write_longs(std::span<const uint32_t> values, uint32_t& position) {
  position = out_.position();
  for (const uint32_t value : values) {
    std::array<uint8_t, 4> bytes;
    put32(bytes.data(), value);
    TRY(out_.write(bytes));
  }
  return kOk;
}

Status PageWriter::write_rationals(const BitmapHandle& bitmap, uint32_t& position) {
  const std::array<uint32_t, 4> values = {static_cast<uint32_t>(std::max(bitmap.XResolution, 1)), 1,
                                          static_cast<uint32_t>(std::max(bitmap.YResolution, 1)),
                                          1};
  return write_longs(values, position);
}

// All reds, all greens, all blues, 16 bits each.
Status PageWriter::write_color_map(const BitmapHandle& bitmap, uint32_t& position) {
  position = out_.position();
  for (const auto channel : {&T_PaletteEntry::Red, &T_PaletteEntry::Green, &T_PaletteEntry::Blue}) {
    for (uint32_t i = 0; i < 1u << depth_; ++i) {
      std::array<uint8_t, 2> bytes;
      put16(bytes.data(), bitmap.Info.Palette[i].*channel * 257u);
      TRY(out_.write(bytes));
    }
  }
  return kOk;
}

Status PageWriter::write_values(const BitmapHandle& bitmap) {
  if (offsets_.size() > 1) {
    TRY(write_longs(offsets_.items(), offsets_at_));
    TRY(write_longs(sizes_.items(), sizes_at_));
  }
  TRY(write_rationals(bitmap, resolution_at_));
  if (look_.photometric == kPalette) TRY(write_color_map(bitmap, color_map_at_));
  if (look_.photometric != kRgb) return kOk;
  sample_bits_at_ = out_.position();
  std::array<uint8_t, 6> bits;
  for (size_t i = 0; i < 6; i += 2) put16(&bits[i], 8);
  return out_.write(bits);
}

// ---- The directory ----

// A single value (a SHORT stands in the first half of its field) or the position of several.
void PageWriter::add(Tag tag, Type type, uint32_t count, uint32_t value) {
  uint8_t* entry = entries_.data() + size_t{entry_count_++} * 12;
  put16(entry, static_cast<uint16_t>(tag));
  put16(entry + 2, type);
  put32(entry + 4, count);
  if (type == kShort && count == 1) {
    put16(entry + 8, value);
  } else {
    put32(entry + 8, value);
  }
}

void PageWriter::add_list(Tag tag, std::span<const uint32_t> values, uint32_t position) {
  add(tag, kLong, static_cast<uint32_t>(values.size()), values.size() == 1 ? values[0] : position);
}

void PageWriter::add_tags(const BitmapHandle& bitmap, int32_t page_index) {
  constexpr uint32_t kPageOfSeveral = 2;
  constexpr uint32_t kInch = 2;
  const bool is_rgb = look_.photometric == kRgb;
  add(Tag::kNewSubfileType, kLong, 1, page_index > 0 ? kPageOfSeveral : 0);
  add(Tag::kImageWidth, kLong, 1, static_cast<uint32_t>(bitmap.Width));
  add(Tag::kImageLength, kLong, 1, static_cast<uint32_t>(bitmap.Height));
  add(Tag::kBitsPerSample, kShort, is_rgb ? 3 : 1,
      is_rgb ? sample_bits_at_ : static_cast<uint32_t>(depth_));
  add(Tag::kCompression, kShort, 1, variant_->compression);
  add(Tag::kPhotometric, kShort, 1, look_.photometric);
  if (is_fax(*variant_)) add(Tag::kFillOrder, kShort, 1, 1);
  add_list(Tag::kStripOffsets, offsets_.items(), offsets_at_);
  add(Tag::kSamplesPerPixel, kShort, 1, is_rgb ? 3 : 1);
  add(Tag::kRowsPerStrip, kLong, 1, rows_per_strip_);
  add_list(Tag::kStripByteCounts, sizes_.items(), sizes_at_);
  add(Tag::kXResolution, kRational, 1, resolution_at_);
  add(Tag::kYResolution, kRational, 1, resolution_at_ + 8);
  add(Tag::kPlanarConfiguration, kShort, 1, 1);
  if (variant_->compression == kGroup3) add(Tag::kT4Options, kLong, 1, variant_->t4_options);
  if (variant_->compression == kGroup4) add(Tag::kT6Options, kLong, 1, 0);
  add(Tag::kResolutionUnit, kShort, 1, kInch);
  if (page_index > 0) {
    add(Tag::kPageNumber, kShort, 2, 0);
    // Two SHORTs in one field: the index, and a total of 0, as it would not stay true.
    put16(entries_.data() + size_t{entry_count_ - 1} * 12 + 8, static_cast<uint32_t>(page_index));
    put16(entries_.data() + size_t{entry_count_ - 1} * 12 + 10, 0);
  }
  if (has_predictor_) add(Tag::kPredictor, kShort, 1, 2);
  if (look_.photometric == kPalette) add(Tag::kColorMap, kShort, 3u << depth_, color_map_at_);
}

Status PageWriter::write_directory() {
  directory_ = out_.position();
  std::array<uint8_t, 4> bytes = {};
  put16(bytes.data(), entry_count_);
  TRY(out_.write({bytes.data(), 2}));
  TRY(out_.write({entries_.data(), size_t{entry_count_} * 12}));
  bytes = {};
  return out_.write(bytes);
}

Status PageWriter::write(BitmapHandle& bitmap, int32_t depth, const Variant& variant,
                         int32_t page_index) {
  variant_ = &variant;
  depth_ = depth;
  look_ = choose_look(bitmap, depth, variant);
  const uint64_t row_bytes =
      (uint64_t{static_cast<uint32_t>(bitmap.Width)} * static_cast<uint32_t>(depth) + 7) / 8;
  if (bitmap.Width < 1 || bitmap.Height < 1 || row_bytes > INT32_MAX) return kBadSize;
  row_bytes_ = static_cast<size_t>(row_bytes);
  const uint32_t wanted = bitmap.WriterDefaults[0];
  const auto usual = std::max(static_cast<uint32_t>(kStripBytes / row_bytes), 1u);
  rows_per_strip_ = std::min(wanted != 0 ? wanted : usual, static_cast<uint32_t>(bitmap.Height));
  has_predictor_ = variant.compression == kLzw && depth >= 8 && bitmap.WriterDefaults[1] == 2;
  TRY(out_.make_even());
  TRY(write_strips(bitmap));
  TRY(write_values(bitmap));
  add_tags(bitmap, page_index);
  return write_directory();
}

// ---- Files ----

// Where a page is to be added.
struct Chain {
  ByteOrder order;
  uint64_t link = kLinkInHeader;
  int32_t pages = 0;
};

// Finds it in the file that is open for writing, so that nobody adds a page in between.
Status find_chain(const io::OutputFile& existing, Chain& chain) {
  io::InputFile file;
  file.borrow(existing.handle());
  Directory directory;
  TRY(directory.open(file, 1));
  chain.order = directory.order();
  if (chain.order.is_64_bit) return kSubtype;
  const Status status = directory.find_end(chain.link, chain.pages);
  TRY(file.failure());
  return chain.pages >= kMaxPages ? kWriteError : status;
}

Status link_page(io::OutputFile& file, const Chain& chain, uint32_t directory) {
  std::array<uint8_t, 4> bytes;
  chain.order.is_big_endian ? store_be32(bytes.data(), directory)
                            : store_le32(bytes.data(), directory);
  return file.write_at(chain.link, bytes);
}

}  // namespace

bool is_container(std::span<const uint8_t> head) {
  if (head.size() < 4) return false;
  return (head[0] == 'I' && head[1] == 'I' && head[2] != 0) ||
         (head[0] == 'M' && head[1] == 'M' && head[2] == 0);
}

Status write(const char* name, BitmapHandle* bitmap, const io::SaveRequest& request) {
  const int32_t depth = request.depth;
  const Variant* variant = std::ranges::find(kVariants, request.format, &Variant::format);
  if (variant == std::end(kVariants)) return kNoFormat;
  const bool is_depth = depth == 1 || depth == 4 || depth == 8 || depth == 24;
  if (!is_depth || (is_fax(*variant) && depth != 1)) return kBadDepth;

  Chain chain;
  io::OutputFile file;
  uint32_t position = kHeaderBytes;
  TRY(file.open(name, request.target));
  if (request.target == io::Target::kExtend) {
    TRY(find_chain(file, chain));
    TRY(file.seek_end(position));
  } else {
    constexpr std::array<uint8_t, kHeaderBytes> kHeader = {'I', 'I', 42, 0, 0, 0, 0, 0};
    TRY(file.write(kHeader));
  }
  PageWriter page(file, position, chain.order);
  TRY(page.write(*bitmap, depth, *variant, chain.pages));
  TRY(link_page(file, chain, page.directory()));
  return file.finish();
}

}  // namespace tavo::tiff
