#include "formats/png_pixels.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "color/palettes.h"
#include "color/widen.h"
#include "core/rows.h"

namespace tavo::png {
namespace {

// Samples of 8 or 16 bits as files have them.
void store_samples(std::span<const uint32_t, 3> samples, uint32_t bits, uint8_t* to) {
  for (size_t i = 0; i < 3; ++i) {
    if (bits == 16) {
      store_be16(to + 2 * i, static_cast<uint16_t>(samples[i]));
    } else {
      to[i] = static_cast<uint8_t>(samples[i]);
    }
  }
}

// A sample of any depth in 8 bits; 255 is a multiple of 1, 3 and 15, so only 16 bits are rounded.
uint8_t level_of(uint32_t sample, uint32_t bits) {
  return bits == 16 ? narrow_16_bits(sample)
                    : static_cast<uint8_t>(sample * 255 / ((1u << bits) - 1));
}

// Colours are not multiplied by their opacity (6.2), and mixed as stored: gamma is not applied.
uint8_t mix(uint32_t front, uint32_t back, uint32_t opacity) {
  const uint32_t sum = front * opacity + back * (255 - opacity) + 128;
  return static_cast<uint8_t>((sum + (sum >> 8)) >> 8);  // sum / 255, rounded
}

// Up to 8 bits: what each value shows.
void describe_palette(const Header& header, bool keeps_alpha, process::SourcePicture& picture) {
  const auto palette = std::span(picture.palette);
  if (header.is_indexed()) {
    picture.colors = header.colors;
    picture.flags = T_FLAG_PALETTE;
    std::ranges::copy(header.palette, picture.palette);
    if (!header.has_transparency || keeps_alpha) return;
    for (uint32_t i = 0; i < header.colors; ++i) {
      T_PaletteEntry& entry = palette[i];
      const uint8_t opacity = header.opacity[i];
      entry.Red = mix(entry.Red, header.background[0], opacity);
      entry.Green = mix(entry.Green, header.background[1], opacity);
      entry.Blue = mix(entry.Blue, header.background[2], opacity);
    }
    return;
  }
  picture.colors = 1u << std::min(header.bits, 8u);
  const auto used = palette.first(picture.colors);
  color::fill_gray_ramp(used);
  if (header.has_transparency && header.bits <= 8) {
    // Within `used`: parse_samples has masked what the depth does not have.
    used[header.transparent[0]] = color::gray_entry(level_of(header.background[0], header.bits));
  }
  if (header.bits > 1 && color::is_gray_ramp(used)) picture.flags = T_FLAG_GRAY;
}

void narrow(std::span<const uint8_t> raw, uint8_t* to) {
  for (size_t i = 0; i + 1 < raw.size(); i += 2) to[i / 2] = narrow_16_bits(load_be16(&raw[i]));
}

}  // namespace

process::SourcePicture describe(const Header& header, bool keeps_alpha) {
  process::SourcePicture picture;
  picture.storage_kind = T_FORMAT_PNG;
  picture.width = static_cast<int32_t>(header.width);
  picture.height = static_cast<int32_t>(header.height);
  picture.extras = header.extras;
  process::set_resolution(header.x_per_inch, header.y_per_inch, picture);
  if (keeps_alpha && !header.is_opaque()) {
    picture.bits = 32;
  } else if (header.is_color() && !header.is_indexed()) {
    picture.bits = 24;
  } else {
    const uint32_t bits = header.has_alpha() ? 8 : header.bits;
    picture.bits = bits == 1 ? 1 : bits <= 4 ? 4 : 8;
    describe_palette(header, keeps_alpha, picture);
  }
  return picture;
}

PixelMaker::PixelMaker(const Header& header, bool keeps_alpha)
    : header_(header),
      keeps_alpha_(keeps_alpha && !header.is_opaque()),
      has_table_(header.samples() == 1 && header.bits <= 8) {
  if (!header.is_indexed()) {
    store_samples(header.transparent, header.bits, key_);
    for (size_t i = 0; i < 3; ++i) background_[i] = level_of(header.background[i], header.bits);
  }
  if (!keeps_alpha_ || !has_table_) return;
  for (uint32_t i = 0; i < 1u << header.bits; ++i) {
    if (header.is_indexed()) {
      color::put_rgb(header.palette[i], table_[i]);
      table_[i][3] = header.opacity[i];
    } else {
      std::memset(table_[i], level_of(i, header.bits), 3);
      table_[i][3] = i == header.transparent[0] ? 0 : 255;
    }
  }
}

bool PixelMaker::is_transparent(const uint8_t* pixel) const {
  return std::memcmp(pixel, key_, header_.pixel_bytes()) == 0;
}

// Of a sample of 8 or 16 bits.
uint8_t PixelMaker::level_at(const uint8_t* sample) const {
  return header_.bits == 16 ? narrow_16_bits(load_be16(sample)) : *sample;
}

// Compared as stored: of 16 bits all count, so it comes before they are rounded.
void PixelMaker::replace_transparent(const uint8_t* raw, uint32_t pixels, uint8_t* row) const {
  const size_t bytes = header_.pixel_bytes(), colors = header_.samples();
  for (; pixels > 0; --pixels, raw += bytes, row += colors) {
    if (is_transparent(raw)) std::memcpy(row, background_, colors);
  }
}

// The opacity stands behind each pixel.
void PixelMaker::blend(const uint8_t* raw, uint32_t pixels, uint8_t* row) const {
  const size_t colors = header_.samples() - 1, step = header_.bits / 8;
  for (; pixels > 0; --pixels, raw += (colors + 1) * step, row += colors) {
    const uint8_t opacity = level_at(raw + colors * step);
    for (size_t i = 0; i < colors; ++i) {
      row[i] = mix(level_at(raw + i * step), background_[i], opacity);
    }
  }
}

void PixelMaker::keep_alpha(const uint8_t* raw, uint32_t pixels, uint8_t* row) const {
  const uint32_t bits = header_.bits;
  const size_t bytes = header_.pixel_bytes(), step = bits / 8;
  const size_t green = header_.is_color() ? step : 0, blue = 2 * green;
  for (uint32_t x = 0; x < pixels; ++x, row += 4) {
    if (has_table_) {
      const uint64_t at = uint64_t{x} * bits;
      const uint32_t value = raw[at / 8] >> (8 - bits - at % 8) & ((1u << bits) - 1);
      std::memcpy(row, table_[value], 4);
      continue;
    }
    const uint8_t* const pixel = raw + x * bytes;
    row[0] = level_at(pixel);
    row[1] = level_at(pixel + green);
    row[2] = level_at(pixel + blue);
    row[3] = header_.has_alpha() ? level_at(pixel + blue + step) : is_transparent(pixel) ? 0 : 255;
  }
}

void PixelMaker::make(std::span<const uint8_t> raw, uint32_t pixels, uint8_t* row) const {
  if (keeps_alpha_) return keep_alpha(raw.data(), pixels, row);
  if (header_.has_alpha()) return blend(raw.data(), pixels, row);
  if (header_.bits == 16) {
    narrow(raw, row);
  } else {
    std::memcpy(row, raw.data(), raw.size());
  }
  const auto width = static_cast<int32_t>(pixels);
  if (header_.bits < 8) {
    core::clear_padding({row, raw.size()}, width, static_cast<int32_t>(header_.bits));
  }
  if (header_.bits == 2) color::widen_2_to_4(row, width);
  if (header_.has_transparency && !has_table_) replace_transparent(raw.data(), pixels, row);
}

}  // namespace tavo::png
