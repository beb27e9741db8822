#include "formats/dcx.h"

#include <algorithm>
#include <array>

#include "base/endian.h"
#include "base/limits.h"
#include "formats/dcx_directory.h"
#include "formats/dcx_room.h"

namespace tavo::dcx {

namespace {

constexpr uint8_t kPcxManufacturer = 10;

// A directory does not say how long pages are: each ends where the next one in the file begins,
// whatever the order in which they are listed. 256-colour PCX pages have their palette there.
uint32_t page_end(const Directory& directory, uint32_t count, uint32_t start, uint32_t file_size) {
  uint32_t end = file_size;
  for (uint32_t i = 0; i < count; ++i) {
    if (directory.offset(i) > start) end = std::min(end, directory.offset(i));
  }
  return end;
}

// The lowest offset; the pages are in nobody's way when it is behind the longest directory.
uint32_t first_page(const Directory& directory, uint32_t count) {
  uint32_t first = count == 0 ? 8 : kAreaSize;
  for (uint32_t i = 0; i < count; ++i) first = std::min(first, directory.offset(i));
  return first;
}

// Enters `offset` as the last page. An entry of which some bytes are written could name a place
// inside another page, which would seem to end there. So its highest byte first becomes one that is
// beyond any file, and its own only when the others are there.
Status enter_page(io::OutputFile& file, const Directory& directory, uint32_t page,
                  uint32_t offset) {
  const uint32_t place = Directory::place(page);
  constexpr std::array<uint8_t, 4> kEnd = {};
  constexpr std::array<uint8_t, 1> kBeyond = {0xFF};
  std::array<uint8_t, 4> entry;
  store_le32(entry.data(), offset);
  if (directory.offset(page + 1) != 0) TRY(file.write_at(place + 4, kEnd));
  TRY(file.write_at(place + 3, kBeyond));
  TRY(file.write_at(place, {entry.data(), 3}));
  return file.write_at(place + 3, {&entry[3], 1});
}

// `start` gets where the new page is to be written: at the end, or behind the pages that had to be
// moved for a longer directory, as files of other programs have no room in it.
Status begin_dcx_page(io::OutputFile& file, Directory& directory, uint32_t file_size,
                      uint32_t& start) {
  uint32_t count = directory.count();
  // Of a save that failed before the first byte of its page only the entry is there.
  if (count > 0 && directory.offset(count - 1) >= file_size) --count;
  if (count >= T_MAX_PAGES) return kWriteError;
  const uint32_t first = first_page(directory, count);
  if (Directory::size(count + 1) > first) {
    TRY(move_pages(file, first, file_size, directory, count));
    start = directory.offset(count);
    return kOk;
  }
  start = std::max(file_size, Directory::size(count + 1));
  return enter_page(file, directory, count, start);
}

}  // namespace

// A file without a directory is one page, whatever it is: what stands there decides.
Status locate(io::InputFile& file, int32_t number, Page& page) {
  page = {};
  Directory directory;
  size_t got = 0;
  TRY(file.seek(0));
  TRY(file.read_up_to(directory.bytes(), got));
  TRY(file.size(page.end));
  if (!directory.is_present()) return kOk;
  const uint32_t count = directory.count();
  if (count == 0) return kBadData;
  page.count = static_cast<int32_t>(count);
  page.number = std::clamp(number, 1, page.count);
  TRY(limits::check(T_LIMIT_PAGES, static_cast<uint64_t>(page.number)));
  page.start = directory.offset(static_cast<uint32_t>(page.number) - 1);
  page.end = page_end(directory, count, page.start, page.end);
  return page.start < page.end ? kOk : kBadData;
}

// Whether it is DCX shows in the first four bytes alone.
bool is_container(std::span<const uint8_t> head) {
  return head.size() >= 4 && load_le32(head.data()) == kMagic;
}

Status begin_file(io::OutputFile& file) {
  Directory directory;
  directory.set_up();
  directory.set_offset(0, kAreaSize);
  return file.write(directory.bytes());
}

// A PCX file becomes DCX first, its picture the first page.
Status begin_page(io::OutputFile& file) {
  uint32_t file_size = 0;
  TRY(file.seek_end(file_size));
  if (file_size > INT32_MAX - kAreaSize) return kSeekError;  // where the end may move to
  Directory directory;
  TRY(file.read_at(0, directory.bytes().first(std::min(file_size, kAreaSize))));
  uint32_t start = 0;
  if (directory.is_present()) {
    TRY(begin_dcx_page(file, directory, file_size, start));
  } else {
    if (directory.bytes()[0] != kPcxManufacturer) return kBadData;
    TRY(put_behind_directory(file, file_size));
    start = file_size + kAreaSize;
  }
  return file.seek(start);
}

}  // namespace tavo::dcx
