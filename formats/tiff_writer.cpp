// The TIFF writer: pixels first, then values, the directory, and last of all the link to it, so
// that a save that fails on the way leaves the pages before it as they were.
#include <algorithm>
#include <array>

#include "base/buffer.h"
#include "base/endian.h"
#include "base/settings.h"
#include "color/palettes.h"
#include "formats/tiff.h"
#include "formats/tiff_directory.h"
#include "formats/tiff_strip_writer.h"
#include "io/input_file.h"

namespace tavo::tiff {

namespace {

// Sections are those of TIFF 6.0.

constexpr uint32_t kStripBytes = 65536;  // section 3 recommends 8 KB, for memories of its time
constexpr uint32_t kHeaderBytes = 8;     // section 2: byte order, version, offset of the first page
constexpr uint32_t kLinkInHeader = 4;
constexpr std::array<uint8_t, kHeaderBytes> kNewHeader = {'I', 'I', 42, 0, 0, 0, 0, 0};

constexpr Variant kVariants[] = {
    {T_FORMAT_TIFF, kNone, 0},
    {T_FORMAT_TIFF_PACKBITS, kPackBits, 0},
    {T_FORMAT_TIFF_GROUP3, kGroup3, 0},
    {T_FORMAT_TIFF_GROUP3_2D, kGroup3, 1},
    {T_FORMAT_TIFF_GROUP4, kGroup4, 0},
    {T_FORMAT_TIFF_LZW, kLzw, 0},
    {T_FORMAT_TIFF_DEFLATE, kDeflate, 0},
};

// How the samples of a save are to be read.
struct Look {
  Photometric photometric = kRgb;
  bool inverts = false;  // the rows, on their way to the file
};

// Green counts most; enough to tell which of two colours is the lighter.
uint32_t brightness(const T_PaletteEntry& entry) {
  return 2u * entry.Red + 5u * entry.Green + entry.Blue;
}

// Fax codings show white and black, and 0 is white in all of them (section 11); the others keep
// what they can: black as zero for even ramps (sections 3 and 4), a colour map otherwise (section
// 5).
Look choose_look(const BitmapHandle& bitmap, int32_t depth, const Variant& variant) {
  if (depth > 8) return {kRgb, false};
  const T_PaletteEntry* palette = bitmap.Info.Palette;
  if (variant.is_fax()) return {kWhiteIsZero, brightness(palette[0]) < brightness(palette[1])};
  const std::span<const T_PaletteEntry> colors(palette, 1u << depth);
  const T_PaletteEntry turned[] = {colors[1], colors[0]};
  if (color::is_gray_ramp(colors)) return {kBlackIsZero, false};
  if (depth == 1 && color::is_gray_ramp(turned)) return {kWhiteIsZero, false};
  return {kPalette, false};
}

// One page on its way into the file.
class PageWriter {
 public:
  // `orientation`: how readers are to turn the picture; 1, not at all, is not written.
  explicit PageWriter(io::OutputFile& file, uint32_t orientation = 1)
      : out_(file), strip_(out_), orientation_(orientation) {}

  // `picture` stays until the page is finished. kBadSize, kNoMemory. `inverts`: the rows must be.
  Status prepare(const BitmapHandle& picture, int32_t depth, const Variant& variant, bool& inverts);

  // From `position` in the file on.
  Status begin(uint32_t position, ByteOrder order);
  Status put_row(std::span<const uint8_t> row);
  Status finish(int32_t page_index);

  // Where the directory is, and the end.
  uint32_t directory() const { return directory_; }
  uint32_t end() const { return out_.position(); }

 private:
  static constexpr size_t kMaxEntries = 20;

  Status write_values();
  Status write_longs(std::span<const uint32_t> values, uint32_t& position);
  bool has_resolution() const;
  Status write_rationals(uint32_t& position);
  Status write_color_map(uint32_t& position);
  void put16(uint8_t* at, uint32_t value) const;
  void put32(uint8_t* at, uint32_t value) const;
  void add(Tag tag, Type type, uint32_t count, uint32_t value);
  void add_list(Tag tag, std::span<const uint32_t> values, uint32_t position);
  void add_tags(int32_t page_index);
  Status write_directory();

