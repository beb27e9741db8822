// Pictures that are written as they stand.
#pragma once

#include <string>

#include "tavo45.h"

namespace tavo::tools {

// Writes the picture, with its resolution, at the depth that the format has nearest to its own.
// path      where to
// name      of the output in messages
// is_added  as a further page of the file
void save_picture(const std::string& path, const std::string& name, const T_Format& format,
                  BitmapHandle& record, bool is_added = false);

}  // namespace tavo::tools
