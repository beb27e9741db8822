#include "compress/stream_writer.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "base/settings.h"
#include "codec/jpeg/tables.h"
#include "compress/cmp_layout.h"

namespace tavo::compress {

namespace {

// Marker codes (ISO/IEC 10918-1, table B.1).
constexpr uint8_t kApp0 = 0xE0, kApp1 = 0xE1, kComment = 0xFE, kQuantisers = 0xDB,
                  kHuffmanTables = 0xC4;
constexpr uint8_t kBaselineFrame = 0xC0, kScan = 0xDA;
constexpr uint8_t kIndexedStamp = 0x11, kColorStamp = 0x13;  // JFXX extension codes
constexpr size_t kMaxSegment = 65535;

// Gathers the bytes of one segment (B.1.1.4): marker, length, which counts itself but not the
// marker, parameters; big-endian, as all of JPEG.
class Segment {
 public:
  explicit Segment(uint8_t marker) {
    put(0xFF);
    put(marker);
    put16(0);  // the length, known at the end
  }
  void put(uint32_t byte) { bytes_[size_++] = static_cast<uint8_t>(byte); }
  void put16(uint32_t value) {
    store_be16(&bytes_[size_], static_cast<uint16_t>(value));
    size_ += 2;
  }
  void put(std::span<const uint8_t> bytes) {
    std::memcpy(&bytes_[size_], bytes.data(), bytes.size());
    size_ += bytes.size();
  }
  void put_text(const char* text, size_t size) {
    put({reinterpret_cast<const uint8_t*>(text), size});
  }
  // `more` bytes of the segment follow that were not put here.
  Status write(ByteSink& sink, size_t more = 0) {
    store_be16(&bytes_[2], static_cast<uint16_t>(size_ - 2 + more));
    return sink.append(std::span(bytes_).first(size_));
  }

