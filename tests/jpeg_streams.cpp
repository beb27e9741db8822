#include "jpeg_streams.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

#include "codec/jpeg/tables.h"

namespace tavo::test {
namespace {

constexpr int kDcBits = 4;

// Entropy-coded bits, stuffed.
class BitWriter {
 public:
  explicit BitWriter(Bytes& out) : out_(out) {}
  void put(uint32_t value, int count) {
    for (int i = count - 1; i >= 0; --i) {
      byte_ = static_cast<uint8_t>(byte_ << 1 | (value >> i & 1));
      if (++used_ == 8) flush_byte();
    }
  }
  void align() {
    while (used_ != 0) put(1, 1);
  }

 private:
  void flush_byte() {
    out_.push_back(byte_);
    if (byte_ == 0xFF) out_.push_back(0);
    used_ = 0;
    byte_ = 0;
  }
  Bytes& out_;
  uint8_t byte_ = 0;
  int used_ = 0;
};

int bits_of(int value) { return std::bit_width(static_cast<unsigned>(std::abs(value))); }

void put_magnitude(BitWriter& bits, int value, int size) {
  bits.put(static_cast<uint32_t>(value < 0 ? value + (1 << size) - 1 : value), size);
}

struct TestScan {
  std::vector<size_t> components;
  int first = 0;
  int last = 63;
};

class ScanWriter {
 public:
  ScanWriter(JpegPicture& picture, const JpegOptions& options, const TestScan& scan, Bytes& out)
      : picture_(picture), options_(options), scan_(scan), out_(out), bits_(out) {}

  void write() {
    const bool is_single = scan_.components.size() == 1;
    const size_t c = scan_.components[0];
    const JpegComponent& component = picture_.components[c];
    const bool is_only = picture_.components.size() == 1;
    const int h = is_only ? 1 : component.h, v = is_only ? 1 : component.v;
    const int wide =
        is_single ? samples_to_blocks(picture_.width * h, picture_.h_max()) : picture_.mcus_wide();
    const int high =
        is_single ? samples_to_blocks(picture_.height * v, picture_.v_max()) : picture_.mcus_high();
    int mcu = 0;
    for (int y = 0; y < high; ++y) {
      for (int x = 0; x < wide; ++x, ++mcu) {
        if (options_.restart_interval != 0 && mcu != 0 && mcu % options_.restart_interval == 0) {
          restart(mcu / options_.restart_interval - 1);
        }
        if (is_single) {
          put_block(c, x, y);
        } else {
          put_mcu(x, y);
        }
      }
    }
    end_run();
    bits_.align();
  }

 private:
  static int samples_to_blocks(int scaled_size, int max) {
    return ((scaled_size + max - 1) / max + 7) / 8;
  }

  void put_mcu(int x, int y) {
    for (const size_t c : scan_.components) {
      const JpegComponent& component = picture_.components[c];
      for (int i = 0; i < component.h * component.v; ++i) {
        put_block(c, x * component.h + i % component.h, y * component.v + i / component.h);
      }
    }
  }

  void restart(int number) {
    end_run();
    bits_.align();
    out_.insert(out_.end(), {0xFF, static_cast<uint8_t>(0xD0 + number % 8)});
    std::fill(dc_.begin(), dc_.end(), 0);
  }

  void put_block(size_t c, int x, int y) {
    const std::array<int, 64>& block = picture_.block(c, x, y);
    if (scan_.first == 0) {
      const int size = bits_of(block[0] - dc_[c]);
      bits_.put(static_cast<uint32_t>(size), kDcBits);
      put_magnitude(bits_, block[0] - dc_[c], size);
      dc_[c] = block[0];
    }
    if (scan_.last != 0) put_ac(block, options_.plan == ScanPlan::kProgressive);
  }

  void put_symbol(int symbol) { bits_.put(static_cast<uint32_t>(symbol), options_.code_bits); }

  void put_ac(const std::array<int, 64>& block, bool has_runs) {
    int zeros = 0;
    for (int k = std::max(scan_.first, 1); k <= scan_.last; ++k) {
      const int value = block[static_cast<size_t>(k)];
      if (value == 0) {
        ++zeros;
        continue;
      }
      end_run();
      for (; zeros > 15; zeros -= 16) put_symbol(0xF0);
      const int size = bits_of(value);
      put_symbol(zeros << 4 | size);
      put_magnitude(bits_, value, size);
      zeros = 0;
    }
    if (zeros == 0) return;
    if (has_runs) {
      if (++run_ == 0x7FFF) end_run();
    } else {
      put_symbol(0);
    }
  }

  void end_run() {
    if (run_ == 0) return;
    const int size = bits_of(run_) - 1;
    put_symbol(size << 4);
    bits_.put(static_cast<uint32_t>(run_ - (1 << size)), size);
    run_ = 0;
  }

