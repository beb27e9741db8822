#include "formats/dcx.h"

#include <algorithm>
#include <array>
#include <span>

#include "base/buffer.h"
#include "base/endian.h"

namespace tavo::dcx {

namespace {

constexpr uint32_t kMagic = 0x3ADE68B1;
constexpr uint32_t kMaxPages = 1023;
constexpr uint32_t kAreaSize = 4 + 4 * (kMaxPages + 1);  // magic, offsets, the 0 behind them
constexpr uint32_t kPieceSize = 32768;
constexpr uint32_t kPieceStep = 1024;

// The first bytes of a file, zeros where it is shorter.
class Directory {
 public:
  std::span<uint8_t> bytes() { return area_; }
  bool is_present() const { return load_le32(area_.data()) == kMagic; }

  uint32_t offset(uint32_t page) const { return load_le32(&area_[4 + 4 * page]); }
  void set_offset(uint32_t page, uint32_t offset) { store_le32(&area_[4 + 4 * page], offset); }

  uint32_t count() const {
    uint32_t pages = 0;
    while (pages < kMaxPages && offset(pages) != 0) ++pages;
    return pages;
  }

  // Bytes that a directory of so many pages takes.
  static constexpr uint32_t size(uint32_t pages) { return 4 + 4 * (pages + 1); }

  // Starts a directory of one page, which is the file so far.
  void set_up() {
    area_ = {};
    store_le32(area_.data(), kMagic);
  }

 private:
  std::array<uint8_t, kAreaSize> area_ = {};
};

uint32_t page_end(const Directory& directory, uint32_t count, uint32_t start, uint32_t file_size) {
  uint32_t end = file_size;
  for (uint32_t i = 0; i < count; ++i) {
    if (directory.offset(i) > start) end = std::min(end, directory.offset(i));
  }
  return end;
}

// Moves the bytes from `first` to `end` up by `distance`, the last ones first. The first piece
// only lengthens the file, so that a full disk stops the move before anything is overwritten.
Status move_up(io::OutputFile& file, uint32_t first, uint32_t end, uint32_t distance) {
  Buffer buffer;
  TRY(buffer.allocate_shrinking(kPieceSize, kPieceStep, kPieceStep));
  auto limit = static_cast<uint32_t>(std::min<size_t>(buffer.size(), distance));
  while (end > first) {
    const uint32_t piece = std::min(limit, end - first);
    const std::span<uint8_t> bytes = buffer.bytes().first(piece);
    end -= piece;
    TRY(file.seek(end));
    TRY(file.read(bytes));
    TRY(file.seek(uint64_t{end} + distance));
    TRY(file.write(bytes));
    limit = static_cast<uint32_t>(buffer.size());
  }
  return kOk;
}

}  // namespace

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
  page.start = directory.offset(static_cast<uint32_t>(page.number) - 1);
  page.end = page_end(directory, count, page.start, page.end);
  return page.start < page.end ? kOk : kBadData;
}

Status begin_page(io::OutputFile& file) {
  uint32_t file_size = 0;
  TRY(file.seek_end(file_size));
  TRY(file.seek(0));
  Directory directory;
  TRY(file.read(directory.bytes().first(std::min(file_size, kAreaSize))));
  uint32_t count = file_size == 0 ? 0 : 1;
  uint32_t first = 0;
  if (directory.is_present()) {
    count = directory.count();
    first = count == 0 ? 8 : kAreaSize;
    for (uint32_t i = 0; i < count; ++i) first = std::min(first, directory.offset(i));
  } else {
    directory.set_up();
  }
  if (count >= kMaxPages) return kWriteError;

  uint32_t area_used = Directory::size(count + 1);
  if (area_used > first) {
    const uint32_t distance = kAreaSize - first;
    if (file_size > first) TRY(move_up(file, first, file_size, distance));
    for (uint32_t i = 0; i < count; ++i) {
      directory.set_offset(i, directory.offset(i) + distance);
    }
    std::ranges::fill(directory.bytes().subspan(4 + 4 * count), uint8_t{0});
    file_size = std::max(file_size, first) + distance;
    area_used = kAreaSize;
  }
  directory.set_offset(count, file_size);
  directory.set_offset(count + 1, 0);
  TRY(file.seek(0));
  TRY(file.write(directory.bytes().first(area_used)));
  return file.seek(file_size);
}

}  // namespace tavo::dcx
