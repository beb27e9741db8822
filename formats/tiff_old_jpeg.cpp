#include "formats/tiff_old_jpeg.h"

#include <algorithm>
#include <array>

#include "base/endian.h"

namespace tavo::tiff {

namespace {

constexpr size_t kMaxHeaderBytes = 4096;
constexpr size_t kSums = 16;  // codes of each length, in front of a Huffman table's values

// The next two bytes, unread; 0 when there are fewer.
uint16_t peek(ByteSource& bytes) {
  const bool is_read = bytes.look_ahead(2).ok() && bytes.window().size() >= 2;
  return is_read ? load_be16(bytes.window().data()) : 0;
}

constexpr uint16_t code(int marker) { return static_cast<uint16_t>(0xFF00 | marker); }

// A header made of what tags say (TIFF 6.0, section 22): the design of that section, in which the
// strips hold nothing but entropy-coded data. It has no place for the frame header, so sizes and
// sampling come from the tags that TIFF has anyway.
class HeaderMaker {
 public:
  HeaderMaker(const Directory& directory, const Image& image)
      : directory_(directory), image_(image) {}

  Status make();
  std::span<const uint8_t> bytes() const { return bytes_.bytes().first(used_); }

 private:
  void put(uint32_t byte) { bytes_.data()[used_++] = static_cast<uint8_t>(byte); }
  void put16(uint32_t value) {
    put(value >> 8);
    put(value & 0xFF);
  }
  void put_start(int marker, size_t body_bytes) {
    put16(code(marker));
    put16(static_cast<uint32_t>(body_bytes + 2));
  }
  // Tables of pictures without such a tag stand elsewhere: one for brightness, one for colour.
  uint32_t table_of(Tag tag, uint32_t component) const {
    return directory_.has(tag) ? component : std::min(component, 1u);
  }
  Status read_table(Tag tag, uint32_t component, uint32_t skipped, std::span<uint8_t> into) const;
  Status put_quantisers();
  Status put_huffman(Tag tag, uint32_t table_class);
  Status put_frame();
  void put_scan();