  JpegPicture& picture_;
  const JpegOptions& options_;
  const TestScan& scan_;
  Bytes& out_;
  BitWriter bits_;
  std::array<int, 4> dc_ = {};
  int run_ = 0;
};

std::vector<TestScan> scans_of(const JpegPicture& picture, ScanPlan plan) {
  std::vector<size_t> all;
  for (size_t c = 0; c < picture.components.size(); ++c) all.push_back(c);
  if (plan == ScanPlan::kInterleaved) return {{all}};
  std::vector<TestScan> scans;
  if (plan == ScanPlan::kProgressive) scans.push_back({all, 0, 0});
  for (const size_t c : all) {
    if (plan == ScanPlan::kSeparate) {
      scans.push_back({{c}});
    } else {
      scans.push_back({{c}, 1, 5});
      scans.push_back({{c}, 6, 63});
    }
  }
  return scans;
}

void append(Bytes& out, const Bytes& more) {
  for (const uint8_t byte : more) out.push_back(byte);
}

Bytes be16(int value) { return {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)}; }

Bytes quantiser_segment(uint16_t value, bool is_wide) {
  Bytes body = {static_cast<uint8_t>(is_wide ? 0x10 : 0)};
  for (int i = 0; i < 64; ++i) {
    if (is_wide) body.push_back(static_cast<uint8_t>(value >> 8));
    body.push_back(static_cast<uint8_t>(value));
  }
  return jpeg_segment(0xDB, body);
}

// Symbols 0 to 11 with codes of 4 bits, 0 to 250 with codes of `code_bits`.
Bytes huffman_segment(int code_bits) {
  Bytes body = {0x00};
  body.resize(17, 0);
  body[kDcBits] = 12;
  for (uint8_t i = 0; i < 12; ++i) body.push_back(i);
  const size_t at = body.size();
  body.resize(at + 17, 0);
  body[at] = 0x10;
  body[at + static_cast<size_t>(code_bits)] = 251;
  for (int i = 0; i < 251; ++i) body.push_back(static_cast<uint8_t>(i));
  return jpeg_segment(0xC4, body);
}

Bytes frame_segment(const JpegPicture& picture, const JpegOptions& options) {
  const int code = options.plan == ScanPlan::kProgressive ? 0xC2 : 0xC0;
  Bytes body = {8};
  append(body, be16(options.has_line_count ? 0 : picture.height));
  append(body, be16(picture.width));
  body.push_back(static_cast<uint8_t>(picture.components.size()));
  for (const JpegComponent& c : picture.components) {
    append(body, {static_cast<uint8_t>(c.id), static_cast<uint8_t>(c.h << 4 | c.v), 0});
  }
  return jpeg_segment(code, body);
}

}  // namespace

int JpegPicture::h_max() const {
  int max = 1;
  for (const JpegComponent& c : components) max = std::max(max, components.size() > 1 ? c.h : 1);
  return max;
}

int JpegPicture::v_max() const {
  int max = 1;
  for (const JpegComponent& c : components) max = std::max(max, components.size() > 1 ? c.v : 1);
  return max;
}

std::array<int, 64>& JpegPicture::block(size_t c, int x, int y) {
  return coefficients[c][static_cast<size_t>(y * blocks_wide(c) + x)];
}

JpegPicture::JpegPicture(int wide, int high, std::vector<JpegComponent> parts,
                         const std::vector<int>& samples)
    : width(wide), height(high), components(std::move(parts)) {
  for (size_t c = 0; c < components.size(); ++c) {
    std::array<int, 64> block = {};
    block[0] = (samples[c] - 128) * 8;
    coefficients.emplace_back(static_cast<size_t>(blocks_wide(c) * mcus_high() * components[c].v),
                              block);
  }
}

JpegPicture::JpegPicture(int wide, int high, std::vector<JpegComponent> parts, uint64_t seed)
    : JpegPicture(wide, high, parts, std::vector<int>(parts.size(), 128)) {
  Random random(seed);
  for (auto& plane : coefficients) {
    for (auto& block : plane) {
      block[0] = static_cast<int>(random.below(1000)) - 500;
      const uint32_t kind = random.below(4);  // DC only, low frequencies, sparse, dense
      for (size_t k = 1; k < 64; ++k) {
        const uint32_t chance = kind == 0 ? 0 : kind == 1 ? (k < 10 ? 50 : 0) : kind == 2 ? 6 : 60;
        if (random.below(100) >= chance) continue;
        const int limit = k < 6 ? 120 : 9;
        block[k] = static_cast<int>(random.below(2 * limit + 1)) - limit;
      }
    }
  }
}

std::vector<JpegComponent> ycc(int h, int v) { return {{1, h, v}, {2, 1, 1}, {3, 1, 1}}; }

