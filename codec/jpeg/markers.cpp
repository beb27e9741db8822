#include "codec/jpeg/markers.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "base/endian.h"

namespace tavo::jpeg {
namespace {

uint32_t divide_up(uint32_t value, uint32_t by) { return (value + by - 1) / by; }

// Markers that stand alone (table B.1). A second SOI or a stray RST says nothing here.
bool has_no_segment(int code) {
  return code == marker::kTem || code == marker::kSoi ||
         (code >= marker::kRst0 && code <= marker::kRst7);
}

// SOF0 to SOF15 (table B.1); DHT, JPG and DAC lie between them.
bool is_frame_header(int code) {
  return code >= marker::kSof0 && code <= marker::kSof15 && code != marker::kDht &&
         code != marker::kJpg && code != marker::kDac;
}

}  // namespace

// A.1.1: a component has ceil(X * Hi / Hmax) columns.
void Frame::set_width(uint32_t columns) {
  width = columns;
  mcus_wide = divide_up(columns, 8 * h_max);
  for (size_t i = 0; i < count; ++i) {
    Component& c = components[i];
    c.width = divide_up(columns * c.h, h_max);
    c.blocks_wide = divide_up(c.width, 8);
  }
}

// A.1.1: and ceil(Y * Vi / Vmax) lines, whatever its MCUs are padded to (A.2.4).
void Frame::set_height(uint32_t lines) {
  height = lines;
  mcus_high = divide_up(lines, 8 * v_max);
  for (size_t i = 0; i < count; ++i) {
    Component& c = components[i];
    c.height = divide_up(lines * c.v, v_max);
    c.blocks_high = divide_up(c.height, 8);
  }
}

// A segment that says less than its kind has is damaged; one that says more is passed to its end.
Status MarkerReader::take(std::span<uint8_t> into) {
  if (into.size() > left_) return kBadData;
  left_ -= static_cast<uint32_t>(into.size());
  return source_.read(into);
}

// What a segment has beyond what its kind needs, or all of one that nobody reads.
Status MarkerReader::skip_rest() {
  const uint32_t count = left_;
  left_ = 0;
  return source_.skip(count);
}

// B.2.1: SOI is the first. kept: nothing may stand before it; what a file has there is its
// format's.
Status MarkerReader::read_start() {
  std::array<uint8_t, 2> bytes;
  TRY(source_.read(bytes));
  return bytes[0] == 0xFF && bytes[1] == marker::kSoi ? kOk : kBadData;
}

// Passes whatever is no marker: fill bytes of 0xFF before one (B.1.1.2), what stands between
// segments though nothing should, and the data of scans that nobody wants, where FF 00 is a byte
// (B.1.1.5).
Status MarkerReader::next_marker(int& code) {
  for (;;) {
    const std::span<const uint8_t> window = source_.window();
    const void* found = window.empty() ? nullptr : std::memchr(window.data(), 0xFF, window.size());
    if (found == nullptr) {
      source_.consume(window.size());
      TRY(source_.refill());
      if (source_.window().empty()) return kReadError;
      continue;
    }
    source_.consume(static_cast<size_t>(static_cast<const uint8_t*>(found) - window.data()));
    int byte = 0xFF;
    while (byte == 0xFF) byte = source_.get();
    if (byte < 0) return source_.shortage();
    if (byte == 0) continue;
    code = byte;
    return kOk;
  }
}

// kept: data that end between segments are a status of their own, not an error: where EOI
// alone is missing the picture is whole.
Status MarkerReader::read_segments(Frame& frame, Scan& scan, Extras& extras, SegmentEnd& end) {
  for (;;) {
    int code = 0;
    if (!next_marker(code).ok()) {
      end = SegmentEnd::kCutShort;
      return kOk;
    }
    if (code == marker::kEoi) {
      end = SegmentEnd::kEndOfImage;
      return kOk;
    }
    if (has_no_segment(code)) continue;
    std::array<uint8_t, 2> length;
    TRY(source_.read(length));
    // A length counts itself. Segments that say less are empty: of those that nobody needs that is
    // no loss.
    left_ = std::max<uint32_t>(load_be16(length.data()), 2) - 2;
    TRY(read_segment(code, frame, scan, extras));
    TRY(skip_rest());
    if (code == marker::kSos) {
      end = SegmentEnd::kScan;
      return kOk;
    }
  }
}

// Segments of other kinds (APPn, DHP, EXP and whatever is reserved) are passed by their
// length. Exif data, in APP1, turn no picture: what is stored is what is shown.
Status MarkerReader::read_segment(int code, Frame& frame, Scan& scan, Extras& extras) {
  if (is_frame_header(code)) return read_frame(code, frame);
  switch (code) {
    case marker::kSos:
      return read_scan(frame, scan);
    case marker::kDqt:
      return read_quantisers();
    case marker::kDht:
      return read_huffman();
    case marker::kDac:
      return read_conditioning();
    case marker::kDri:
      return read_restart_interval();
    case marker::kDnl:
      return read_line_count(frame);
    case marker::kCom:
      return read_comment(extras);
    case marker::kApp0:
    case marker::kApp1:
    case marker::kApp2:
    case marker::kApp14:
      return read_application(code, extras);
    default:
      return kOk;
  }
}

// B.2.2: precision, Y, X, Nf, then Ci, Hi and Vi, Tqi of each component. Sequential and
// progressive DCT processes of 8-bit samples are decoded, not lossless and hierarchical ones (table
// B.1). The size of any picture is told all the same, for whoever asks what a file holds.
Status MarkerReader::read_frame(int code, Frame& frame) {
  if (frame.count != 0) return kBadData;  // a second frame header
  std::array<uint8_t, 6> head;
  TRY(take(head));
  frame.is_arithmetic = code == marker::kSof9 || code == marker::kSof10;
  frame.is_progressive = code == marker::kSof2 || code == marker::kSof10;
  const bool is_known = code <= marker::kSof2 || frame.is_arithmetic;
  // 8 or 12 bits in DCT processes, 2 to 16 in lossless ones (table B.2).
  const bool is_supported = is_known && head[0] == 8;
  if (head[0] < 8 && is_known) return kBadData;
  frame.width = load_be16(&head[3]);
  const size_t count = head[5];
  if (frame.width == 0 || count == 0 || count > kMaxComponents) return kBadData;
  for (size_t i = 0; i < count; ++i) {
    std::array<uint8_t, 3> bytes;
    TRY(take(bytes));
    Component& c = frame.components[i];
    c.id = bytes[0];
    c.h = bytes[1] >> 4;
    c.v = bytes[1] & 15;
    c.quantiser = bytes[2];
    if (c.h < 1 || c.h > 4 || c.v < 1 || c.v > 4 || c.quantiser >= kMaxTables) return kBadData;
  }
  // A single component is never interleaved, so that its factors say nothing (A.2.2). Grey streams
  // with 2 x 2 exist; taken at their word every second block would be lost.
  if (count == 1) frame.components[0].h = frame.components[0].v = 1;
  frame.count = count;
  frame.h_max = frame.v_max = 1;
  for (size_t i = 0; i < count; ++i) {
    frame.h_max = std::max<uint32_t>(frame.h_max, frame.components[i].h);
    frame.v_max = std::max<uint32_t>(frame.v_max, frame.components[i].v);
  }
  frame.set_width(frame.width);
  frame.set_height(load_be16(&head[1]));
  return is_supported ? kOk : kSubtype;
}

namespace {

// Tdj and Taj are 0 to 3 (table B.3). What a progressive scan has no use for (G.1.2) is some number
// in damaged streams, and becomes 0.
Status check_tables(const Frame& frame, Scan& scan) {
  const bool needs_dc = !frame.is_progressive || (scan.band.first == 0 && !scan.band.is_refining);
  const bool needs_ac = !frame.is_progressive || scan.band.first > 0;
  for (ScanComponent& c : std::span(scan.components).first(scan.count)) {
    if (!needs_dc) c.dc_table = 0;
    if (!needs_ac) c.ac_table = 0;
    if (c.dc_table >= kMaxTables || c.ac_table >= kMaxTables) return kBadData;
  }
  return kOk;
}

}  // namespace

// B.2.3: Ns, then Csj, Tdj and Taj of each component, then Ss, Se, Ah and Al.
//
// kept: B.2.3 wants at most 10 blocks in an MCU and components in the order of the frame; neither
// is asked for, as decoding does not depend on it.
Status MarkerReader::read_scan(const Frame& frame, Scan& scan) {
  if (frame.count == 0) return kBadData;
  std::array<uint8_t, 1> count;
  TRY(take(count));
  if (count[0] == 0 || count[0] > frame.count) return kBadData;
  std::array<bool, kMaxComponents> is_taken = {};
  scan.count = count[0];
  for (size_t i = 0; i < scan.count; ++i) {
    std::array<uint8_t, 2> bytes;
    TRY(take(bytes));
    // B.2.2 forbids to use an identifier twice; where one is, the first that is free is meant.
    size_t index = 0;
    while (index < frame.count && (is_taken[index] || frame.components[index].id != bytes[0])) {
      ++index;
    }
    if (index == frame.count) return kBadData;
    is_taken[index] = true;
    scan.components[i] = {index, size_t{bytes[1]} >> 4, bytes[1] & size_t{15}};
  }
  std::array<uint8_t, 3> bytes;
  TRY(take(bytes));
  scan.band = {.first = 0, .last = 63, .low = 0, .is_refining = false};
  // Sequential scans have Ss 0, Se 63, Ah and Al 0 (table B.3), whatever stands there.
  if (!frame.is_progressive) return check_tables(frame, scan);

  // G.1.1.1.1: a scan has the DC coefficients or a band of AC coefficients, that of one component.
  // G.1.1.1.2: refinements add one bit to those there are. Al is 13 at most (table B.3).
  const int high = bytes[2] >> 4;
  scan.band = {bytes[0], bytes[1], bytes[2] & 15, high != 0};
  const Band& band = scan.band;
  if (band.first > band.last || band.last > 63 || band.low > 13) return kBadData;
  if (band.first == 0 && band.last != 0) return kBadData;
  if (band.first != 0 && scan.count != 1) return kBadData;
  return high != 0 && band.low != high - 1 ? kBadData : check_tables(frame, scan);
}

// B.2.4.1: Pq, Tq and 64 values in zigzag order, any number of tables in a segment. Values of 16
// bits are for 12-bit samples by the standard; cjpeg writes them into 8-bit streams of low quality.
Status MarkerReader::read_quantisers() {
  while (left_ > 0) {
    std::array<uint8_t, 1> head;
    TRY(take(head));
    const size_t id = head[0] & 15;
    const size_t value_bytes = head[0] >> 4 == 0 ? 1 : 2;
    if (id >= kMaxTables || head[0] >> 4 > 1) return kBadData;
    std::array<uint8_t, 2 * kBlockSize> bytes;
    TRY(take(std::span(bytes).first(value_bytes * kBlockSize)));
    Dequantisers& table = tables_.quantisers[id];
    for (size_t k = 0; k < kBlockSize; ++k) {
      table.values[kZigzag[k]] = value_bytes == 1 ? bytes[k] : load_be16(&bytes[2 * k]);
    }
    table.is_defined = true;
  }
  return kOk;
}

// B.2.4.2: Tc, Th, the counts by length and as many symbols, any number of tables in a segment.
// Baseline has two of each class (table B.5); all four are taken in every process.
Status MarkerReader::read_huffman() {
  while (left_ > 0) {
    std::array<uint8_t, 1> head;
    HuffmanSpec spec = {};
    TRY(take(head));
    TRY(take(spec.counts));
    size_t total = 0;
    for (const uint8_t count : spec.counts) total += count;
    std::array<uint8_t, 256> symbols;
    const size_t id = head[0] & 15;
    // Tc is 0 for DC and lossless tables, 1 for AC tables (table B.5).
    if (total > symbols.size() || id >= kMaxTables || head[0] >> 4 > 1) return kBadData;
    TRY(take(std::span(symbols).first(total)));
    spec.symbols = std::span(symbols).first(total);
    if (head[0] >> 4 == 0) {
      TRY(build_table(spec, TableClass::kDc, tables_.dc[id]));
    } else {
      TRY(build_table(spec, TableClass::kAc, tables_.ac[id]));
    }
  }
  return kOk;
}

// B.2.4.3: Tc, Tb and Cs of any number of tables. L and U of DC tables are halves of a byte; Kx of
// AC tables is taken as it is, as any other than 1 to 63 only counts all coefficients to one kind.
Status MarkerReader::read_conditioning() {
  while (left_ > 0) {
    std::array<uint8_t, 2> bytes;
    TRY(take(bytes));
    const size_t id = bytes[0] & 15;
    if (id >= kMaxTables || bytes[0] >> 4 > 1) return kBadData;
    Conditioning& conditioning = tables_.conditioning;
    if (bytes[0] >> 4 == 0) {
      conditioning.dc_low[id] = bytes[1] & 15;
      conditioning.dc_high[id] = bytes[1] >> 4;
      if (conditioning.dc_low[id] > conditioning.dc_high[id]) return kBadData;
    } else {
      conditioning.ac_low[id] = bytes[1];
    }
  }
  return kOk;
}

// B.2.4.4. It may change between scans; 0 switches restarts off.
Status MarkerReader::read_restart_interval() {
  std::array<uint8_t, 2> bytes;
  TRY(take(bytes));
  tables_.restart_interval = load_be16(bytes.data());
  return kOk;
}

// B.2.5: the height, behind the first scan, where the frame header says 0. Any other is ignored.
Status MarkerReader::read_line_count(Frame& frame) {
  std::array<uint8_t, 2> bytes;
  TRY(take(bytes));
  if (frame.count != 0 && frame.height == 0) frame.set_height(load_be16(bytes.data()));
  return kOk;
}

// JFIF 1.02: "JFIF", version, units, densities, a thumbnail that is passed here. Adobe Technical
// Note 5116: "Adobe", version, two words of flags, the transform. A shorter segment is somebody
// else's.
Status MarkerReader::read_application(int code, Extras& extras) {
  std::array<uint8_t, 12> bytes = {};
  const size_t size = std::min<size_t>(left_, bytes.size());
  const auto begins = [&bytes](std::string_view text) {
    return std::memcmp(bytes.data(), text.data(), text.size()) == 0;
  };
  TRY(take(std::span(bytes).first(size)));
  if (code == marker::kApp0 && size == bytes.size() && std::memcmp(bytes.data(), "JFIF", 5) == 0) {
    extras.has_jfif = true;
    extras.density_unit = bytes[7];
    extras.x_density = load_be16(&bytes[8]);
    extras.y_density = load_be16(&bytes[10]);
  }
  if (code == marker::kApp14 && size == bytes.size() &&
      std::memcmp(bytes.data(), "Adobe", 5) == 0) {
    extras.has_adobe = true;
    extras.adobe_transform = bytes[11];
  }
  // Exif 2.32, 4.5.4; XMP, volume 3, 1.1.3; ICC.1, B.4.
  using namespace std::string_view_literals;
  if (code == marker::kApp1 && begins("Exif\0"sv))
    TRY(read_exif(std::span(bytes).subspan<6, 6>(), extras));
  extras.has_xmp |= code == marker::kApp1 && begins("http://ns.ad"sv);
  extras.has_icc |= code == marker::kApp2 && begins("ICC_PROFILE"sv);
  return kOk;
}

// Exif 2.32, 4.5.2: a TIFF file, of which `start` has come. Its first directory, which has the
// orientation (4.6.4), is in front.
Status MarkerReader::read_exif(std::span<const uint8_t, 6> start, Extras& extras) {
  constexpr size_t kMostBytes = 1024;
  constexpr uint32_t kOrientation = 0x0112;
  std::array<uint8_t, kMostBytes> tiff = {};
  std::ranges::copy(start, tiff.begin());
  TRY(take(
      std::span(tiff).subspan(start.size(), std::min<size_t>(left_, kMostBytes - start.size()))));
  extras.has_exif = true;
  const bool is_big = tiff[0] == 'M';
  const auto u16 = [&](size_t at) { return is_big ? load_be16(&tiff[at]) : load_le16(&tiff[at]); };
  const uint32_t directory = is_big ? load_be32(&tiff[4]) : load_le32(&tiff[4]);
  if (directory > kMostBytes - 2) return kOk;
  const uint32_t end = directory + 2 + 12u * u16(directory);
  for (uint32_t at = directory + 2; at < end && at <= kMostBytes - 12; at += 12) {
    const uint32_t value = u16(at + 8);
    if (u16(at) == kOrientation && value >= 1 && value <= 8) extras.orientation = value;
  }
  return kOk;
}

// B.2.4.5: any bytes.
Status MarkerReader::read_comment(Extras& extras) {
  if (extras.comment_size != 0 || left_ > extras.comment.size()) return kOk;
  const auto size = static_cast<uint8_t>(left_);
  TRY(take(std::span(extras.comment).first(size)));
  extras.comment_size = size;
  return kOk;
}

}  // namespace tavo::jpeg
