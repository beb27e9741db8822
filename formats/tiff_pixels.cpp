#include "formats/tiff_pixels.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "color/widen.h"

namespace tavo::tiff {

namespace {

constexpr int64_t kOne = 65536;

// Rounded.
uint8_t clamp_level(int32_t fixed) {
  return static_cast<uint8_t>(std::clamp((fixed + 32768) >> 16, 0, 255));
}

// Up to 16 bits at bit `position` of a row. In bounds because the sample is in the row; only the
// bytes that hold it are read.
uint32_t bits_at(const uint8_t* row, uint64_t position, uint32_t bits) {
  const uint8_t* at = row + position / 8;
  const auto skipped = static_cast<uint32_t>(position % 8);
  uint32_t value = 0;
  uint32_t got = 0;
  for (; got < skipped + bits; got += 8) value = value << 8 | *at++;
  return value >> (got - skipped - bits) & ((1u << bits) - 1);
}

// Fractions of a tag in 65536ths; those that make no sense, or cannot be read, leave what `values`
// has.
Status read_fractions(const Directory& directory, Tag tag, std::span<int64_t> values) {
  for (size_t i = 0; i < values.size(); ++i) {
    uint32_t numerator = 0;
    uint32_t denominator = 0;
    if (!directory.rational(tag, i, numerator, denominator).ok()) {
      TRY(directory.file().failure());
      continue;
    }
    const int64_t value = static_cast<int64_t>(numerator) * kOne / denominator;
    if (value <= 1024 * kOne) values[i] = value;
  }
  return kOk;
}

}  // namespace

// Which way rows go is settled once: in place, or sample by sample.
Status PixelConverter::start(const Directory& directory, const Image& image) {
  image_ = &image;
  order_ = directory.order();
  const bool is_one = image.used_samples == 1 && image.samples_per_plane() == 1;
  const bool is_packed = is_one && (image.bits <= 2 || image.bits == 4 || image.bits == 8);
  const bool is_rgb =
      image.photometric == kRgb && image.samples_per_plane() == 3 && image.bits == 8;
  is_direct_ = is_packed || is_rgb;
  if (is_direct_) return kOk;
  TRY(samples_.allocate(uint64_t{image.width} * image.used_samples));
  return image.photometric == kYCbCr ? start_ycc(directory) : kOk;
}

// TIFF 6.0, section 21; all in 65536ths, since floating point would not give both targets the same
// pixels. Coefficients that make no colours are replaced.
Status PixelConverter::start_ycc(const Directory& directory) {
  TRY(ycc_.allocate(1));
  std::array<int64_t, 3> parts = {};
  TRY(read_fractions(directory, Tag::kYCbCrCoefficients, parts));
  const bool is_sane =
      parts[0] > 0 && parts[1] > 0 && parts[2] > 0 && parts[0] + parts[1] + parts[2] < 2 * kOne;
  if (!is_sane) parts = {19595, 38470, 7471};  // the default: 0.299, 0.587, 0.114 of Rec. 601
  const auto [red, green, blue] = parts;
  std::array<int64_t, 6> reference = {0, 255, 128, 255, 128, 255};
  for (int64_t& level : reference) level *= kOne;
  TRY(read_fractions(directory, Tag::kReferenceBlackWhite, reference));
  // `range`: the levels between the two references, ReferenceBlackWhite (6.0, section 20).
  const auto scaled = [&reference](int64_t code, uint32_t channel, int64_t range) {
    const int64_t black = reference[2 * channel];
    const int64_t span = reference[2 * channel + 1] - black;
    if (span < kOne) return code * kOne - black;
    return std::clamp((code * kOne - black) * range * kOne / span, -512 * kOne, 512 * kOne);
  };
  // R = Y + Cr (2 - 2 LumaRed), B likewise; G is what is left of Y (6.0, section 21).
  const int64_t to_red = 2 * kOne - 2 * red;
  const int64_t to_blue = 2 * kOne - 2 * blue;
  YccTables& tables = ycc_[0];
  for (int32_t i = 0; i < 256; ++i) {
    const int64_t cb = scaled(i, 1, 127);
    const int64_t cr = scaled(i, 2, 127);
    tables.y[i] = static_cast<int32_t>(scaled(i, 0, 255));
    tables.cr_to_red[i] = static_cast<int32_t>(cr * to_red / kOne);
    tables.cb_to_blue[i] = static_cast<int32_t>(cb * to_blue / kOne);
    tables.cr_to_green[i] = static_cast<int32_t>(
        std::clamp(-cr * to_red / kOne * red / green, -4096 * kOne, 4096 * kOne));
    tables.cb_to_green[i] = static_cast<int32_t>(
        std::clamp(-cb * to_blue / kOne * blue / green, -4096 * kOne, 4096 * kOne));
  }
  return kOk;
}

// Of 1 bit the palette tells which value is white (6.0, section 3); grey pictures of more have an
// even ramp from black, so their samples change.
void PixelConverter::finish_row(std::span<uint8_t> row) const {
  if (image_->bits > 1 && image_->photometric == kWhiteIsZero) {
    for (uint8_t& byte : row) byte = static_cast<uint8_t>(~byte);
  }
  if (image_->bits == 2) color::widen_2_to_4(row.data(), static_cast<int32_t>(image_->width));
}

// Sample `first` of each pixel, reduced to 8 bits: of 16 and 32 the highest byte, of other sizes
// value * 255 / largest, rounded. Samples of odd sizes are packed without gaps within a row.
void PixelConverter::take_samples(std::span<const uint8_t> row, uint32_t first,
                                  uint8_t* out) const {
  const uint32_t step = image_->samples_per_plane();
  const uint32_t bits = image_->bits;
  const size_t width = image_->width;
  if (bits == 8 || bits == 16 || bits == 32) {
    const uint32_t size = bits / 8;
    const uint8_t* in = row.data() + first * size + (order_.is_big_endian ? 0 : size - 1);
    for (size_t x = 0; x < width; ++x) out[x] = in[x * step * size];
    return;
  }
  const uint32_t largest = (1u << bits) - 1;
  const bool is_index = image_->photometric == kPalette;
  uint64_t position = uint64_t{first} * bits;
  for (size_t x = 0; x < width; ++x, position += uint64_t{step} * bits) {
    const uint32_t value = bits_at(row.data(), position, bits);
    out[x] = static_cast<uint8_t>(is_index ? value : (value * 255 + largest / 2) / largest);
  }
}

// Line `line` of units of several brightness samples and one pair of colour samples, in the order
// Y00, Y01 ... Cb, Cr (6.0, section 21).
void PixelConverter::take_units(std::span<const uint8_t> row, uint32_t line) {
  const uint32_t across = image_->unit_width;
  const uint32_t size = across * image_->unit_height;
  const uint8_t* unit = row.data();
  for (uint32_t x = 0; x < image_->width; x += across, unit += size + 2) {
    const uint32_t pixels = std::min(across, image_->width - x);
    std::memcpy(samples(0) + x, unit + line * across, pixels);
    std::memset(samples(1) + x, unit[size], pixels);
    std::memset(samples(2) + x, unit[size + 1], pixels);
  }
}

// Photometric interpretations (6.0, section 8), each as its section has it.
void PixelConverter::convert(const StoredRows& rows, uint32_t line, uint8_t* out) {
  const bool has_units = image_->unit_width != 1 || image_->unit_height != 1;
  if (has_units) {
    take_units(rows.row(0), line);
  } else {
    for (uint32_t s = 0; s < image_->used_samples; ++s) {
      take_samples(rows.row(image_->is_planar ? s : 0), image_->is_planar ? 0 : s, samples(s));
    }
  }
  const uint8_t* a = samples(0);
  if (image_->used_samples == 1) {
    const uint8_t flip = image_->photometric == kWhiteIsZero ? 0xFF : 0;
    for (uint32_t x = 0; x < image_->width; ++x) out[x] = a[x] ^ flip;
    return;
  }
  const uint8_t* b = samples(1);
  const uint8_t* c = samples(2);
  if (image_->photometric == kRgb) {
    for (size_t x = 0; x < image_->width; ++x, out += 3) {
      out[0] = a[x];
      out[1] = b[x];
      out[2] = c[x];
    }
  } else if (image_->photometric == kSeparated) {
    // 6.0, section 16: 255 is full ink; what cyan and black leave of red, and so on.
    const uint8_t* k = samples(3);
    for (size_t x = 0; x < image_->width; ++x, out += 3) {
      const uint32_t light = 255u - k[x];
      out[0] = static_cast<uint8_t>(((255u - a[x]) * light + 127) / 255);
      out[1] = static_cast<uint8_t>(((255u - b[x]) * light + 127) / 255);
      out[2] = static_cast<uint8_t>(((255u - c[x]) * light + 127) / 255);
    }
  } else {
    const YccTables& t = ycc_[0];
    for (size_t x = 0; x < image_->width; ++x, out += 3) {
      const int32_t y = t.y[a[x]];
      out[0] = clamp_level(y + t.cr_to_red[c[x]]);
      out[1] = clamp_level(y + t.cb_to_green[b[x]] + t.cr_to_green[c[x]]);
      out[2] = clamp_level(y + t.cb_to_blue[b[x]]);
    }
  }
}

}  // namespace tavo::tiff
