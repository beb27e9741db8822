// The pixels of a TIFF page on their way into the file.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "codec/ccitt_encoder.h"
#include "codec/deflate.h"
#include "codec/lzw.h"
#include "formats/tiff_image.h"
#include "io/output_file.h"
#include "tavo45.h"

namespace tavo::tiff {

// What the identifiers of saves stand for.
struct Variant {
  int32_t format;
  Compression compression;
  uint32_t t4_options;

  bool is_fax() const { return compression == kGroup3 || compression == kGroup4; }
};

// Counts what goes through to the file.
class Output {
 public:
  explicit Output(io::OutputFile& file) : file_(file) {}
  void start(uint32_t position) { position_ = position; }

  Status write(std::span<const uint8_t> bytes) {
    position_ += bytes.size();
    if (position_ > INT32_MAX) return kWriteError;  // positions beyond cannot be reached
    return file_.write(bytes);
  }
  Status make_even() {
    constexpr uint8_t kZero = 0;
    return position_ % 2 != 0 ? write({&kZero, 1}) : kOk;
  }
  uint32_t position() const { return static_cast<uint32_t>(position_); }

 private:
  io::OutputFile& file_;
  uint64_t position_ = 0;
};

// Encodes rows into strips.
class StripWriter {
 public:
  explicit StripWriter(Output& out) : out_(out), ccitt_(out), lzw_(out), deflate_(out) {}

  // `picture` and `depth`: what is written; `has_levels`: samples, not indices. kNoMemory,
  // kBadSize.
  Status start(const Variant& variant, const BitmapHandle& picture, int32_t depth, bool has_levels);

  Status begin_strip();
  // Of row_bytes().
  Status add(std::span<const uint8_t> row);
  Status finish_strip();

  bool has_predictor() const { return differences_.size() != 0; }

 private:
  Status start_fax(const Variant& variant, const BitmapHandle& picture);
  std::span<const uint8_t> differences(std::span<const uint8_t> row);

  Output& out_;
  Compression compression_ = kNone;
  size_t pixel_bytes_ = 1;
  Buffer packed_;       // a row coded by PackBits
  Buffer differences_;  // a row, each sample less that of the pixel before
  ccitt::Encoder ccitt_;
  lzw::HighFirstEncoder lzw_;
  deflate::Encoder deflate_;
};

// Bytes of a row in the file.
uint64_t row_bytes(const BitmapHandle& picture, int32_t depth);

}  // namespace tavo::tiff
