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

// Arithmetic right shift as G.1.2.1 wants it for AC coefficients: towards zero.
int scaled(int value, int low) { return value < 0 ? -(-value >> low) : value >> low; }

struct TestScan {
  std::vector<size_t> components;
  int first = 0;
  int last = 63;
  int high = 0;
  int low = 0;
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
    const bool is_progressive = options_.plan >= ScanPlan::kProgressive;
    if (scan_.first == 0) put_dc(c, block[0]);
    if (scan_.last == 0) return;
    if (scan_.high != 0) {
      refine(block);
    } else {
      put_ac(block, is_progressive);
    }
  }

  void put_dc(size_t c, int value) {
    if (scan_.high != 0) {
      bits_.put(static_cast<uint32_t>(value >> scan_.low) & 1, 1);
      return;
    }
    const int dc = value >> scan_.low;
    const int size = bits_of(dc - dc_[c]);
    bits_.put(static_cast<uint32_t>(size), kDcBits);
    put_magnitude(bits_, dc - dc_[c], size);
    dc_[c] = dc;
  }

  void put_symbol(int symbol) { bits_.put(static_cast<uint32_t>(symbol), options_.code_bits); }

  void put_ac(const std::array<int, 64>& block, bool has_runs) {
    int zeros = 0;
    for (int k = std::max(scan_.first, 1); k <= scan_.last; ++k) {
      const int value = scaled(block[static_cast<size_t>(k)], scan_.low);
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

  // G.1.2.3, without the buffering across blocks: a run of one block each time, so that correction
  // bits follow their symbol at once.
  void refine(const std::array<int, 64>& block) {
    const auto now = [&](int k) { return std::abs(block[static_cast<size_t>(k)]) >> scan_.low; };
    int last_new = 0;
    for (int k = scan_.first; k <= scan_.last; ++k) {
      if (now(k) == 1) last_new = k;
    }
    int zeros = 0;
    std::vector<int> corrections;
    const auto put_corrections = [&] {
      for (const int bit : corrections) bits_.put(static_cast<uint32_t>(bit), 1);
      corrections.clear();
    };
    for (int k = scan_.first; k <= scan_.last; ++k) {
      if (now(k) == 0) {
        ++zeros;
        continue;
      }
      if (now(k) > 1) {
        // A run of 16 zeros takes the corrections up to its last zero with it.
        while (zeros > 15 && k <= last_new) {
          put_symbol(0xF0);
          put_corrections();
          zeros -= 16;
        }
        corrections.push_back(now(k) & 1);
        continue;
      }
      while (zeros > 15) {
        put_symbol(0xF0);
        put_corrections();
        zeros -= 16;
      }
      put_symbol(zeros << 4 | 1);
      bits_.put(block[static_cast<size_t>(k)] > 0 ? 1 : 0, 1);
      put_corrections();
      zeros = 0;
    }
    if (zeros > 0 || !corrections.empty()) {
      put_symbol(0);
      put_corrections();
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
  std::vector<TestScan> scans;
  switch (plan) {
    case ScanPlan::kInterleaved:
      return {{all}};
    case ScanPlan::kSeparate:
      for (const size_t c : all) scans.push_back({{c}});
      return scans;
    case ScanPlan::kProgressive:
      scans.push_back({all, 0, 0});
      for (const size_t c : all) {
        scans.push_back({{c}, 1, 5});
        scans.push_back({{c}, 6, 63});
      }
      return scans;
    case ScanPlan::kSuccessive:
      scans.push_back({all, 0, 0, 0, 1});
      for (const size_t c : all) scans.push_back({{c}, 1, 63, 0, 2});
      for (const size_t c : all) scans.push_back({{c}, 1, 63, 2, 1});
      scans.push_back({all, 0, 0, 1, 0});
      for (const size_t c : all) scans.push_back({{c}, 1, 63, 1, 0});
      return scans;
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
  const int code = options.plan >= ScanPlan::kProgressive ? 0xC2 : 0xC0;
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

void JpegPicture::fill_flat(const std::vector<int>& samples) {
  coefficients.clear();
  for (size_t c = 0; c < components.size(); ++c) {
    std::array<int, 64> block = {};
    block[0] = (samples[c] - 128) * 8 / quantiser;
    coefficients.emplace_back(static_cast<size_t>(blocks_wide(c) * mcus_high() * components[c].v),
                              block);
  }
}

void JpegPicture::fill(uint64_t seed) {
  fill_flat(std::vector<int>(components.size(), 128));
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
    append(head, {static_cast<uint8_t>(scan.first), static_cast<uint8_t>(scan.last),
                  static_cast<uint8_t>(scan.high << 4 | scan.low)});
    append(out, jpeg_segment(0xDA, head));
    ScanWriter(picture, options, scan, out).write();
    if (is_first && options.has_line_count) append(out, jpeg_segment(0xDC, be16(picture.height)));
    is_first = false;
  }
  append(out, {0xFF, 0xD9});
  return out;
}

}  // namespace tavo::test
