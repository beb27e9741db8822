// Room for a directory in front of pages that are in its way.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "formats/dcx_directory.h"
#include "io/output_file.h"

namespace tavo::dcx {

// Makes a PCX file of `file_size` bytes the page behind a directory of two entries, the second one
// for what will be written at its end, which moves up by kAreaSize. Whichever operation is the last
// that works, the picture can be read; a write that is cut short is taken back.
Status put_behind_directory(io::OutputFile& file, uint32_t file_size);

// Moves the pages of a file of `file_size` bytes, the first of which is at `first`, up to the end
// of the longest directory, and writes that with `count` entries for them and one for what will be
// written at the end. What fails is taken back.
Status move_pages(io::OutputFile& file, uint32_t first, uint32_t file_size, Directory& directory,
                  uint32_t count);

}  // namespace tavo::dcx
