// What a picture format offers to the pipelines.
#pragma once

#include <cstdint>
#include <span>

#include "base/depths.h"
#include "base/settings.h"
#include "base/status.h"
#include "io/input_file.h"
#include "io/row_writer.h"
#include "tavo45.h"

namespace tavo::io {

// What a probe may look at: the first bytes of the file (fewer when the file is short), and the
// open file, which stands at its start.
struct ProbeInput {
  const char* name;
  std::span<const uint8_t> head;
  InputFile& file;
  uint32_t file_size = 0;
  bool counts_pages = false;  // even where that takes reading the whole file
};

// kOk when the file is the probe's format; `info` is filled then. kNoMemory and a failure of
// input.file end the identification with that status (a probe that reads a part of the file on its
// own passes failures on with input.file.fail()); everything else means "not mine". `info` comes
// zeroed but for FileSize, PageCount, Page (1) and ViewPerspective (2).
using Probe = Status (*)(const ProbeInput& input, FILEINFO& info);

// A streaming reader: decodes the file `name` and hands its rows to `sink`, as the trio of
// tavo45.h documents. Exports have checked the notice.
using Reader = Status (*)(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                          int32_t bits_per_pixel, void* context);

// The same of the picture at 1, 2 or 4 eighths of its size, rounded up.
using DraftReader = Status (*)(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                               int32_t bits_per_pixel, void* context, uint32_t eighths);

// Whether a file that begins so is one to which the format's writer adds pages, however damaged
// they are.
using HoldsPages = bool (*)(std::span<const uint8_t> head);

// Opens the file of a reader: kBadArgument for a depth that nobody may ask for, then
// InputFile::open's statuses.
inline Status open_for_rows(InputFile& file, const char* name, int32_t bits_per_pixel) {
  settings.last_load = {};
  return is_request_depth(bits_per_pixel) ? file.open(name) : kBadArgument;
}

}  // namespace tavo::io
