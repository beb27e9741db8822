// GIF: the first image of a file is read, or any with those before it as a frame; one image of 256
// colours is written.
// Facts: CompuServe, "Graphics Interchange Format", version 87a and 89a.
#pragma once

#include <cstdint>

#include "base/byte_source.h"
#include "base/status.h"
#include "formats/gif_blocks.h"
#include "io/format.h"
#include "process/source_picture.h"

namespace tavo::gif {

// What parse_header accepted: the image's width and height are 1 to 65535.
struct Header {
  Screen screen;
  Image image;
};

// Reads up to the first data sub-block of the first image. kBadData (no GIF file, an empty image,
// or one that no file of this size holds), kReadError (no image descriptor where one must be, or
// the file ends before the data).
Status parse_header(ByteSource& bytes, uint64_t file_bytes, Header& header);

// Bits of a picture with a table of so many colors, a power of two (18): the least depth of bitmaps
// that holds them. Without one indices are grey levels.
constexpr int32_t depth_of(uint32_t colors) {
  if (colors == 0 || colors > 16) return 8;
  return colors == 2 ? 1 : 4;
}

Status probe(const io::ProbeInput& input, FILEINFO& info);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
Status write(io::WriterUse use);

}  // namespace tavo::gif
