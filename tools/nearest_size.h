// Pictures of another size, of the pixels that they have.
#pragma once

#include <string>

#include "geometry.h"
#include "tavo45.h"

namespace tavo::tools {

// Each new pixel is the one in which its middle lies. The library's own rule for this, which keeps
// old programs happy, leaves the last rows of some sizes empty. `where` is for messages.
void size_by_nearest(BitmapHandle& record, Extent to, const std::string& where);

}  // namespace tavo::tools