  Output out_;
  StripWriter strip_;
  uint32_t orientation_;
  ByteOrder order_;
  const BitmapHandle* picture_ = nullptr;
  const Variant* variant_ = nullptr;
  int32_t depth_ = 0;
  Look look_;
  size_t row_bytes_ = 0;
  uint32_t rows_per_strip_ = 0;
  uint32_t next_row_ = 0;
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

Status PageWriter::prepare(const BitmapHandle& picture, int32_t depth, const Variant& variant,
                           bool& inverts) {
  picture_ = &picture;
  variant_ = &variant;
  depth_ = depth;
  look_ = choose_look(picture, depth, variant);
  inverts = look_.inverts;
  if (picture.Width < 1 || picture.Height < 1) return kBadSize;
  const uint64_t bytes = row_bytes(picture, depth);
  if (bytes > INT32_MAX) return kBadSize;
  row_bytes_ = static_cast<size_t>(bytes);
  const auto height = static_cast<uint32_t>(picture.Height);
  const uint32_t wanted = picture.WriterDefaults[0];
  const auto usual = std::max(static_cast<uint32_t>(kStripBytes / bytes), 1u);
  rows_per_strip_ = std::min(wanted != 0 ? wanted : usual, height);
  const uint32_t strips = (height - 1) / rows_per_strip_ + 1;
  TRY(offsets_.allocate(strips));
  TRY(sizes_.allocate(strips));
  return strip_.start(variant, picture, depth, look_.photometric != kPalette);
}

// Directories and values begin at even positions (section 2).
Status PageWriter::begin(uint32_t position, ByteOrder order) {
  order_ = order;
  out_.start(position);
  return out_.make_even();
}

// Strips begin at even positions, too.
Status PageWriter::put_row(std::span<const uint8_t> row) {
  const uint32_t strip = next_row_ / rows_per_strip_;
  if (next_row_ % rows_per_strip_ == 0) {
    offsets_[strip] = out_.position();
    TRY(strip_.begin_strip());
  }
  TRY(strip_.add(row.first(row_bytes_)));
  ++next_row_;
  if (next_row_ % rows_per_strip_ != 0 && next_row_ != static_cast<uint32_t>(picture_->Height)) {
    return kOk;
  }
  TRY(strip_.finish_strip());
  sizes_[strip] = out_.position() - offsets_[strip];
  return out_.make_even();
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

// Section 8 wants a resolution; a picture without one has none to give.
bool PageWriter::has_resolution() const {
  return picture_->XResolution > 0 && picture_->YResolution > 0;
}

// XResolution and YResolution, over 1.
Status PageWriter::write_rationals(uint32_t& position) {
  const std::array<uint32_t, 4> values = {static_cast<uint32_t>(picture_->XResolution), 1,
                                          static_cast<uint32_t>(picture_->YResolution), 1};
  return write_longs(values, position);
}

// Section 5: all reds, all greens, all blues, 16 bits each, 65535 being full.
Status PageWriter::write_color_map(uint32_t& position) {
  position = out_.position();
  for (const auto channel : {&T_PaletteEntry::Red, &T_PaletteEntry::Green, &T_PaletteEntry::Blue}) {
    for (uint32_t i = 0; i < 1u << depth_; ++i) {
      std::array<uint8_t, 2> bytes;
      put16(bytes.data(), picture_->Info.Palette[i].*channel * 257u);
      TRY(out_.write(bytes));
    }
  }
  return kOk;
}

Status PageWriter::write_values() {
  if (offsets_.size() > 1) {
    TRY(write_longs(offsets_.items(), offsets_at_));
    TRY(write_longs(sizes_.items(), sizes_at_));
  }
  if (has_resolution()) TRY(write_rationals(resolution_at_));
  if (look_.photometric == kPalette) TRY(write_color_map(color_map_at_));
  if (look_.photometric != kRgb) return kOk;
  sample_bits_at_ = out_.position();
  std::array<uint8_t, 6> bits;
  for (size_t i = 0; i < 6; i += 2) put16(&bits[i], 8);
  return out_.write(bits);
}

// ---- The directory ----

// Section 2: tag, type, count, and a single value (a SHORT stands in the first half of its field)
// or the position of several.
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

// In the order of their numbers, as section 2 wants it: what baseline pictures must have (sections
// 3 to 6), also where it is the default, and what the coding needs.
void PageWriter::add_tags(int32_t page_index) {
  constexpr uint32_t kPageOfSeveral = 2;  // NewSubfileType, bit 1
  constexpr uint32_t kInch = 2;           // ResolutionUnit
  const bool is_rgb = look_.photometric == kRgb;
  add(Tag::kNewSubfileType, kLong, 1, page_index > 0 ? kPageOfSeveral : 0);
  add(Tag::kImageWidth, kLong, 1, static_cast<uint32_t>(picture_->Width));
  add(Tag::kImageLength, kLong, 1, static_cast<uint32_t>(picture_->Height));
  add(Tag::kBitsPerSample, kShort, is_rgb ? 3 : 1,
      is_rgb ? sample_bits_at_ : static_cast<uint32_t>(depth_));
  add(Tag::kCompression, kShort, 1, variant_->compression);
  add(Tag::kPhotometric, kShort, 1, look_.photometric);
  if (variant_->is_fax()) add(Tag::kFillOrder, kShort, 1, 1);
  add_list(Tag::kStripOffsets, offsets_.items(), offsets_at_);
  if (orientation_ > 1) add(Tag::kOrientation, kShort, 1, orientation_);
  add(Tag::kSamplesPerPixel, kShort, 1, is_rgb ? 3 : 1);
  add(Tag::kRowsPerStrip, kLong, 1, rows_per_strip_);
  add_list(Tag::kStripByteCounts, sizes_.items(), sizes_at_);
  if (has_resolution()) {
    add(Tag::kXResolution, kRational, 1, resolution_at_);
    add(Tag::kYResolution, kRational, 1, resolution_at_ + 8);
  }
  add(Tag::kPlanarConfiguration, kShort, 1, 1);
  if (variant_->compression == kGroup3) add(Tag::kT4Options, kLong, 1, variant_->t4_options);
  if (variant_->compression == kGroup4) add(Tag::kT6Options, kLong, 1, 0);
  if (has_resolution()) add(Tag::kResolutionUnit, kShort, 1, kInch);
  if (page_index > 0) {
    add(Tag::kPageNumber, kShort, 2, 0);  // section 12
    // Two SHORTs in one field: the index, and a total of 0, as it would not stay true.
    put16(entries_.data() + size_t{entry_count_ - 1} * 12 + 8, static_cast<uint32_t>(page_index));
    put16(entries_.data() + size_t{entry_count_ - 1} * 12 + 10, 0);
  }
  if (strip_.has_predictor()) add(Tag::kPredictor, kShort, 1, 2);
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

// What the directory needs of the strips is known only now.
Status PageWriter::finish(int32_t page_index) {
  TRY(write_values());
  add_tags(page_index);
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
  return chain.pages >= T_MAX_PAGES ? kWriteError : status;
}

// The last write of a save: four bytes, after which the page is part of the file.
Status link_page(io::OutputFile& file, const Chain& chain, uint32_t directory) {
  std::array<uint8_t, 4> bytes;
  chain.order.is_big_endian ? store_be32(bytes.data(), directory)
                            : store_le32(bytes.data(), directory);
  return file.write_at(chain.link, bytes);
}

class Writer final : public io::RowWriter {
 public:
  Writer() : RowWriter(this), page_(file_, settings.save_orientation) {}

  Status prepare(const io::SaveRequest& request, const BitmapHandle& picture,
                 io::RowLayout& layout) {
    const Variant* variant = std::ranges::find(kVariants, request.format, &Variant::format);
    layout.order = T_ORDER_RGB;
    return page_.prepare(picture, request.depth, *variant, layout.inverts);
  }

  Status begin(const io::SaveRequest& request, const BitmapHandle&) {
    uint32_t position = kHeaderBytes;
    TRY(file_.open(request.name, request.target));
    if (request.target == io::Target::kExtend) {
      TRY(find_chain(file_, chain_));
      TRY(file_.seek_end(position));
    } else {
      TRY(file_.write(kNewHeader));
    }
    return page_.begin(position, chain_.order);
  }

  Status put_row(std::span<const uint8_t> row) { return page_.put_row(row); }

  Status finish() {
    TRY(page_.finish(chain_.pages));
    TRY(link_page(file_, chain_, page_.directory()));
    return file_.finish();
  }

 private:
  io::OutputFile file_;
  PageWriter page_;
  Chain chain_;
};

}  // namespace

bool is_container(std::span<const uint8_t> head) {
  if (head.size() < 4) return false;
  return (head[0] == 'I' && head[1] == 'I' && head[2] != 0) ||
         (head[0] == 'M' && head[1] == 'M' && head[2] == 0);
}

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

// Positions in the file count from its first byte, wherever that lies.
Status write_inside(io::OutputFile& file, uint64_t offset, const BitmapHandle& picture,
                    int32_t depth, std::span<const uint8_t> row, FunctionRef<Status()> next_row,
                    uint32_t& bytes) {
  BitmapHandle described = picture;
  described.WriterDefaults[0] = static_cast<uint32_t>(picture.Height);  // rows of a strip
  const int32_t format = depth <= 8 ? T_FORMAT_TIFF_PACKBITS : T_FORMAT_TIFF;
  const Variant* variant = std::ranges::find(kVariants, format, &Variant::format);
  PageWriter page(file);
  bool inverts = false;  // fax codings alone
  TRY(page.prepare(described, depth, *variant, inverts));
  TRY(file.write(kNewHeader));
  TRY(page.begin(kHeaderBytes, {}));
  for (int32_t y = 0; y < picture.Height; ++y) {
    TRY(next_row());
    TRY(page.put_row(row));
  }
  TRY(page.finish(0));
  bytes = page.end();
  Chain chain;
  chain.link += offset;
  return link_page(file, chain, page.directory());
}

}  // namespace tavo::tiff
