// The picture in a file, as its reader found it.
#pragma once

#include <cstdint>

#include "tavo45.h"

namespace tavo::process {

// Fills in for a bitmap record while the file is read: what its rows are, top to bottom of the
// file. Probes and readers build it with one function, so they cannot disagree.
struct SourcePicture {
  int32_t width = 0;
  int32_t height = 0;
  int32_t bits = 0;               // of the rows that the reader decodes
  uint32_t order = T_ORDER_RGB;   // told at every depth, means something above 8 bits
  uint32_t view_perspective = 0;  // 2: the first row is the bottom one
  uint32_t orientation = 1;       // how to turn what view_perspective shows, as TIFF numbers it
  uint32_t flags = 0;             // T_FLAG_GRAY, T_FLAG_PALETTE, T_FLAG_INTERLACED
  uint32_t colors = 0;            // palette entries
  uint32_t extras = 0;            // T_EXTRA_ bits
  int32_t storage_kind = 0;       // number of the format in BitmapHandle.StorageKind
  int32_t x_resolution = 0;       // used when has_resolution
  int32_t y_resolution = 0;
  bool has_resolution = false;
  bool widens = false;         // 1 bit: a direct request for 24 bits gives 24
  int32_t delivered_bits = 0;  // when not 0, the depth that an unallocated record gets
  int32_t x_origin = 0;        // used when has_origin
  int32_t y_origin = 0;
  bool has_origin = false;
  T_PaletteEntry palette[256] = {};  // used up to 8 bits
};

// Takes dots per inch as a file has them. Outside 1 to 9600 they say nothing; one of the two stands
// for both.
void set_resolution(int64_t x, int64_t y, SourcePicture& picture);

// What T_FileInfo reports of it; `compression` is one of the texts of FILEINFO.
void describe(const SourcePicture& picture, int32_t format, const char* compression,
              FILEINFO& info);

// The picture that a record describes whose rows are delivered.
SourcePicture picture_of(const BitmapHandle& source);

}  // namespace tavo::process
