#include "codec/jpeg/markers.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"

namespace tavo::jpeg {
namespace {

uint32_t divide_up(uint32_t value, uint32_t by) { return (value + by - 1) / by; }

bool has_no_segment(int code) {
  return code == marker::kTem || code == marker::kSoi ||
         (code >= marker::kRst0 && code <= marker::kRst7);
}

bool is_frame_header(int code) {
  return code >= 0xC0 && code <= 0xCF && code != marker::kDht && code != 0xC8 &&
         code != marker::kDac;
}

}  // namespace

void Frame::set_height(uint32_t lines) {
  height = lines;
  mcus_high = divide_up(lines, 8 * v_max);
  for (size_t i = 0; i < count; ++i) {
    Component& c = components[i];
    c.height = divide_up(lines * c.v, v_max);
    c.blocks_high = divide_up(c.height, 8);
  }
}

Status MarkerReader::take(std::span<uint8_t> into) {
  if (into.size() > left_) return kBadData;
  left_ -= static_cast<uint32_t>(into.size());
  return source_.read(into);
}

Status MarkerReader::skip_rest() {
  const uint32_t count = left_;
  left_ = 0;
  return source_.skip(count);
}

Status MarkerReader::read_start() {
  std::array<uint8_t, 2> bytes;
  TRY(source_.read(bytes));
  return bytes[0] == 0xFF && bytes[1] == marker::kSoi ? kOk : kBadData;
}

// Passes whatever is no marker: padding that some writers leave, and the data of scans that nobody
// wants.
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
    if (load_be16(length.data()) < 2) return kBadData;
    left_ = load_be16(length.data()) - 2u;
    TRY(read_segment(code, frame, scan, extras));
    TRY(skip_rest());
    if (code == marker::kSos) {
      end = SegmentEnd::kScan;
      return kOk;
    }
  }
}

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
    case marker::kApp14:
      return read_application(code, extras);
    default:
      return kOk;
  }
}

Status MarkerReader::read_frame(int code, Frame& frame) {
  if (frame.count != 0) return kBadData;  // a second frame header
  std::array<uint8_t, 6> head;
  TRY(take(head));
  frame.is_arithmetic = code == marker::kSof9 || code == marker::kSof10;
  frame.is_progressive = code == marker::kSof2 || code == marker::kSof10;
  const bool is_known = code <= marker::kSof2 || frame.is_arithmetic;
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
  if (count == 1) frame.components[0].h = frame.components[0].v = 1;  // says nothing then
  frame.count = count;
  frame.h_max = frame.v_max = 1;
  for (size_t i = 0; i < count; ++i) {
    frame.h_max = std::max<uint32_t>(frame.h_max, frame.components[i].h);
    frame.v_max = std::max<uint32_t>(frame.v_max, frame.components[i].v);
  }
  frame.mcus_wide = divide_up(frame.width, 8 * frame.h_max);
  for (size_t i = 0; i < count; ++i) {
    Component& c = frame.components[i];
    c.width = divide_up(frame.width * c.h, frame.h_max);
    c.blocks_wide = divide_up(c.width, 8);
  }
  frame.set_height(load_be16(&head[1]));
  return is_supported ? kOk : kSubtype;
}

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
    size_t index = 0;  // identifiers may be used twice: the first that is free
    while (index < frame.count && (is_taken[index] || frame.components[index].id != bytes[0])) {
      ++index;
    }
    if (index == frame.count) return kBadData;
    is_taken[index] = true;
    const size_t dc_table = bytes[1] >> 4;
    const size_t ac_table = bytes[1] & 15;
    if (dc_table >= kMaxTables || ac_table >= kMaxTables) return kBadData;
    scan.components[i] = {index, dc_table, ac_table};
  }
  std::array<uint8_t, 3> bytes;
  TRY(take(bytes));
  scan.band = {.first = 0, .last = 63, .low = 0, .is_refining = false};
  if (!frame.is_progressive) return kOk;  // has no choice

  const int high = bytes[2] >> 4;
  scan.band = {bytes[0], bytes[1], bytes[2] & 15, high != 0};
  const Band& band = scan.band;
  if (band.first > band.last || band.last > 63 || band.low > 13) return kBadData;
  if (band.first == 0 && band.last != 0) return kBadData;
  if (band.first != 0 && scan.count != 1) return kBadData;
  return high != 0 && band.low != high - 1 ? kBadData : kOk;
}

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
    if (total > symbols.size() || id >= kMaxTables || head[0] >> 4 > 1) return kBadData;
    TRY(take(std::span(symbols).first(total)));
    spec.symbols = std::span(symbols).first(total);
    if (head[0] >> 4 == 0) {
      TRY(build_table(spec, TableClass::kDc, tables_.dc[id]));
    } else {
      TRY(build_table(spec, TableClass::kAc, tables_.ac[id]));
    }
    tables_.has_huffman = true;
  }
  return kOk;
}

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

Status MarkerReader::read_restart_interval() {
  std::array<uint8_t, 2> bytes;
  TRY(take(bytes));
  tables_.restart_interval = load_be16(bytes.data());
  return kOk;
}

Status MarkerReader::read_line_count(Frame& frame) {
  std::array<uint8_t, 2> bytes;
  TRY(take(bytes));
  if (frame.count != 0 && frame.height == 0) frame.set_height(load_be16(bytes.data()));
  return kOk;
}

Status MarkerReader::read_application(int code, Extras& extras) {
  std::array<uint8_t, 12> bytes = {};
  const size_t size = std::min<size_t>(left_, bytes.size());
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
  return kOk;
}

Status MarkerReader::read_comment(Extras& extras) {
  if (extras.comment_size != 0 || left_ > extras.comment.size()) return kOk;
  const auto size = static_cast<uint8_t>(left_);
  TRY(take(std::span(extras.comment).first(size)));
  extras.comment_size = size;
  return kOk;
}

}  // namespace tavo::jpeg