  const Directory& directory_;
  const Image& image_;
  Buffer bytes_;
  size_t used_ = 0;
};

// Components may share a table, or its position be given once for all.
Status HeaderMaker::read_table(Tag tag, uint32_t component, uint32_t skipped,
                               std::span<uint8_t> into) const {
  uint64_t position = 0;
  const uint64_t last = directory_.field(tag).count - 1;
  TRY(directory_.value(tag, std::min<uint64_t>(component, last), position));
  TRY(directory_.file().seek(position + skipped));
  return directory_.file().read(into);
}

// JPEGQTables: positions of 64 bytes in zigzag order, which make a DQT segment (ISO/IEC 10918-1,
// B.2.4.1).
Status HeaderMaker::put_quantisers() {
  if (!directory_.has(Tag::kJpegQTables)) return kOk;
  for (uint32_t i = 0; i < image_.samples; ++i) {
    std::array<uint8_t, jpeg::kBlockSize> table;
    TRY(read_table(Tag::kJpegQTables, i, 0, table));
    put_start(jpeg::marker::kDqt, 1 + table.size());
    put(i);
    for (const uint8_t value : table) put(value);
  }
  return kOk;
}

// JPEGDCTables and JPEGACTables: 16 counts and the values, as a DHT segment has them (B.2.4.2).
Status HeaderMaker::put_huffman(Tag tag, uint32_t table_class) {
  if (!directory_.has(tag)) return kOk;
  for (uint32_t i = 0; i < image_.samples; ++i) {
    std::array<uint8_t, kSums + 256> table;
    TRY(read_table(tag, i, 0, std::span(table).first(kSums)));
    size_t codes = 0;
    for (size_t length = 0; length < kSums; ++length) codes += table[length];
    if (codes > 256) return kBadData;
    TRY(read_table(tag, i, kSums, std::span(table).subspan(kSums, codes)));
    put_start(jpeg::marker::kDht, 1 + kSums + codes);
    put(table_class << 4 | i);
    for (size_t j = 0; j < kSums + codes; ++j) put(table[j]);
  }
  return kOk;
}

// SOF0 (B.2.2), of one strip or tile. YCbCrSubSampling is 2, 2 by default.
Status HeaderMaker::put_frame() {
  const bool shares_colors = image_.photometric == kYCbCr;
  uint32_t h = 0;
  uint32_t v = 0;
  TRY(directory_.get(Tag::kYCbCrSubSampling, 2, h, 0));
  TRY(directory_.get(Tag::kYCbCrSubSampling, 2, v, 1));
  put_start(jpeg::marker::kSof0, 6 + 3 * size_t{image_.samples});
  put(8);
  put16(std::min(image_.block_height, uint32_t{UINT16_MAX}));
  put16(image_.block_width);
  put(image_.samples);
  for (uint32_t i = 0; i < image_.samples; ++i) {
    const bool is_brightness = i == 0 && shares_colors;
    put(i + 1);
    put(is_brightness ? (h & 15) << 4 | (v & 15) : 0x11);
    put(table_of(Tag::kJpegQTables, i));
  }
  return kOk;
}

// SOS (B.2.3) of all components.
void HeaderMaker::put_scan() {
  put_start(jpeg::marker::kSos, 4 + 2 * size_t{image_.samples});
  put(image_.samples);
  for (uint32_t i = 0; i < image_.samples; ++i) {
    put(i + 1);
    put(table_of(Tag::kJpegDcTables, i) << 4 | table_of(Tag::kJpegAcTables, i));
  }
  put(0);
  put(63);
  put(0);
}

// DRI (B.2.4.4) is there even when its interval is 0, for none.
Status HeaderMaker::make() {
  if (image_.block_width > UINT16_MAX) return kBadData;
  TRY(bytes_.allocate(kMaxHeaderBytes));
  put16(code(jpeg::marker::kSoi));
  TRY(put_quantisers());
  TRY(put_huffman(Tag::kJpegDcTables, 0));
  TRY(put_huffman(Tag::kJpegAcTables, 1));
  TRY(put_frame());
  uint32_t interval = 0;
  TRY(directory_.get(Tag::kJpegRestartInterval, 0, interval));
  put_start(jpeg::marker::kDri, 2);
  put16(interval & UINT16_MAX);
  put_scan();
  return kOk;
}

// Looks for the header in one place after the other.
class Finder {
 public:
  Finder(const Directory& directory, const Image& image, BlockTable& blocks, FilePart& part,
         ByteSource& bytes, jpeg::Decoder& decoder)
      : directory_(directory),
        image_(image),
        blocks_(blocks),
        part_(part),
        bytes_(bytes),
        decoder_(decoder),
        options_(read_options(image)) {}

  Status find(JpegLayout& layout);

 private:
  bool begins_stream(uint64_t position);
  bool is_in_strips(JpegLayout& layout);
  Status read_interchange_format(uint32_t header, JpegLayout& layout);
  JpegLayout choose_layout(bool is_within) const;
  uint64_t block_count() const { return uint64_t{image_.blocks_across} * image_.blocks_down; }

