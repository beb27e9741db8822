// The headers of BMP files, shared by probe and reader.
#pragma once

#include "formats/bmp.h"

namespace tavo::bmp {

inline constexpr size_t kFileHeaderSize = 14;
inline constexpr size_t kCoreHeaderSize = 12;
inline constexpr size_t kInfoHeaderSize = 40;
inline constexpr size_t kLargestHeader = kFileHeaderSize + 124 + 16;  // with masks behind

// Reads the headers from the start of a file. kBadData (no BMP file, too short, or nonsense; a
// picture that no file of this size holds),
// kSubtype (a coding or depth that is known and not supported).
Status parse_header(std::span<const uint8_t> bytes, uint64_t file_bytes, Header& header);

// What the reader delivers; the palette is left empty.
process::SourcePicture describe(const Header& header);

}  // namespace tavo::bmp
