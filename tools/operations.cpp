#include "operations.h"

#include <algorithm>
#include <span>
#include <utility>

#include "failure.h"
#include "kernel.h"
#include "numbers.h"
#include "suggest.h"

namespace tavo::tools {
namespace {

// ---- What the library takes ----

constexpr Range kWindow = {3, 255, true};
constexpr Range kLevel = {-1000, 1000};
constexpr Range kCircle = {-360, 360};
constexpr Range kMosaic = {2, 32767};
constexpr Range kSpeck = {1, 1000};  // pixels, of 1-bit pictures
constexpr Range kRounds = {1, 16};   // of all others
constexpr Range kPosterLevels = {2, 64};
constexpr Range kCell = {2, 64};
constexpr int kUsualScreen = 45;
constexpr Range kMargin = {0, 32767};
constexpr int kMostTurns = 3600;  // degrees

// ---- Values ----

using Words = std::vector<std::string>;

// The parts of "3:box".
Words parts_of(const std::string& value) {
  Words parts(1);
  for (const char c : value) {
    if (c == ':') {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

int whole_of(const std::string& text, const Range& range) {
  if (const auto number = read_whole(text, range)) return *number;
  throw BadValue{"\"" + text + "\" is no " + text_of(range)};
}

size_t index_of(const std::string& word, const Words& words) {
  const auto found = std::ranges::find(words, word);
  if (found != words.end()) return static_cast<size_t>(found - words.begin());
  throw BadValue{not_one_of(word, words)};
}

void refuse_more_than(size_t most, const Words& parts, const std::string& value) {
  if (parts.size() > most) throw BadValue{"\"" + value + "\" has too many parts"};
}

// ---- Steps ----

// One call of the library.
template <class Call>
Step calls(Call call) {
  return {.apply = [call](BitmapHandle& record, const StepScene& scene) {
    check(call(record), scene.where);
  }};
}

Operation plain(const char* option, const char* text, int32_t(T_CALL* function)(BitmapHandle*)) {
  return {option, "", text, [function](const std::string&) {
            return calls([function](BitmapHandle& record) { return function(&record); });
          }};
}

Operation with_number(const char* option, const std::string& text, const Range& range,
                      int32_t(T_CALL* function)(BitmapHandle*, int32_t)) {
  return {option, "N", text + ". N: " + help_of(range), [=](const std::string& value) {
            const int number = whole_of(value, range);
            return calls([=](BitmapHandle& record) { return function(&record, number); });
          }};
}

Operation morphology(const char* option, const char* text, uint32_t operation) {
  return {option, "N[:box|cross|row|column]", text + (". N: " + help_of(kWindow)),
          [operation](const std::string& value) {
            static const Words shapes = {"box", "cross", "row", "column"};
            const Words parts = parts_of(value);
            refuse_more_than(2, parts, value);
            const int size = whole_of(parts[0], kWindow);
            const size_t shape = parts.size() > 1 ? index_of(parts[1], shapes) : T_SHAPE_BOX;
            return calls([=](BitmapHandle& record) {
              return T_BinaryFilterBitmap(&record, operation, static_cast<uint32_t>(shape), size);
            });
          }};
}

Step sized(std::optional<SizeWish> wish, const std::string& fault) {
  if (!wish) throw BadValue{fault};
  return {.apply =
              [wish](BitmapHandle& record, const StepScene& scene) {
                resize(record, wish->of(extent_of(record)), scene.sizing, scene.where);
              },
          .size = wish};
}

Step size(const std::string& value) {
  return sized(parse_size(value),
               "\"" + value +
                   "\" is no size: WxH, Wx or xH with whole numbers from 1, or N% up to "
                   "100000 with four decimal places at most");
}

Step fit(const std::string& value) {
  return sized(parse_box(value), "\"" + value + "\" is no box: WxH, whole numbers from 1");
}

void cut_out(BitmapHandle& record, const Region& region, const std::string& where) {
  const Extent picture = extent_of(record);
  if (!region.is_inside(picture))
    throw Failure{where,
                  "The rectangle reaches outside of the picture, which is " +
                      std::to_string(picture.width) + " x " + std::to_string(picture.height),
                  T_ERR_ARGUMENT};
  BitmapHandle part{};
  const auto of = [](int32_t number) { return static_cast<uint32_t>(number); };
  const int32_t status = T_CopyBitmapRect(&part, &record, of(region.x), of(region.y),
                                          of(region.extent.width), of(region.extent.height));
  if (status != T_OK) T_FreeBitmap(&part);
  check(status, where);
  part.XResolution = record.XResolution;
  part.YResolution = record.YResolution;
  T_FreeBitmap(&record);
  record = part;
}

Step crop(const std::string& value) {
  const auto region = parse_region(value);
  if (!region)
    throw BadValue{"\"" + value +
                   "\" is no rectangle: WxH+X+Y, W and H whole numbers from 1, X and Y from 0"};
  return {.apply = [region](BitmapHandle& record, const StepScene& scene) {
    cut_out(record, *region, scene.where);
  }};
}

// Mixed pixels make straight lines of grey and colour smoother; pictures with a palette of colours
// would lose it.
int32_t put_straight(BitmapHandle& record) {
  int32_t angle = 0;
  int32_t status = T_FindSkew(&record, &angle);
  const bool is_smooth = record.BitsPerPixel > 8 || (record.Flags & T_FLAG_GRAY) != 0;
  if (status == T_OK)
    status = T_RotateBitmapFine(&record, -angle, is_smooth ? T_ROTATE_SMOOTH : 0, 0xFFFFFF);
  return status;
}

Step autocrop(const std::string& value) {
  const int margin = value.empty() ? 0 : whole_of(value, kMargin);
  return {.apply = [margin](BitmapHandle& record, const StepScene& scene) {
    uint32_t x = 0, y = 0, width = 0, height = 0;
    check(T_FindContent(&record, &x, &y, &width, &height), scene.where);
    if (width == 0) return;  // a blank page stays as it is
    const auto from = [margin](uint32_t first) {
      return std::max(static_cast<int32_t>(first) - margin, 0);
    };
    const auto to = [margin](uint32_t end, int32_t side) {
      return static_cast<int32_t>(std::min<int64_t>(int64_t{end} + margin, side));
    };
    const int32_t left = from(x);
    const int32_t top = from(y);
    cut_out(record,
            {{to(x + width, record.Width) - left, to(y + height, record.Height) - top}, left, top},
            scene.where);
  }};
}

uint32_t color_of(const std::string& text) {
  const auto is_digit = [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
  };
  if (text.size() != 6 || !std::ranges::all_of(text, is_digit))
    throw BadValue{"\"" + text + "\" is none of keep, smooth and a color RRGGBB"};
  return static_cast<uint32_t>(std::stoul(text, nullptr, 16));
}

Step rotate(const std::string& value) {
  const Words parts = parts_of(value);
  const auto angle = read_decimal(parts[0], 2);
  if (!angle || *angle < -100 * kMostTurns || *angle > 100 * kMostTurns)
    throw BadValue{"\"" + parts[0] + "\" is no number of degrees from -" +
                   std::to_string(kMostTurns) + " to " + std::to_string(kMostTurns) +
                   " with two decimal places at most"};
  uint32_t flags = 0;
  uint32_t color = 0xFFFFFF;
  for (const std::string& part : std::span(parts).subspan(1)) {
    if (part == "keep") {
      flags |= T_ROTATE_KEEP_SIZE;
    } else if (part == "smooth") {
      flags |= T_ROTATE_SMOOTH;
    } else {
      color = color_of(part);
    }
  }
  return calls([=](BitmapHandle& record) {
    return T_RotateBitmapFine(&record, static_cast<int32_t>(*angle), flags, color);
  });
}

Step flip(const std::string& value) {
  const bool is_sideways = index_of(value, {"h", "v"}) == 0;
  return calls([is_sideways](BitmapHandle& record) {
    return is_sideways ? T_ReverseBitmap(&record) : T_FlipBitmap(&record);
  });
}

Step despeckle(const std::string& value) {
  const int amount = whole_of(value, kSpeck);
  return {.apply = [amount](BitmapHandle& record, const StepScene& scene) {
    if (record.BitsPerPixel > 1 && amount > kRounds.to)
      throw Failure{scene.where,
                    "Of a picture that has more than 1 bit it is a " + text_of(kRounds),
                    T_ERR_ARGUMENT};
    check(T_DespeckleBitmap(&record, amount), scene.where);
  }};
}

Step kernel(const std::string& value) {
  const auto parsed = parse_kernel(value);
  if (!parsed) throw BadValue{"\"" + value + "\" is no kernel: " + kernel_help()};
  return calls([kernel = *parsed](BitmapHandle& record) {
    return T_SpatialFilterBitmap(&record, kernel.coefficients.data(), kernel.size(), kernel.divisor,
                                 kernel.bias, kernel.is_absolute ? T_FILTER_ABSOLUTE : 0);
  });
}

Step halftone(const std::string& value) {
  const Words parts = parts_of(value);
  refuse_more_than(2, parts, value);
  const int cell = whole_of(parts[0], kCell);
  const int angle = parts.size() > 1 ? whole_of(parts[1], kCircle) : kUsualScreen;
  return calls([=](BitmapHandle& record) { return T_HalfToneBitmap(&record, cell, angle); });
}

std::vector<Operation> all_operations() {
  return {
      {"--size", "WxH|Wx|xH|N%",
       "Give the picture another size, of which one side may be left to the other", size},
      {"--fit", "WxH", "Make it as large as fits into a box, its proportions kept", fit},
      {"--crop", "WxH+X+Y",
       "Keep the rectangle whose top left pixel is X from the left and Y from "
       "the top",
       crop},
      {"--rotate", "DEGREES[:keep][:smooth][:RRGGBB]",
       "Turn clockwise; 7.5 and -90 work, too. keep: the size stays; smooth: pixels are mixed; "
       "RRGGBB is the color outside, white without it",
       rotate},
      {"--deskew", "",
       "Find the angle of a page's lines of text, up to 15 degrees, and turn them straight; the "
       "page grows so that nothing is cut, white at the corners. Pages without lines stay as they "
       "are",
       [](const std::string&) { return calls(put_straight); }},
      {"--autocrop", "[:MARGIN]",
       "Keep what is on a page, and so many pixels around it (" + help_of(kMargin) +
           ", 0 without them): a scanner's black border, empty margins and specks go",
       autocrop},
      {"--flip", "h|v", "Mirror left to right (h) or turn upside down (v)", flip},
      with_number("--blur", "The mean of the N x N pixels around each", kWindow,
                  T_AverageFilterBitmap),
      with_number("--median", "The middle one of the N x N values around each pixel", kWindow,
                  T_MedianFilterBitmap),
      with_number("--sharpen", "Sharpen, or below 0 soften", kLevel, T_SharpenBitmap),
      with_number("--mosaic", "Squares of N x N pixels of one color", kMosaic, T_MosaicBitmap),
      {"--despeckle", "N",
       "Take specks away: in 1-bit pictures dark groups of at most N pixels (" + help_of(kSpeck) +
           "), in others by N rounds of hulling (" + help_of(kRounds) + ")",
       despeckle},
      {"--kernel", "\"K...[/DIVISOR][+BIAS][:abs]\"",
       "Weighted sums of the pixels around each: " + kernel_help() +
           ". Without a divisor it is the sum of the numbers",
       kernel},
      morphology("--erode", "The least value under a shape: dark parts grow", T_BINARY_ERODE),
      morphology("--dilate", "The greatest value: light parts grow", T_BINARY_DILATE),
      morphology("--open", "Erode, then dilate: small light parts go", T_BINARY_OPEN),
      morphology("--close", "Dilate, then erode: small dark parts go", T_BINARY_CLOSE),
      with_number("--brightness", "Lighter or darker", kLevel, T_ChangeBitmapIntensity),
      with_number("--contrast", "More or less contrast", kLevel, T_ChangeBitmapContrast),
      with_number("--saturation", "More or less color; -1000 is grey", kLevel,
                  T_ChangeBitmapSaturation),
      with_number("--hue", "Turn the colors, in degrees from red towards green", kCircle,
                  T_ChangeBitmapHue),
      plain("--invert", "The negative", T_InvertBitmap),
      with_number("--posterize", "N levels of each color channel", kPosterLevels,
                  T_PosterizeBitmap),
      plain("--equalize", "Spread the grey levels evenly", T_HistoEqualizeBitmap),
      {"--halftone", "CELL[:ANGLE]",
       "Black and white by a screen of dots, as in print; the period of the screen in pixels (" +
           help_of(kCell) + ") and its angle in degrees (" + help_of(kCircle) + ", " +
           std::to_string(kUsualScreen) + " without it)",
       halftone},
  };
}

}  // namespace

const std::vector<Operation>& operations() {
  static const std::vector<Operation> rows = all_operations();
  return rows;
}

}  // namespace tavo::tools
