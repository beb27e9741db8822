// What a save does, decided before it touches a pixel.
#pragma once

#include <cstdint>

#include "base/settings.h"
#include "base/status.h"
#include "io/row_writer.h"
#include "pipeline/registry.h"

namespace tavo::pipeline {

struct SaveOptions {
  int32_t format = 0;
  int32_t bits = 0;  // 0: the bitmap's own depth
  int32_t quality = 0;
  uint32_t flags = 0;
  bool direct = false;
};

// How a picture is brought to what is written.
enum class Preparation { kNone, kGray, kResolution };

struct SavePlan {
  const FormatRow* format = nullptr;  // null: there is none with this identifier
  io::SaveRequest request;
  Preparation preparation = Preparation::kNone;
  bool appends = false;

  // `bits`, `is_reduced`: of the picture.
  SavePlan(const char* name, const SaveOptions& options, int32_t bits, bool is_reduced);

  // What a save that appends does with the file that is there; others replace it.
  Status find_target();

  // Calls `use` with a writer of the format. kNoFormat, kBadDepth.
  Status with_writer(io::WriterUse use) const;
};

}  // namespace tavo::pipeline
