// Pictures of another size.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "geometry.h"
#include "rows_read.h"
#include "source.h"
#include "tavo45.h"

namespace tavo::tools {

// How to choose the method where a picture gets another size.
struct SizeRule {
  std::optional<uint32_t> method;  // T_SIZE_ value that was asked for
  bool is_for_one_bit = false;     // the output has 1 bit
};

// The words for T_SIZE_ values, in their order.
const std::vector<std::string>& size_method_names();

// `where` says in messages what is being done.
void resize(BitmapHandle& record, Extent to, const SizeRule& rule, const std::string& where);

// The method for loading the page in another size at once, its rows filtered as they come. Nothing
// where that is not to be, or where only its palette will tell.
std::optional<uint32_t> method_of_load(const SizeRule& rule, const FILEINFO& info, Extent to);

// Loads the page with that method, of JPEG files as little as is enough. What it gives is freed
// when it fails.
RowsRead load_sized(const Source& source, const FILEINFO& info, Extent to, uint32_t method,
                    BitmapHandle& record);

}  // namespace tavo::tools