// 24 x 17 pixels, cjpeg -quality 40 -sample 2x2, with -optimize and with -progressive -restart 1B.
Bytes baseline_stream() {
  return hex(
      "FFD8FFE000104A46494600010100000100010000FFDB004300140E0F120F0D14121012171514181E32211E1C"
      "1C1E3D2C2E243249404C4B47404645505A736250556D5645466488656D777B8182814E608D978C7D96737E81"
      "7CFFDB0043011517171E1A1E3B21213B7C5346537C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C"
      "7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7CFFC000110800110018030122000211010311"
      "01FFC40017000101010100000000000000000000000000030201FFC4001B1000010501010000000000000000"
      "0000000001020431A12161FFC4001801000301010000000000000000000000000205060304FFC4001C110002"
      "0105010000000000000000000000000103042122313241FFDA000C03010002110311003F00BA47EDE1A58FEE"
      "1448FDBC34B1FDC05458316D2F9724D8FCBC059B1F9780D14562823E764DB675403B170C4B4A69B4000D6914"
      "11F27FFFD9");
}

Bytes refined_stream() {
  return hex(
      "FFD8FFE000104A46494600010100000100010000FFDB004300140E0F120F0D14121012171514181E32211E1C"
      "1C1E3D2C2E243249404C4B47404645505A736250556D5645466488656D777B8182814E608D978C7D96737E81"
      "7CFFDB0043011517171E1A1E3B21213B7C5346537C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C"
      "7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7C7CFFC200110800110018030122000211010311"
      "01FFC40017000101010100000000000000000000000000020301FFC400160101010100000000000000000000"
      "000000030401FFDD00040001FFDA000C03010002100310000001BED7726FFFD0D56D7FFFD1D838FF00FFD2DC"
      "5157FFC4001510010100000000000000000000000000000012FFDA000801010001050297FFD097FFD197FFD2"
      "97FFD397FFD497FFD57FFFD67FFFD77FFFC40017110100030000000000000000000000000000020331FFDA00"
      "08010301013F01A9FFD08E3FFFD1A9FFD28E3FFFC40017110101010100000000000000000000000000122141"
      "FFDA0008010201013F019C7FFFD097FFD1E3FFD27FFFC40014100100000000000000000000000000000000FF"
      "DA0008010100063F027FFFD07FFFD17FFFD27FFFD37FFFD47FFFD57FFFD67FFFD77FFFC40015100101000000"
      "00000000000000000000000001FFDA0008010100013F213FFFD03FFFD187FFD23FFFD33FFFD487FFD58FFFD6"
      "7FFFD78FFFDA000C03010002000300000010F3FFD003FFD173FFD2FBFFC40017110100030000000000000000"
      "000000000000214161FFDA0008010301013F10A4BFFFD0D1FFD13FFFD21FFFC4001711010101010000000000"
      "0000000000000001002131FFDA0008010201013F1037BFFFD0337FFFD13BBFFFD2385FFFC400191000020301"
      "00000000000000000000000000310121A161FFDA0008010100013F108B3C3FFFD09EB0FFD1A1E1FFD28B3C3F"
      "FFD39EB0FFD4A1E1FFD563FFD693FFD743FFD9");
}

Bytes jpeg_segment(int code, const Bytes& body) {
  Bytes out = {0xFF, static_cast<uint8_t>(code)};
  append(out, be16(static_cast<int>(body.size()) + 2));
  append(out, body);
  return out;
}

Bytes adobe_segment(uint8_t transform) {
  return jpeg_segment(0xEE, {'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0, transform});
}

Bytes jfif_segment(uint8_t unit, uint16_t x_density, uint16_t y_density) {
  Bytes body = {'J', 'F', 'I', 'F', 0, 1, 2, unit};
  append(body, be16(x_density));
  append(body, be16(y_density));
  append(body, {0, 0});
  return jpeg_segment(0xE0, body);
}

Bytes jpeg_stream(JpegPicture& picture, const JpegOptions& options) {
  Bytes out = {0xFF, 0xD8};
  append(out, options.segments);
  append(out, quantiser_segment(picture.quantiser, options.wide_quantisers));
  append(out, huffman_segment(options.code_bits));
  if (options.restart_interval != 0)
    append(out, jpeg_segment(0xDD, be16(options.restart_interval)));
  append(out, frame_segment(picture, options));
  bool is_first = true;
  for (const TestScan& scan : scans_of(picture, options.plan)) {
    Bytes head = {static_cast<uint8_t>(scan.components.size())};
    for (const size_t c : scan.components) {
      append(head, {static_cast<uint8_t>(picture.components[c].id), 0});
    }
    append(head, {static_cast<uint8_t>(scan.first), static_cast<uint8_t>(scan.last), 0});
    append(out, jpeg_segment(0xDA, head));
    ScanWriter(picture, options, scan, out).write();
    if (is_first && options.has_line_count) append(out, jpeg_segment(0xDC, be16(picture.height)));
    is_first = false;
  }
  append(out, {0xFF, 0xD9});
  return out;
}

}  // namespace tavo::test
