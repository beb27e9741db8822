#include "formats/tiff_image.h"

#include <algorithm>
#include <array>

#include "base/limits.h"
#include "codec/jpeg/markers.h"
#include "color/palettes.h"
#include "formats/plausible.h"
#include "formats/tiff_length.h"

namespace tavo::tiff {

namespace {

// Sections are those of TIFF 6.0.

constexpr uint32_t kMaxSamples = 64;
constexpr uint32_t kMaxTile = 65536;

// Orientation (section 8): where the first row and the first column of the file belong.
constexpr uint32_t kOrientationTopLeft = 1;
constexpr uint32_t kOrientationBottomLeft = 4;
constexpr uint32_t kOrientationLeftBottom = 8;

bool is_known_coding(uint32_t compression) {
  switch (compression) {
    case kNone:
    case kCcittRuns:
    case kGroup3:
    case kGroup4:
    case kLzw:
    case kDeflate:
    case kPackBits:
    case kCcittRuns16:
    case kOldDeflate:
      return true;
    default:
      return false;
  }
}

// Samples that make the colour; what there is beyond them are extra samples (section 18).
uint32_t samples_of(uint32_t photometric) {
  switch (photometric) {
    case kWhiteIsZero:
    case kBlackIsZero:
    case kPalette:
    case kMask:
      return 1;
    case kRgb:
    case kYCbCr:
      return 3;
    case kSeparated:
      return 4;
    default:
      return 0;
  }
}

// What cannot be read of a tag that a picture can do without is not there.
Status get_if_readable(const Directory& directory, Tag tag, uint32_t fallback, uint32_t& value,
                       uint64_t index = 0) {
  if (directory.get(tag, fallback, value, index).ok()) return kOk;
  value = fallback;
  return directory.file().failure();
}

// Samples: how many, how large. Files with one size for all samples, or fewer sizes than samples,
// are common: those that are missing are the first one's. Without SamplesPerPixel the number of
// sizes tells. PhotometricInterpretation has no default (section 8), but is left out: white is zero
// in fax codings. `is_known`: read() can decode them.
Status parse_samples(const Directory& directory, Image& image, bool& is_known) {
  is_known = false;
  const uint64_t sizes = directory.field(Tag::kBitsPerSample).count;
  const uint32_t from_sizes = sizes == 3 || sizes == 4 ? static_cast<uint32_t>(sizes) : 1;
  TRY(directory.get(Tag::kSamplesPerPixel, from_sizes, image.samples));
  image.samples = std::max(image.samples, 1u);
  TRY(directory.get(Tag::kBitsPerSample, image.compression == kOldJpeg ? 8 : 1, image.bits));
  const uint32_t usual = image.is_fax() || image.samples < 3
                             ? (image.is_fax() ? kWhiteIsZero : kBlackIsZero)
                             : uint32_t{kRgb};
  TRY(directory.get(Tag::kPhotometric, usual, image.photometric));
  // A colour map that is too short makes a grey picture, as everywhere.
  const uint64_t map = directory.field(Tag::kColorMap).count;
  if (image.photometric == kPalette && image.bits <= 8 && map < uint64_t{3} << image.bits) {
    image.photometric = kBlackIsZero;
  }
  image.used_samples = samples_of(image.photometric);
  if (image.samples > kMaxSamples) return kOk;
  for (uint64_t i = 1; i < std::min<uint64_t>(sizes, image.samples); ++i) {
    uint32_t bits = 0;
    TRY(directory.get(Tag::kBitsPerSample, 0, bits, i));
    if (bits != image.bits) return kOk;
  }
  // SampleFormat (section 19). Signed numbers of 8 bits are taken as they stand; 4 is "undefined".
  constexpr uint32_t kUnsigned = 1;
  constexpr uint32_t kSigned = 2;
  constexpr uint32_t kUnknown = 4;
  uint32_t format = 0;
  TRY(get_if_readable(directory, Tag::kSampleFormat, kUnsigned, format));
  const bool is_number =
      format == kUnsigned || format == kUnknown || (format == kSigned && image.bits == 8);
  const bool is_size = (image.bits >= 1 && image.bits <= 16) || image.bits == 32;
  is_known = is_number && is_size && image.used_samples > 0 && image.samples >= image.used_samples;
  return kOk;
}

// Tiles (section 15) or strips (section 3). TileWidth and TileLength should be multiples of 16;
// readers need not care. RowsPerStrip may be any large number, and 0 in old files, for one strip.
Status parse_blocks(const Directory& directory, Image& image) {
  uint32_t tile_width = 0;
  uint32_t tile_height = 0;
  TRY(directory.get(Tag::kTileWidth, 0, tile_width));
  TRY(directory.get(Tag::kTileLength, 0, tile_height));
  image.is_tiled = directory.has(Tag::kTileOffsets) || tile_width != 0;
  if (image.is_tiled) {
    const bool is_sane =
        tile_width >= 1 && tile_width <= kMaxTile && tile_height >= 1 && tile_height <= kMaxTile;
    if (!is_sane) return kBadData;
    image.block_width = tile_width;
    image.block_height = tile_height;
  } else {
    uint32_t rows = 0;
    TRY(directory.get(Tag::kRowsPerStrip, 0, rows));
    image.block_width = image.width;
    image.block_height = rows == 0 ? image.height : std::min(rows, image.height);
  }
  image.blocks_across = (image.width - 1) / image.block_width + 1;
  image.blocks_down = (image.height - 1) / image.block_height + 1;
  return kOk;
}

// Section 21: factors of 1, 2 and 4. Units share a strip or tile; the last ones of a picture are
// filled up.
bool are_units(const Image& image) {
  const auto is_factor = [](uint32_t n) { return n == 1 || n == 2 || n == 4; };
  if (!is_factor(image.unit_width) || !is_factor(image.unit_height)) return false;
  if (image.unit_width == 1 && image.unit_height == 1) return true;
  const bool is_whole = image.blocks_down == 1 || image.block_height % image.unit_height == 0;
  const bool is_wide = image.blocks_across == 1 || image.block_width % image.unit_width == 0;
  return !image.is_planar && !image.has_predictor && image.bits == 8 && image.samples == 3 &&
         is_whole && is_wide;
}

// JPEG streams tell their own sampling; YCbCrSubSampling is about all other codings, where it
// defaults to 2, 2 (section 21).
Status parse_units(const Directory& directory, Image& image, bool& is_known) {
  is_known = true;
  if (image.photometric != kYCbCr || image.is_jpeg()) return kOk;
  TRY(get_if_readable(directory, Tag::kYCbCrSubSampling, 2, image.unit_width, 0));
  TRY(get_if_readable(directory, Tag::kYCbCrSubSampling, 2, image.unit_height, 1));
  is_known = are_units(image);
  return kOk;
}

// Whether the parts make a picture that read() can decode: JPEG of 8 bits, chunky but for the older
// form, where a stream may have its components apart; fax codings of one sample; palettes of at
// most 256 colours; colours other than RGB of 8 bits and more; predictors of 8 and 16 bits.
bool fits_together(const Image& image) {
  if (image.is_jpeg()) {
    const bool is_count = image.samples <= jpeg::kMaxComponents;
    const bool is_order = !image.is_planar || image.compression == kOldJpeg;
    return image.bits == 8 && is_order && is_count && image.photometric != kPalette;
  }
  if (!is_known_coding(image.compression)) return false;
  if (image.is_fax() && (image.samples != 1 || image.used_samples != 1)) return false;
  if (image.photometric == kPalette && image.bits > 8) return false;
  if (image.photometric >= kSeparated && image.bits < 8) return false;
  const bool predicts = image.bits == 8 || image.bits == 16;
  if (image.has_predictor && !predicts) return false;
  // Tiles are put side by side byte by byte.
  return image.blocks_across == 1 ||
         uint64_t{image.block_width} * image.samples_per_plane() * image.bits % 8 == 0;
}

// Dots per inch, rounded; 0 when the tag does not say, or what it says was cut off. With
// ResolutionUnit 1 (section 8) the two numbers are an aspect ratio, of which bitmaps know nothing.
Status read_resolution(const Directory& directory, Tag tag, int32_t& resolution) {
  constexpr uint32_t kInch = 2;
  constexpr uint32_t kCentimetre = 3;
  resolution = 0;
  uint32_t unit = 0;
  uint32_t numerator = 0;
  uint32_t denominator = 0;
  TRY(directory.get(Tag::kResolutionUnit, kInch, unit));
  if (!directory.rational(tag, 0, numerator, denominator).ok()) return directory.file().failure();
  if (unit != kInch && unit != kCentimetre) return kOk;
  const uint64_t parts = unit == kCentimetre ? 254 : 100;
  const uint64_t dots =
      (uint64_t{numerator} * parts + uint64_t{denominator} * 50) / (uint64_t{denominator} * 100);
  resolution = static_cast<int32_t>(std::min<uint64_t>(dots, INT32_MAX));
  return kOk;
}

// One of the two stands for both.
Status read_resolutions(const Directory& directory, process::SourcePicture& picture) {
  TRY(read_resolution(directory, Tag::kXResolution, picture.x_resolution));
  TRY(read_resolution(directory, Tag::kYResolution, picture.y_resolution));
  if (picture.x_resolution == 0) picture.x_resolution = picture.y_resolution;
  if (picture.y_resolution == 0) picture.y_resolution = picture.x_resolution;
  picture.has_resolution = picture.x_resolution > 0;
  return kOk;
}

// What read() makes of it: single samples stay 1 bit, become 4 (2 and 4 bits) or 8; all colours 24.
void describe(Image& image) {
  process::SourcePicture& picture = image.picture;
  picture.width = static_cast<int32_t>(image.width);
  picture.height = static_cast<int32_t>(image.height);
  const bool is_one = image.used_samples == 1;
  const bool is_packed = is_one && image.samples_per_plane() == 1;
  const bool is_palette = image.photometric == kPalette;
  picture.bits = !is_one                                             ? 24
                 : is_packed && image.bits == 1                      ? 1
                 : is_packed && (image.bits == 2 || image.bits == 4) ? 4
                                                                     : 8;
  if (is_one) {
    picture.colors = is_palette || picture.bits < 8 ? 1u << std::min(image.bits, 8u) : 256;
    if (is_palette && picture.bits == 8) picture.colors = 256;
    if (is_palette) picture.flags = T_FLAG_PALETTE;
    if (!is_palette && picture.bits > 1) picture.flags = T_FLAG_GRAY;
  }
}

// Rows from the bottom (4) are what ViewPerspective is for; the others are told in FILEINFO alone.
Status read_orientation(const Directory& directory, process::SourcePicture& picture) {
  uint32_t orientation = 0;
  TRY(directory.get(Tag::kOrientation, kOrientationTopLeft, orientation));
  if (orientation == kOrientationBottomLeft) {
    picture.view_perspective = 2;
  } else if (orientation >= kOrientationTopLeft && orientation <= kOrientationLeftBottom) {
    picture.orientation = orientation;
  }
  return kOk;
}

// How the samples are coded. The predictor belongs to LZW (section 14) and Deflate; elsewhere the
// tag means nothing. JPEGProc (section 22): 1 baseline, 14 lossless.
Status parse_coding(const Directory& directory, Image& image, bool& is_known) {
  uint32_t planar = 0;
  uint32_t fill_order = 0;
  uint32_t predictor = 0;
  uint32_t jpeg_process = 0;
  TRY(directory.get(Tag::kCompression, kNone, image.compression));
  TRY(directory.get(Tag::kPlanarConfiguration, 1, planar));
  TRY(directory.get(Tag::kFillOrder, 1, fill_order));
  TRY(directory.get(Tag::kT4Options, 0, image.t4_options));
  TRY(directory.get(Tag::kPredictor, 1, predictor));
  TRY(directory.get(Tag::kJpegProc, 1, jpeg_process));
  image.is_planar = planar == 2;
  image.is_reversed = fill_order == 2;
  const bool uses_predictor = image.compression == kLzw || image.compression == kDeflate ||
                              image.compression == kOldDeflate;
  image.has_predictor = uses_predictor && predictor == kHorizontalPredictor;
  constexpr uint32_t kLossless = 14;
  const bool is_lossless_jpeg = image.compression == kOldJpeg && jpeg_process == kLossless;
  is_known = !(uses_predictor && predictor > kHorizontalPredictor) && !is_lossless_jpeg;
  return kOk;
}

// All but the height, which is there already.
Status parse_tags(const Directory& directory, Image& image) {
  TRY(directory.get(Tag::kImageWidth, 0, image.width));
  if (image.width == 0 || image.width > INT32_MAX || image.height > INT32_MAX) return kBadData;
  bool knows_coding = false;
  bool knows_samples = false;
  bool knows_units = false;
  TRY(parse_coding(directory, image, knows_coding));
  TRY(parse_samples(directory, image, knows_samples));
  if (image.samples == 1) image.is_planar = false;
  // Fax codings have one bit, whatever the file says.
  if (image.is_fax()) image.bits = 1;
  TRY(parse_blocks(directory, image));
  TRY(parse_units(directory, image, knows_units));
  image.is_supported = knows_coding && knows_samples && knows_units && fits_together(image);
  describe(image);
  image.picture.extras = directory.extras();
  if (image.samples > image.used_samples) image.picture.extras |= T_EXTRA_ALPHA;
  TRY(read_orientation(directory, image.picture));
  TRY(read_resolutions(directory, image.picture));
  if (!directory.has(Tag::kStripOffsets) && !directory.has(Tag::kTileOffsets) && !image.is_jpeg()) {
    return kBadData;
  }
  return kOk;
}

// Blocks may share their data: what must be possible is memory for a row of them.
Status check_size(const Directory& directory, const Image& image) {
  TRY(limits::check_picture(image.width, image.height));
  uint32_t file_bytes = 0;
  TRY(directory.file().size(file_bytes));
  if (image.is_fax()) {
    return formats::check_plausible(formats::Density::kFax, image.width, image.height, file_bytes);
  }
  const uint64_t row = image.row_bytes(image.block_width) * image.blocks_across;
  if (row > INT32_MAX) return kBadData;
  const uint64_t rows = uint64_t{image.height} * image.planes() / image.unit_height;
  return formats::check_plausible(formats::Density::kBlocks, row, rows, file_bytes);
}

}  // namespace

// Rows are whole bytes (section 3); with shared colours a row is one of units (section 21).
uint64_t Image::row_bytes(uint32_t pixels) const {
  if (unit_width != 1 || unit_height != 1) {
    const uint64_t units = (uint64_t{pixels} + unit_width - 1) / unit_width;
    return units * (unit_width * unit_height + 2);
  }
  return (uint64_t{pixels} * samples_per_plane() * bits + 7) / 8;
}

// Section 3 requires ImageLength; see tiff_length.h for the pages that lack it.
Status parse_image(const Directory& directory, Image& image) {
  TRY(directory.get(Tag::kImageLength, 0, image.height));
  if (image.height == 0) {
    Image endless;
    endless.height = INT32_MAX;
    TRY(parse_tags(directory, endless));
    TRY(count_rows(directory, endless, image.height));
  }
  TRY(parse_tags(directory, image));
  return image.is_supported ? check_size(directory, image) : kOk;
}

Status read_palette(const Directory& directory, const Image& image,
                    T_PaletteEntry (&palette)[256]) {
  if (image.picture.bits > 8) return kOk;
  if (image.photometric != kPalette) {
    // Pixels of more than 1 bit are inverted instead, so that grey pictures have an even ramp.
    color::fill_gray_ramp(std::span(palette).first(image.picture.colors));
    if (image.picture.bits == 1 && image.photometric == kWhiteIsZero) {
      std::swap(palette[0], palette[1]);
    }
    return kOk;
  }
  ValueList map(directory, Tag::kColorMap);
  const uint64_t entries = std::min<uint64_t>(map.size() / 3, uint64_t{1} << image.bits);
  if (entries == 0) return kBadData;
  std::array<uint16_t, 3 * 256> values;
  uint32_t largest = 0;
  for (uint32_t channel = 0; channel < 3; ++channel) {
    for (uint32_t i = 0; i < entries; ++i) {
      uint64_t value = 0;
      TRY(map.get(channel * (map.size() / 3) + i, value));
      values[channel * 256 + i] = static_cast<uint16_t>(value);
      largest = std::max<uint32_t>(largest, static_cast<uint16_t>(value));
    }
  }
  // Section 5 wants 16 bits, 65535 being white; old writers put 8-bit values there.
  const uint32_t shift = largest > 255 ? 8 : 0;
  for (uint32_t i = 0; i < entries; ++i) {
    palette[i] = {static_cast<uint8_t>(values[512 + i] >> shift),
                  static_cast<uint8_t>(values[256 + i] >> shift),
                  static_cast<uint8_t>(values[i] >> shift), 0};
  }
  return kOk;
}

// The texts of FILEINFO.
const char* compression_text(uint32_t compression) {
  switch (compression) {
    case kNone:
      return "None";
    case kCcittRuns:
    case kCcittRuns16:
      return "CCITT";
    case kGroup3:
      return "CCITT Group 3 Fax";
    case kGroup4:
      return "CCITT Group 4 Fax";
    case kLzw:
      return "LZW";
    case kOldJpeg:
    case kJpeg:
      return "JPEG";
    case kDeflate:
    case kOldDeflate:
      return "Deflate";
    case kPackBits:
      return "Run Length";
    default:
      return "Unknown";
  }
}

}  // namespace tavo::tiff
