#include "reduction.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <vector>

#include "failure.h"
#include "option_checks.h"
#include "source.h"

namespace tavo::tools {
namespace {

const std::vector<std::string> kMethods = {"none",   "floyd-steinberg", "stucki", "burkes",
                                           "sierra", "stevenson-arce",  "jarvis", "ordered"};

struct Size {
  int32_t width = 0;
  int32_t height = 0;
};

bool read_number(const std::string& text, int64_t& number) {
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  return result.ec == std::errc() && result.ptr == end && number > 0 &&
         number <= std::numeric_limits<int32_t>::max();
}

// Percentages round to nearest, and leave at least one pixel.
int32_t scaled(int32_t length, int64_t percent) {
  const int64_t result = (int64_t{length} * percent + 50) / 100;
  return static_cast<int32_t>(std::clamp<int64_t>(result, 1, std::numeric_limits<int32_t>::max()));
}

bool parse_size(const std::string& text, const BitmapHandle& record, Size& size) {
  int64_t first = 0;
  int64_t second = 0;
  if (!text.empty() && text.back() == '%') {
    if (!read_number(text.substr(0, text.size() - 1), first)) return false;
    size = {scaled(record.Width, first), scaled(record.Height, first)};
    return true;
  }
  const size_t cross = text.find('x');
  if (cross == std::string::npos || !read_number(text.substr(0, cross), first) ||
      !read_number(text.substr(cross + 1), second)) {
    return false;
  }
  size = {static_cast<int32_t>(first), static_cast<int32_t>(second)};
  return true;
}

// Pixels smaller than a byte are resized as bytes: the library's rule for them keeps old programs
// happy, not pictures.
void resize(const std::string& text, Picture& picture) {
  BitmapHandle& record = picture.record();
  Size size;
  parse_size(text, record, size);
  const int32_t bits = record.BitsPerPixel;
  const T_BitmapInfo info = record.Info;
  const uint32_t colors = std::clamp(record.Colors, 1u, 1u << std::min(bits, 8));
  if (bits < 8) {
    check(T_ColorResolution(&record, 8, T_PALETTE_GIVEN, info.Palette, colors), "--size");
    record.Colors = colors;  // no more are in use: the way back is exact
  }
  check(T_SizeBitmap(&record, size.width, size.height), "--size " + text);
  if (bits < 8) {
    check(T_ColorResolution(&record, bits, T_PALETTE_GIVEN, info.Palette, colors), "--size");
  }
}

uint32_t method_of(const std::string& name) {
  const auto found = std::find(kMethods.begin(), kMethods.end(), name);
  return static_cast<uint32_t>(found - kMethods.begin());
}

void reduce_to_file(const std::string& file, int bits, BitmapHandle& record) {
  Picture source;
  const Source palette(file);
  check(T_LoadBitmap(palette.path().c_str(), &source.record(), 0, T_ORDER_RGB), palette.name());
  const BitmapHandle& from = source.record();
  if (from.BitsPerPixel > 8) {
    throw Failure{file, "has no palette: a picture of 8 bits or less is needed", T_ERR_ARGUMENT};
  }
  const uint32_t colors = std::min(from.Colors, 1u << bits);
  check(T_ColorResolution(&record, bits, T_PALETTE_GIVEN, from.Info.Palette, colors), file);
}

void reduce(const ReductionOptions& options, int bits, BitmapHandle& record) {
  record.DitherMethod =
      options.dither.empty() ? T_DITHER_FLOYD_STEINBERG : method_of(options.dither);
  if (options.palette.empty() || options.palette == "optimized") {
    check(T_ColorResolution(&record, bits, T_PALETTE_OPTIMIZED, nullptr,
                            static_cast<uint32_t>(options.colors)),
          "--colors");
  } else if (options.palette == "fixed") {
    check(T_ColorResolution(&record, bits, T_PALETTE_FIXED, nullptr, 0), "--palette fixed");
  } else {
    reduce_to_file(options.palette, bits, record);
  }
}

}  // namespace

void add_reduction_options(CLI::App& command, ReductionOptions& options) {
  command
      .add_option("--size", options.size,
                  "Size to give the picture by repeating and dropping pixels: width and height, or "
                  "a percentage of both. A percentage is rounded, and leaves a pixel at least")
      ->check(value_check([](const std::string& text) {
        Size size;
        return parse_size(text, BitmapHandle{}, size)
                   ? std::string()
                   : "\"" + text + "\" is no size: WxH or N%, whole numbers from 1";
      }))
      ->type_name("WxH|N%");
  command.add_flag("--gray", options.gray, "Make the picture grey");
  command
      .add_option("--colors", options.colors,
                  "Reduce to at most N colours, 1 to 256, chosen for the picture")
      ->check(whole_number(1, 256))
      ->type_name("N");
  command
      .add_option("--dither", options.dither,
                  "Method for reducing colours: none, floyd-steinberg (without this option), "
                  "stucki, burkes, sierra, stevenson-arce, jarvis or ordered")
      ->check(one_of(kMethods))
      ->type_name("METHOD");
  command
      .add_option("--palette", options.palette,
                  "Colours to reduce to: optimized for the picture (without this option), the "
                  "fixed ones of the depth, or those of a picture file")
      ->type_name("optimized|fixed|FILE");
}

void check_reduction(const ReductionOptions& options, int bits) {
  if (options.reduces() && bits > 8) {
    throw UsageError{"--bits: colours are reduced to 8 bits or less"};
  }
  if (bits != 0 && bits <= 8 && options.colors > 1 << bits) {
    throw UsageError{"--colors: more colours than the depth can hold"};
  }
  if (options.colors != 0 && !options.palette.empty() && options.palette != "optimized") {
    throw UsageError{"--colors: the number of colours is that of the palette"};
  }
}

int reduced_depth(const ReductionOptions& options, int suggested) {
  if (options.colors != 0) return options.colors <= 2 ? 1 : options.colors <= 16 ? 4 : 8;
  if (options.reduces() || options.gray) return std::min(suggested, 8);
  return suggested;
}

void apply_reduction(const ReductionOptions& options, int bits, Picture& picture) {
  if (!options.size.empty()) resize(options.size, picture);
  if (options.gray) check(T_GrayScaleBitmap(&picture.record()), "--gray");
  if (options.reduces() && bits <= 8) reduce(options, bits, picture.record());
}

}  // namespace tavo::tools
