#include "compression.h"

#include <algorithm>
#include <cstdio>
#include <span>
#include <vector>

#include <CLI/CLI.hpp>

#include "failure.h"
#include "format_table.h"
#include "option_checks.h"

namespace tavo::tools {
namespace {

constexpr int kDefaultQuality = 75;

// Formats whose files are alike but for the subsampling, and the output type of each.
struct Variant {
  int32_t format;
  int32_t output_type;
  const char* subsampling;
};
constexpr Variant kVariants[] = {
    {T_FORMAT_CMP_SAVE, 0, ""},       {T_FORMAT_JPEG, 1, "1x1"},
    {T_FORMAT_JPEG_24, 2, "1x1"},     {T_FORMAT_JPEG_2X2, 3, "2x2"},
    {T_FORMAT_JPEG_2X2_24, 4, "2x2"}, {T_FORMAT_JPEG_2X1, 5, "2x1"},
    {T_FORMAT_JPEG_2X1_24, 6, "2x1"},
};

const Variant* find_variant(int32_t format) {
  const auto* found = std::ranges::find(kVariants, format, &Variant::format);
  return found == std::end(kVariants) ? nullptr : found;
}

// The multiplier whose tables come nearest, by the sum of all entries' differences, to those that
// libjpeg scales for a quality. Ours is in 50ths, cut, 2 at least; libjpeg's is in 100ths, rounded,
// 1 at least: that is why the values below 50 follow no simple rule.
int32_t table_multiplier(int quality) {
  static constexpr uint8_t kLow[] = {
      255, 255, 255, 255, 255, 255, 255, 255, 255, 250, 228, 209, 192, 179, 167, 157, 148,
      139, 132, 125, 119, 114, 109, 104, 100, 96,  93,  89,  86,  83,  81,  78,  76,  74,
      71,  69,  68,  66,  64,  63,  61,  60,  58,  57,  56,  54,  53,  52,  51};
  static_assert(std::size(kLow) == 49);
  return quality < 50 ? kLow[quality - 1] : std::max(100 - quality, 1);
}

struct StampSize {
  int width = 0;
  int height = 0;
};
bool parse_stamp(const std::string& text, StampSize& size) {
  int end = 0;
  const int fields = std::sscanf(text.c_str(), "%3dx%3d%n", &size.width, &size.height, &end);
  const bool is_size = fields == 2 && end == static_cast<int>(text.size());
  return is_size && size.width >= 4 && size.width <= 255 && size.height >= 1 && size.height <= 255;
}

}  // namespace

void add_compression_options(CLI::App& command, CompressionOptions& options) {
  CLI::Option* quality =
      command
          .add_option(
              "-q,--quality", options.quality,
              "Quality of JPEG and CMP files, 1 to 100, higher is better. Without it that "
              "of a JPEG or CMP file that is read, as \"tavo info\" estimates it, else 75. "
              "In JPEG files what is below 9 counts as 9; in CMP files as 23 what is below, "
              "as 95 what is above")
          ->check(whole_number(1, 100))
          ->type_name("N");
  command
      .add_option("--factor", options.factor,
                  "The library's quality factor instead, lower is better: 1 to 255 for JPEG, -9 to "
                  "255 for CMP")
      ->check(whole_number(-9, 255))
      ->type_name("N")
      ->excludes(quality);
  command
      .add_option("--subsampling", options.subsampling,
                  "Chroma resolution of JPEG files: full, halved horizontally (the default), or "
                  "halved in both directions. CMP files choose theirs by the quality")
      ->check(one_of({"1x1", "2x1", "2x2"}))
      ->type_name("1x1|2x1|2x2");
  command
      .add_option("--level", options.level,
                  "How small PNG files and TIFF files with Deflate become: small takes long, fast "
                  "makes them about a tenth larger")
      ->check(one_of({"fast", "default", "small"}))
      ->type_name("fast|default|small");
  command
      .add_option("--stamp", options.stamp,
                  "Put a small picture of this size into the JPEG or CMP file, 4x1 to 255x255")
      ->check(value_check([](const std::string& text) {
        StampSize size;
        return parse_stamp(text, size) ? std::string()
                                       : "\"" + text + "\" is no size from 4x1 to 255x255";
      }))
      ->type_name("WxH");
}

void choose_level(const T_Format& format, const CompressionOptions& options) {
  if (options.level.empty()) return;
  if (format.Id != T_FORMAT_PNG && format.Id != T_FORMAT_TIFF_DEFLATE)
    throw UsageError{"--level is for PNG files and TIFF files with Deflate"};
  T_SetDeflateLevel(options.level == "fast"    ? T_LEVEL_FAST
                    : options.level == "small" ? T_LEVEL_SMALL
                                               : T_LEVEL_DEFAULT);
}

bool is_compressed(const T_Format& format) { return find_variant(format.Id) != nullptr; }

T_Format compressed_variant(const T_Format& format, const CompressionOptions& options) {
  if (!options.any()) return format;
  if (!is_compressed(format)) {
    throw UsageError{"--quality, --factor, --subsampling and --stamp are for JPEG and CMP files"};
  }
  if (options.subsampling.empty()) return format;
  if (format.Id == T_FORMAT_CMP_SAVE) {
    throw UsageError{"--subsampling: CMP files choose theirs by the quality"};
  }
  const bool is_always_color = find_variant(format.Id)->output_type % 2 == 0;
  for (const Variant& variant : kVariants) {
    if (variant.output_type == 0 || (variant.output_type % 2 == 0) != is_always_color) continue;
    if (options.subsampling == variant.subsampling) {
      return format_by_name(std::to_string(variant.format));
    }
  }
  return format;
}

int32_t quality_factor(const T_Format& format, const CompressionOptions& options,
                       int source_quality) {
  if (options.factor != CompressionOptions::kNoFactor) return options.factor;
  const int unasked = source_quality > 0 ? source_quality : kDefaultQuality;
  const int quality = options.quality != 0 ? options.quality : unasked;
  const int32_t multiplier = table_multiplier(quality);
  if (format.Id != T_FORMAT_CMP_SAVE) return multiplier;
  // Factors from 0 on stand for multipliers from 6 on, preset -1 for 5; 101 would halve the height.
  return multiplier < 6 ? -1 : std::min(multiplier - 6, 100);
}

int compressed_depth(const BitmapHandle& picture) {
  if (picture.BitsPerPixel > 8) return 24;
  const auto entries = std::span(picture.Info.Palette).first(size_t{1} << picture.BitsPerPixel);
  const bool is_gray = std::ranges::all_of(
      entries, [](const T_PaletteEntry& e) { return e.Red == e.Green && e.Green == e.Blue; });
  return is_gray ? 8 : 24;
}

void save_with_stamp(const std::string& path, const std::string& name, BitmapHandle& picture,
                     const T_Format& format, int depth, int32_t factor,
                     const CompressionOptions& options) {
  StampSize size;
  parse_stamp(options.stamp, size);
  if (depth == 8) {
    check(T_GrayScaleBitmap(&picture), name);
  } else {
    check(T_ColorResolution(&picture, 24, T_PALETTE_NONE, nullptr, 0), name);
  }
  // A stamp has to fit one segment of a JPEG stream.
  constexpr int kMaxColorPixels = (65535 - 10) / 3;
  const int bits = depth == 8 || size.width * size.height > kMaxColorPixels ? 8 : 24;
  check(T_CompressBitmapWithStamp(&picture, path.c_str(), find_variant(format.Id)->output_type,
                                  factor, size.width, size.height, bits, 0),
        name);
}

}  // namespace tavo::tools
