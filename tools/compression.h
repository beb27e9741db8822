// The options of the compressed formats: quality, chroma subsampling, stamp.
#pragma once

#include <cstdint>
#include <string>

#include "cli_app.h"
#include "tavo45.h"

namespace tavo::tools {

struct CompressionOptions {
  int quality = 0;  // 0: not given
  int factor = kNoFactor;
  std::string subsampling;
  std::string stamp;
  std::string level;  // of Deflate

  static constexpr int kNoFactor = INT32_MIN;
  bool any() const {
    return quality != 0 || factor != kNoFactor || !subsampling.empty() || !stamp.empty();
  }
};

void add_compression_options(CLI::App& command, CompressionOptions& options);

// Whether saves in this format are compressed as JPEG.
bool is_compressed(const T_Format& format);

// `format`, or the variant of it with the subsampling asked for. UsageError when an option has no
// meaning for the format.
T_Format compressed_variant(const T_Format& format, const CompressionOptions& options);

// Has Deflate work as `options` say. UsageError for formats without it.
void choose_level(const T_Format& format, const CompressionOptions& options);

// The library's quality factor for the options. Without any, that of the source's quality; 0: it
// has none.
int32_t quality_factor(const T_Format& format, const CompressionOptions& options,
                       int source_quality = 0);

// The depth at which a picture that is loaded is compressed without --bits: 8 for one whose
// colours are all grey, else 24.
int compressed_depth(const BitmapHandle& picture);

// Writes the picture and its stamp at the depth given, 8 (grey) or 24; the record may be changed.
// `path`: where to; `name`: of the output in messages.
void save_with_stamp(const std::string& path, const std::string& name, BitmapHandle& picture,
                     const T_Format& format, int depth, int32_t factor,
                     const CompressionOptions& options);

}  // namespace tavo::tools
