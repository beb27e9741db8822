#include "reduction.h"

#include <algorithm>
#include <vector>

#include <CLI/CLI.hpp>

#include "failure.h"
#include "option_checks.h"
#include "source.h"

namespace tavo::tools {
namespace {

const std::vector<std::string> kMethods = {"none",   "floyd-steinberg", "stucki", "burkes",
                                           "sierra", "stevenson-arce",  "jarvis", "ordered"};

uint32_t method_of(const std::string& name) {
  const auto found = std::find(kMethods.begin(), kMethods.end(), name);
  return static_cast<uint32_t>(found - kMethods.begin());
}

void reduce_to_file(const std::string& file, int bits, BitmapHandle& record,
                    const std::string& where) {
  Picture source;
  const Source palette(file);
  check(T_LoadBitmap(palette.path().c_str(), &source.record(), 0, T_ORDER_RGB), palette.name());
  const BitmapHandle& from = source.record();
  if (from.BitsPerPixel > 8) {
    throw Failure{file, "has no palette: a picture of 8 bits or less is needed", T_ERR_ARGUMENT};
  }
  const uint32_t colors = std::min(from.Colors, 1u << bits);
  check(T_ColorResolution(&record, bits, T_PALETTE_GIVEN, from.Info.Palette, colors), where);
}

// Palettes of the number of colours that is asked. Without a word pages of 1 bit become black and
// white, as the optimized ones do.
bool is_for_picture(const std::string& palette) {
  return palette.empty() || palette == "fine" || palette == "optimized";
}

void reduce(const ReductionOptions& options, int bits, BitmapHandle& record,
            const std::string& where) {
  record.DitherMethod =
      options.dither.empty() ? T_DITHER_FLOYD_STEINBERG : method_of(options.dither);
  if (is_for_picture(options.palette)) {
    const bool is_fine = options.palette == "fine" || (options.palette.empty() && bits > 1);
    check(T_ColorResolution(&record, bits, is_fine ? T_PALETTE_FINE : T_PALETTE_OPTIMIZED, nullptr,
                            static_cast<uint32_t>(options.colors)),
          where);
  } else if (options.palette == "fixed") {
    check(T_ColorResolution(&record, bits, T_PALETTE_FIXED, nullptr, 0), where);
  } else {
    reduce_to_file(options.palette, bits, record, where);
  }
}

}  // namespace

void add_reduction_options(CLI::App& command, ReductionOptions& options) {
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
                  "Colours to reduce to: fine, the best for the picture (without this option, but "
                  "for 1 bit), optimized for the picture by coarser means, the fixed ones of the "
                  "depth, or those of a picture file")
      ->type_name("fine|optimized|fixed|FILE");
}

void check_reduction(const ReductionOptions& options, int bits) {
  if (options.reduces() && bits > 8) {
    throw UsageError{"--bits: colours are reduced to 8 bits or less"};
  }
  if (bits != 0 && bits <= 8 && options.colors > 1 << bits) {
    throw UsageError{"--colors: more colours than the depth can hold"};
  }
  if (options.colors != 0 && !is_for_picture(options.palette)) {
    throw UsageError{"--colors: the number of colours is that of the palette"};
  }
}

int reduced_depth(const ReductionOptions& options, int suggested) {
  if (options.colors != 0) return options.colors <= 2 ? 1 : options.colors <= 16 ? 4 : 8;
  if (options.reduces() || options.gray) return std::min(suggested, 8);
  return suggested;
}

void apply_reduction(const ReductionOptions& options, int bits, Picture& picture,
                     const std::string& where) {
  if (options.gray) check(T_GrayScaleBitmap(&picture.record()), where);
  if (options.reduces() && bits <= 8) reduce(options, bits, picture.record(), where);
}

}  // namespace tavo::tools
