// Names as letters that can be drawn.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tavo::tools {

// The letters of a name in UTF-8; a byte that is none of it stands for itself, as in Latin-1.
std::u32string letters_of(std::string_view name);

// At most so many letters: of longer names the middle is left out, the extension stays.
std::u32string shortened(const std::u32string& letters, size_t most);

}  // namespace tavo::tools
