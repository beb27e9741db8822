// Small pictures of pages.
#pragma once

#include "geometry.h"
#include "source.h"
#include "tavo45.h"

namespace tavo::tools {

// Loads the page as `box` wants it, upright, grey or in 24 bits; never larger than it is. The stamp
// of a JPEG or CMP file is taken when it is large enough, else of those files as few coefficients
// as are enough.
void load_thumbnail(const Source& source, const FILEINFO& info, Extent box, BitmapHandle& record);

}  // namespace tavo::tools
