// Names of a list as they are hashed, journalled and used for outputs: below the base, with "/"
// between folders.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tavo::tools {

// Without ".", empty parts and "x/..", by the letters alone: links are not asked. "." when nothing
// is left.
std::string short_name(std::string_view name);

// The short form of `name`, relative to `base`, an absolute short name, where it is below it.
std::string name_below(std::string_view base, std::string_view name);

// Whether what name_below gave is outside of the base.
bool leads_out(std::string_view name);

// The output of an input: "scans/a.bmp" as "scans/a.tif", behind `fanout` folders of the name's
// hash.
std::string output_name(const std::string& name, uint64_t hash, int fanout,
                        const std::string& extension);

}  // namespace tavo::tools
