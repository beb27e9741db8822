// Pictures that a file holds turned, as cameras, scanners and fax programs write them.
#pragma once

#include <cstdint>
#include <string>

#include "tavo45.h"

namespace tavo::tools {

// Turns the picture so that it is seen upright. `orientation` is FILEINFO's; others than 2 to 8
// leave it alone. `where` says in messages what is being done.
void turn_upright(BitmapHandle& record, uint32_t orientation, const std::string& where);

// Whether that exchanges width and height.
inline bool is_sideways(uint32_t orientation) { return orientation >= 5 && orientation <= 8; }

}  // namespace tavo::tools