 private:
  std::array<uint8_t, 512> bytes_;  // the longest, all Huffman tables, has 420
  size_t size_ = 0;
};

// JFIF 1.02, "JFIF APP0 marker segment". kept: it calls itself version 1.00, and without the
// setting it gives densities without a unit.
Status write_jfif(const StreamDescription& stream, ByteSink& sink) {
  Segment segment(kApp0);
  segment.put_text("JFIF", 5);
  segment.put16(0x0100);  // version
  // No unit: the density is the bitmap's, whatever that counts. There is none without a density.
  const bool has_density = stream.x_resolution > 0 && stream.y_resolution > 0;
  const bool has_unit = !stream.coding.is_cmp && settings.jfif_dots_per_inch && has_density;
  segment.put(has_unit ? 1u : 0u);
  // CMP files carry the resolution in their trailer.
  segment.put16(stream.coding.is_cmp ? 0 : static_cast<uint32_t>(stream.x_resolution));
  segment.put16(stream.coding.is_cmp ? 0 : static_cast<uint32_t>(stream.y_resolution));
  segment.put16(0);  // no thumbnail here
  return segment.write(sink);
}

// More than a Segment has room for, and the same in both kinds of files.
Status write_stamp_data(const Stamp& stamp, ByteSink& sink) {
  TRY(sink.append(stamp.palette));
  return sink.append(stamp.pixels);
}

// JFIF 1.02, "JFIF extension APP0 marker segment": 0x11 is a thumbnail of a byte a pixel behind its
// palette, 0x13 one of three bytes a pixel. kept: the latter's bytes are blue, green, red, where
// JFIF has red first; the palette has red first.
Status write_stamp_segment(const Stamp& stamp, ByteSink& sink) {
  Segment segment(kApp0);
  segment.put_text("JFXX", 5);
  segment.put(stamp.bits == 8 ? kIndexedStamp : kColorStamp);
  segment.put(stamp.width);
  segment.put(stamp.height);
  TRY(segment.write(sink, stamp.data_size()));
  return write_stamp_data(stamp, sink);
}

// Exif 2.32, 4.5.2 and 4.5.4: a TIFF file of one directory with one entry, the orientation (4.6.4).
Status write_orientation(ByteSink& sink) {
  constexpr uint32_t kDirectoryAt = 8, kOrientation = 0x0112, kShort = 3;
  Segment segment(kApp1);
  segment.put_text("Exif\0\0MM", 8);
  segment.put16(42);
  segment.put16(0);
  segment.put16(kDirectoryAt);
  segment.put16(1);
  segment.put16(kOrientation);
  segment.put16(kShort);
  segment.put16(0);
  segment.put16(1);  // value
  segment.put16(settings.save_orientation);
  for (int i = 0; i < 3; ++i) segment.put16(0);  // the field's other half, and no next directory
  return segment.write(sink);
}

// B.2.4.5. Readers of this library take from it which way up the rows are stored.
Status write_comment(const StreamDescription& stream, ByteSink& sink) {
  Segment segment(kComment);
  segment.put_text(stream.is_top_first ? cmp::kTopFirstComment : cmp::kBottomFirstComment,
                   cmp::kCommentSize);
  return segment.write(sink);
}

// Grey pictures have one table; equal tables, as a custom one makes them, are written once and used
// by all components.
bool has_second_table(const StreamDescription& stream) {
  return !stream.coding.is_gray && stream.luminance != stream.chrominance;
}

// B.2.4.1, all tables in one segment, 8 bits each.
Status write_quantisers(const StreamDescription& stream, ByteSink& sink) {
  Segment segment(kQuantisers);
  segment.put(0);
  segment.put(stream.luminance);
  if (has_second_table(stream)) {
    segment.put(1);
    segment.put(stream.chrominance);
  }
  return segment.write(sink);
}

// B.2.4.2, all tables in one segment, those of K.3: class 0 is DC, 1 AC.
Status write_huffman_tables(const StreamDescription& stream, ByteSink& sink) {
  Segment segment(kHuffmanTables);
  const size_t tables = stream.coding.is_gray ? 1 : 2;
  for (const auto* specs : {&jpeg::kStandardDc, &jpeg::kStandardAc}) {
    const uint32_t table_class = specs == &jpeg::kStandardAc ? 0x10 : 0;
    for (size_t i = 0; i < tables; ++i) {
      segment.put(table_class | static_cast<uint32_t>(i));
      segment.put((*specs)[i].counts);
      segment.put((*specs)[i].symbols);
    }
  }
  return segment.write(sink);
}

// B.2.2: baseline (SOF0). Components are numbered from 1, as JFIF 1.02 has them.
Status write_frame(const StreamDescription& stream, ByteSink& sink) {
  const uint32_t components = stream.coding.is_gray ? 1 : 3;
  Segment segment(kBaselineFrame);
  segment.put(8);  // bits of a sample
  segment.put16(stream.coded_rows);
  segment.put16(stream.width);
  segment.put(components);
  for (uint32_t i = 0; i < components; ++i) {
    segment.put(i + 1);
    segment.put(i == 0 ? stream.coding.horizontal << 4 | stream.coding.vertical : 0x11u);
    segment.put(i != 0 && has_second_table(stream) ? 1u : 0u);
  }
  return segment.write(sink);
}

// B.2.3: one scan of all components.
Status write_scan_header(const StreamDescription& stream, ByteSink& sink) {
  const uint32_t components = stream.coding.is_gray ? 1 : 3;
  Segment segment(kScan);
  segment.put(components);
  for (uint32_t i = 0; i < components; ++i) {
    segment.put(i + 1);
    segment.put(i == 0 ? 0x00u : 0x11u);  // DC table, AC table
  }
  segment.put(0);   // first coefficient
  segment.put(63);  // last
  segment.put(0);   // no successive approximation
  return segment.write(sink);
}

// kept: grey pictures have the flag of full chroma, too, and none of half height.
uint8_t cmp_flags(const CodingParameters& coding) {
  if (coding.is_gray) return cmp::kGray | cmp::kFull;
  uint8_t flags = coding.is_half_height ? cmp::kHalfHeight : uint8_t{0};
  if (coding.horizontal == 1) flags |= cmp::kFull;
  if (coding.vertical == 2) flags |= cmp::kQuarter;
  return flags;
}

}  // namespace

// A length of 16 bits, less itself, "JFXX" with its zero, the code and the stamp's size.
bool fits_segment(const Stamp& stamp) { return stamp.data_size() + 10 <= kMaxSegment; }

// The header, then the stamp with three bytes of its own before it.
Status write_cmp_header(const StreamDescription& stream, ByteSink& sink) {
  std::array<uint8_t, cmp::kHeaderSize> header = {};
  std::ranges::copy(cmp::kMagic, header.begin());
  header[cmp::kStampOffset] = stream.stamp != nullptr ? cmp::kHasStamp : uint8_t{0};
  header[cmp::kFlagsOffset] = cmp_flags(stream.coding);
  store_le16(&header[cmp::kWidthOffset], static_cast<uint16_t>(stream.width));
  store_le16(&header[cmp::kHeightOffset], static_cast<uint16_t>(stream.coded_rows));
  header[cmp::kDepthOffset] = stream.coding.is_gray ? 8 : 24;
  header[cmp::kOrderOffset] = stream.is_top_first ? cmp::kTopFirst : uint8_t{0};
  store_le16(&header[cmp::kQualityOffset], static_cast<uint16_t>(stream.coding.value));
  TRY(sink.append(header));
  if (stream.stamp == nullptr) return kOk;
  const Stamp& stamp = *stream.stamp;
  const uint8_t stamp_header[] = {static_cast<uint8_t>(stamp.width),
                                  static_cast<uint8_t>(stamp.height),
                                  static_cast<uint8_t>(stamp.bits)};
  TRY(sink.append(stamp_header));
  return write_stamp_data(stamp, sink);
}

// kept: the order of segments. JFIF 1.02 wants its own behind SOI and its extension next; for the
// others B.2.1 has none but tables before the frame that needs them.
Status write_stream_header(const StreamDescription& stream, ByteSink& sink) {
  constexpr uint8_t kStart[] = {0xFF, 0xD8};
  TRY(sink.append(kStart));
  TRY(write_jfif(stream, sink));
  if (stream.stamp != nullptr) TRY(write_stamp_segment(*stream.stamp, sink));
  if (!stream.coding.is_cmp && settings.save_orientation > 1) TRY(write_orientation(sink));
  TRY(write_comment(stream, sink));
  TRY(write_quantisers(stream, sink));
  TRY(write_huffman_tables(stream, sink));
  TRY(write_frame(stream, sink));
  return write_scan_header(stream, sink);
}

// B.2.1: EOI.
Status write_stream_end(ByteSink& sink) {
  constexpr uint8_t kEnd[] = {0xFF, 0xD9};
  return sink.append(kEnd);
}

// kept: resolutions beyond 65535 lose their upper bits.
std::array<uint8_t, 12> cmp_trailer(const StreamDescription& stream) {
  static_assert(cmp::kTrailerSize == 12);
  std::array<uint8_t, cmp::kTrailerSize> trailer = {};
  std::ranges::copy(cmp::kMagic, trailer.begin());
  store_le16(&trailer[4], static_cast<uint16_t>(stream.x_resolution));
  store_le16(&trailer[6], static_cast<uint16_t>(stream.y_resolution));
  return trailer;
}

}  // namespace tavo::compress
