// Bitmaps into files of any format.
#pragma once

#include "base/status.h"
#include "pipeline/save_plan.h"
#include "tavo45.h"

namespace tavo::pipeline {

// T_SaveFile.
Status save(const char* name, BitmapHandle& bitmap, const SaveOptions& options);

// The same with the bitmap's resolution kept, which a save's copy would lose. `consumes`: a picture
// that must be changed is, instead of a copy; it may be lost.
Status save_with_resolution(const char* name, BitmapHandle& bitmap, SaveOptions options,
                            bool consumes = false);

}  // namespace tavo::pipeline
