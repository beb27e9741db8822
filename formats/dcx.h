// DCX: a directory of offsets in front of several PCX files.
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "io/input_file.h"
#include "io/output_file.h"

namespace tavo::dcx {

// Where one picture lies in its file; a plain PCX file is a page from 0 to its end.
struct Page {
  uint32_t start = 0;
  uint32_t end = 0;  // the next picture in the file, or the end of the file
  int32_t number = 1;
  int32_t count = 1;
};

// Finds page `number`, the last one when there are fewer. kBadData for a directory without pages;
// what is at the offsets is not looked at.
Status locate(io::InputFile& file, int32_t number, Page& page);

// Whether a file begins as one that has a directory.
bool is_container(std::span<const uint8_t> head);

// Writes the directory of a file of one page, which follows.
Status begin_file(io::OutputFile& file);

// Makes room for one more picture behind the others: turns a PCX file into a DCX file, moves the
// pictures when the directory gets too long, enters the new page and leaves `file` at its end.
// The page before ends where the new one is said to begin, so the entry comes first: a save that
// fails later leaves a damaged last page, and costs no other. kBadData for neither PCX nor DCX,
// kWriteError when T_MAX_PAGES are there already.
Status begin_page(io::OutputFile& file);

}  // namespace tavo::dcx
