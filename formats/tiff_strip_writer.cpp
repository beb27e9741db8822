#include "formats/tiff_strip_writer.h"

#include <algorithm>

#include "base/settings.h"
#include "codec/packbits.h"
#include "core/bitmap.h"

namespace tavo::tiff {

namespace {

constexpr int32_t kFineResolution = 150;  // dots per inch from which T.4, 4.2.1.1, takes K = 4

}  // namespace

uint64_t row_bytes(const BitmapHandle& picture, int32_t depth) {
  return core::packed_bytes(static_cast<uint64_t>(picture.Width), depth);
}

Status StripWriter::start(const Variant& variant, const BitmapHandle& picture, int32_t depth,
                          bool has_levels) {
  const uint64_t bytes = row_bytes(picture, depth);
  compression_ = variant.compression;
  pixel_bytes_ = depth > 8 ? 3 : 1;
  if (variant.is_fax()) return start_fax(variant, picture);
  if (compression_ == kPackBits) {
    return packed_.allocate(packbits::max_encoded_size(static_cast<size_t>(bytes)));
  }
  const bool is_asked = picture.WriterDefaults[1] == kHorizontalPredictor;
  bool has_predictor = compression_ == kLzw && depth >= 8 && is_asked;
  if (compression_ == kDeflate) {
    // Differences of levels take fewer bytes than levels, those of indices more than indices.
    has_predictor = depth >= 8 && (has_levels || is_asked);
    TRY(deflate_.allocate(static_cast<deflate::Level>(settings.deflate_level)));
  }
  return has_predictor ? differences_.allocate(bytes) : kOk;
}

Status StripWriter::begin_strip() {
  if (compression_ == kDeflate) deflate_.start();
  return compression_ == kLzw ? lzw_.start(8) : kOk;
}

// Every K-th row of two-dimensional Group 3 is coded by itself (T.4, 4.2.1.1): 2, or 4 in fine
// pictures.
Status StripWriter::start_fax(const Variant& variant, const BitmapHandle& picture) {
  ccitt::EncoderOptions options;
  if (compression_ == kGroup3) {
    const bool is_2d = variant.t4_options != 0;
    options.coding = is_2d ? ccitt::Coding::kGroup3TwoD : ccitt::Coding::kGroup3;
    options.rows_per_1d = picture.YResolution < kFineResolution ? 2 : 4;
  }
  return ccitt_.start(options, static_cast<uint32_t>(picture.Width));
}

// TIFF 6.0, section 14.
std::span<const uint8_t> StripWriter::differences(std::span<const uint8_t> row) {
  uint8_t* const out = differences_.data();
  std::ranges::copy(row.first(pixel_bytes_), out);
  for (size_t i = pixel_bytes_; i < row.size(); ++i) {
    out[i] = static_cast<uint8_t>(row[i] - row[i - pixel_bytes_]);
  }
  return differences_.bytes();
}

Status StripWriter::add(std::span<const uint8_t> row) {
  switch (compression_) {
    case kNone:
      return out_.write(row);
    case kPackBits:
      return out_.write({packed_.data(), packbits::encode(row, packed_.data())});
    case kLzw:
      return lzw_.encode(has_predictor() ? differences(row) : row);
    case kDeflate:
      return deflate_.encode(has_predictor() ? differences(row) : row);
    default:
      return ccitt_.encode_row(row);
  }
}

Status StripWriter::finish_strip() {
  if (compression_ == kGroup3 || compression_ == kGroup4) return ccitt_.finish();
  if (compression_ == kDeflate) return deflate_.finish();
  return compression_ == kLzw ? lzw_.finish() : kOk;
}

}  // namespace tavo::tiff