  const Directory& directory_;
  const Image& image_;
  BlockTable& blocks_;
  FilePart& part_;
  ByteSource& bytes_;
  jpeg::Decoder& decoder_;
  const jpeg::ReadOptions options_;
  uint64_t strip_ = 0;  // position of the first one
  bool has_strip_ = false;
};

// Whether an SOI marker stands there.
bool Finder::begins_stream(uint64_t position) {
  part_.set(directory_.file(), position, blocks_.rest(position), false);
  bytes_.reset();
  return peek(bytes_) == code(jpeg::marker::kSoi);
}

// When the first strip begins a stream: whether it is the only one.
bool Finder::is_in_strips(JpegLayout& layout) {
  if (!has_strip_ || !begins_stream(strip_)) return false;
  uint64_t second = 0;
  uint64_t size = 0;
  const bool has_more =
      block_count() > 1 && blocks_.find(1, second, size).ok() && begins_stream(second);
  const bool is_whole = block_count() > 1 && !has_more && !image_.is_tiled;
  layout = is_whole ? JpegLayout::kWhole : JpegLayout::kStreams;
  return begins_stream(strip_);
}

// A stream of which the strips may be part, or its header alone: that may end anywhere before the
// data, which then follow, be it elsewhere.
Status Finder::read_interchange_format(uint32_t header, JpegLayout& layout) {
  uint32_t length = 0;
  TRY(directory_.get(Tag::kJpegInterchangeFormatLength, 0, length));
  uint64_t header_bytes = blocks_.rest(header);
  if (length != 0) header_bytes = std::min<uint64_t>(header_bytes, length);
  if (has_strip_ && strip_ > header) header_bytes = std::min(header_bytes, strip_ - header);
  part_.set(directory_.file(), header, header_bytes, false);
  if (has_strip_) part_.append(strip_, blocks_.rest(strip_));
  bytes_.reset();
  TRY(decoder_.read_header(bytes_, options_));
  const bool is_within = !has_strip_ || (strip_ >= header && strip_ - header < length);
  layout = choose_layout(is_within);
  if (!is_within && decoder_.restart_interval() == 0) {
    uint32_t interval = 0;
    TRY(directory_.get(Tag::kJpegRestartInterval, 0, interval));
    decoder_.set_restart_interval(interval & UINT16_MAX);
  }
  return kOk;
}

// `is_within`: the first strip lies in the stream whose header has been read. Pieces begin anew,
// which needs whole MCU rows, or a header that is a strip's.
JpegLayout Finder::choose_layout(bool is_within) const {
  const jpeg::Frame& frame = decoder_.frame();
  const bool is_even =
      image_.block_height % (8 * frame.v_max) == 0 || frame.height == image_.block_height;
  const bool is_whole = block_count() == 1 || is_within || !decoder_.is_single_scan() || !is_even;
  return is_whole && !image_.is_tiled ? JpegLayout::kWhole : JpegLayout::kParts;
}

// First the strips, as a stream there leaves nothing open; then JPEGInterchangeFormat; at last the
// tags of tables. A header that is damaged or missing leads on to the next place.
Status Finder::find(JpegLayout& layout) {
  uint64_t size = 0;
  has_strip_ = blocks_.find(0, strip_, size).ok();
  if (is_in_strips(layout)) {
    return layout == JpegLayout::kWhole ? decoder_.read_header(bytes_, options_) : kOk;
  }
  uint32_t header = 0;
  TRY(directory_.get(Tag::kJpegInterchangeFormat, 0, header));
  if (header != 0 && blocks_.contains(header) && begins_stream(header)) {
    const Status status = read_interchange_format(header, layout);
    if (status != kBadData && status != kReadError) return status;
  }
  TRY(directory_.file().failure());
  // Tables that were found there, if any, stay in force.
  HeaderMaker maker(directory_, image_);
  TRY(maker.make());
  ByteSource made(maker.bytes());
  layout = JpegLayout::kParts;
  return decoder_.read_header(made, options_);
}

}  // namespace

Status skip_markers(ByteSource& bytes) {
  const uint16_t head = peek(bytes);
  if (head >= code(jpeg::marker::kRst0) && head <= code(jpeg::marker::kRst7)) return bytes.skip(2);
  if (head != code(jpeg::marker::kSos)) return kOk;
  std::array<uint8_t, 4> start;
  TRY(bytes.read(start));
  const uint32_t length = load_be16(&start[2]);
  return length < 2 ? kBadData : bytes.skip(length - 2);
}

jpeg::ReadOptions read_options(const Image& image) {
  jpeg::ReadOptions options;
  options.is_smooth = image.compression == kJpeg;
  switch (image.photometric) {
    case kRgb:
      if (image.compression == kJpeg) options.color = jpeg::ColorSpace::kRgb;
      break;
    case kSeparated:  // the samples count ink (TIFF 6.0, section 16)
      options.color = jpeg::ColorSpace::kCmyk;
      break;
    case kYCbCr:
      options.color = jpeg::ColorSpace::kYcc;
      break;
    default:
      options.color = jpeg::ColorSpace::kGray;
  }
  return options;
}

Status open_old_jpeg(const Directory& directory, const Image& image, BlockTable& blocks,
                     FilePart& part, ByteSource& bytes, jpeg::Decoder& decoder,
                     JpegLayout& layout) {
  TRY(Finder(directory, image, blocks, part, bytes, decoder).find(layout));
  const bool is_one_plane = decoder.is_single_scan() && !image.is_planar;
  return layout == JpegLayout::kParts && !is_one_plane ? kSubtype : kOk;
}

}  // namespace tavo::tiff
