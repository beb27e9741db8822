#include "formats/dcx_room.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "base/buffer.h"

namespace tavo::dcx {

namespace {

constexpr uint32_t kPieceSize = 32768;
constexpr uint32_t kPieceStep = 1024;
constexpr uint32_t kLeastPiece = kAreaSize + 2 * kPieceStep;
constexpr uint32_t kHeaderSize = 128;   // of a PCX page
constexpr uint32_t kTrailerSize = 769;  // its palette of 256 colours, with the mark before it

// A head of this value is a run of none: in pairs these bytes are codes without pixels, and at the
// end of the data one that is left over is none either.
constexpr uint8_t kNoPixels = 0xC0;

using Header = std::array<uint8_t, kHeaderSize>;

// 8 bits in one plane.
bool has_trailer(const Header& header) { return header[3] == 8 && header[65] == 1; }

// Where codes begin in the data of the page whose header is at `page`.
class Codes {
 public:
  Codes(io::OutputFile& file, uint32_t page) : file_(file), data_(page + kHeaderSize) {}

  uint32_t data() const { return data_; }

  // `start` gets the last beginning of a code up to `at`, a position in the data or their end.
  Status last_start(uint32_t at, uint32_t& start) {
    // A byte that is no head ends a code, whether it is a value or a pixel of its own. Bytes that
    // could be heads come in pairs from there on, and there may be megabytes of them.
    if (at < pairs_) TRY(find_pairs(at));
    start = at - (at - pairs_) % 2;
    return kOk;
  }

 private:
  Status find_pairs(uint32_t at) {
    std::array<uint8_t, 4096> piece;
    pairs_ = at;
    while (pairs_ > data_) {
      const auto size = std::min<uint32_t>(piece.size(), pairs_ - data_);
      TRY(file_.read_at(pairs_ - size, {piece.data(), size}));
      for (uint32_t i = size; i > 0; --i, --pairs_) {
        if (piece[i - 1] < kNoPixels) return kOk;
      }
    }
    return kOk;
  }

  io::OutputFile& file_;
  uint32_t data_;
  uint32_t pairs_ = UINT32_MAX;  // behind the last byte that is no head, of those looked at
};

// The end of the last page: its palette, if it has one, which must be the end of the file.
struct Tail {
  uint32_t start = 0;
  uint32_t size = 0;
  std::array<uint8_t, kTrailerSize + 1> bytes;  // a head without a value may stand in front
};

Status read_tail(io::OutputFile& file, Codes& codes, const Header& header, uint32_t file_size,
                 Tail& tail) {
  uint32_t end = file_size;
  if (has_trailer(header) && end >= codes.data() + uint64_t{kTrailerSize}) end -= kTrailerSize;
  TRY(codes.last_start(end, tail.start));
  tail.size = file_size - tail.start;
  return file.read_at(tail.start, {tail.bytes.data(), tail.size});
}

// Puts codes of no pixels, `gap` bytes of them, in front of the tail.
Status write_tail(io::OutputFile& file, const Tail& tail, uint32_t gap, Buffer& buffer) {
  std::memset(buffer.data(), kNoPixels, gap);
  std::memcpy(buffer.data() + gap, tail.bytes.data(), tail.size);
  return file.write_at(tail.start, buffer.bytes().first(gap + tail.size));
}

// Writes that failed may have made a file longer that ends with a palette.
Status mend_tail(io::OutputFile& file, const Tail& tail, Buffer& buffer) {
  uint32_t size = 0;
  TRY(file.seek_end(size));
  const uint32_t grown = size - (tail.start + tail.size);
  if (grown > kAreaSize) return kWriteError;
  return write_tail(file, tail, grown, buffer);
}

// ---- A PCX file ----

// The directory's room begins as a gap of codes without pixels behind the data. The data pass it
// piece by piece, each with one write that leaves a readable PCX file, until it is right behind the
// header; one more write puts the directory and the header in its place.
class GapMove {
 public:
  GapMove(io::OutputFile& file, uint32_t file_size)
      : file_(file), file_size_(file_size), codes_(file, 0) {}

  Status run() {
    if (file_size_ < kHeaderSize) return kBadData;
    TRY(buffer_.allocate_shrinking(kPieceSize, kPieceStep, kLeastPiece));
    TRY(file_.read_at(0, header_));
    Tail tail;
    TRY(read_tail(file_, codes_, header_, file_size_, tail));
    const Status opened = write_tail(file_, tail, kAreaSize, buffer_);
    if (!opened.ok()) {
      file_.forget_failure();
      (void)mend_tail(file_, tail, buffer_);
      return opened;
    }
    uint32_t gap = tail.start;
    while (gap > codes_.data()) TRY(pass(gap));
    return replace_header();
  }

 private:
  // One piece of the data in front of the gap moves behind it.
  Status pass(uint32_t& gap) {
    const auto most = static_cast<uint32_t>(buffer_.size()) - kAreaSize;
    uint32_t start = codes_.data();
    if (gap - start > most) TRY(codes_.last_start(gap - most + 1, start));
    const uint32_t size = gap - start;
    const std::span<uint8_t> all = buffer_.bytes().first(kAreaSize + size);
    TRY(file_.read_at(start, all.last(size)));
    std::memset(all.data(), kNoPixels, kAreaSize);
    TRY(write_or_restore(start, all, kAreaSize));
    gap = start;
    return kOk;
  }

  Status replace_header() {
    Directory directory;
    directory.set_up();
    directory.set_offset(0, kAreaSize);
    directory.set_offset(1, file_size_ + kAreaSize);
    const std::span<uint8_t> all = buffer_.bytes().first(kAreaSize + kHeaderSize);
    std::ranges::copy(directory.bytes(), all.begin());
    std::ranges::copy(header_, all.begin() + kAreaSize);
    return write_or_restore(0, all, kAreaSize);
  }

  // What was there before were the bytes behind the first `gap` ones, and then the gap.
  Status write_or_restore(uint32_t position, std::span<uint8_t> bytes, uint32_t gap) {
    const Status status = file_.write_at(position, bytes);
    if (status.ok()) return kOk;
    std::rotate(bytes.begin(), bytes.begin() + gap, bytes.end());
    std::memset(bytes.data() + bytes.size() - gap, kNoPixels, gap);
    file_.forget_failure();
    (void)file_.write_at(position, bytes);
    return status;
  }

  io::OutputFile& file_;
  uint32_t file_size_;
  Codes codes_;
  Buffer buffer_;
  Header header_ = {};
};

// ---- A DCX file ----

// Moves the bytes from `first` to `end` up by `distance`, the last ones first.
class BlockMove {
 public:
  BlockMove(io::OutputFile& file, uint32_t first, uint32_t end, uint32_t distance)
      : file_(file), first_(first), end_(end), distance_(distance), moved_(end) {}

  Status start() { return buffer_.allocate_shrinking(kPieceSize, kPieceStep, kLeastPiece); }
  Buffer& buffer() { return buffer_; }

  Status run() {
    while (moved_ > first_) {
      const uint32_t piece = std::min(static_cast<uint32_t>(buffer_.size()), moved_ - first_);
      const std::span<uint8_t> bytes = buffer_.bytes().first(piece);
      const uint32_t from = moved_ - piece;
      TRY(file_.read_at(from, bytes));
      const Status status = file_.write_at(uint64_t{from} + distance_, bytes);
      if (!status.ok()) {
        file_.forget_failure();
        (void)file_.write_at(from, bytes);
        return status;
      }
      moved_ = from;
    }
    return kOk;
  }

  // Back to where everything was.
  Status undo() {
    while (moved_ < end_) {
      const uint32_t piece = std::min(static_cast<uint32_t>(buffer_.size()), end_ - moved_);
      const std::span<uint8_t> bytes = buffer_.bytes().first(piece);
      TRY(file_.read_at(uint64_t{moved_} + distance_, bytes));
      TRY(file_.write_at(moved_, bytes));
      moved_ += piece;
    }
    return kOk;
  }

 private:
  io::OutputFile& file_;
  uint32_t first_;
  uint32_t end_;
  uint32_t distance_;
  uint32_t moved_;
  Buffer buffer_;
};

// The tail of the page that ends the file, nothing if there is no such page.
Status read_last_tail(io::OutputFile& file, const Directory& directory, uint32_t count,
                      uint32_t file_size, Tail& tail) {
  uint32_t last = 0;
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t offset = directory.offset(i);
    if (offset < file_size) last = std::max(last, offset);
  }
  tail.start = file_size;
  if (last == 0 || file_size - last < kHeaderSize) return kOk;
  Header header;
  TRY(file.read_at(last, header));
  Codes codes(file, last);
  return read_tail(file, codes, header, file_size, tail);
}

}  // namespace

Status put_behind_directory(io::OutputFile& file, uint32_t file_size) {
  return GapMove(file, file_size).run();
}

Status move_pages(io::OutputFile& file, uint32_t first, uint32_t file_size, Directory& directory,
                  uint32_t count) {
  const uint32_t distance = kAreaSize - first;
  const uint32_t end = std::max(file_size, first);
  BlockMove pages(file, first, end, distance);
  Tail tail;
  TRY(pages.start());
  TRY(read_last_tail(file, directory, count, file_size, tail));
  const Directory before = directory;
  for (uint32_t i = 0; i < count; ++i) {
    directory.set_offset(i, directory.offset(i) + distance);
  }
  std::ranges::fill(directory.bytes().subspan(Directory::place(count)), uint8_t{0});
  directory.set_offset(count, end + distance);

  Status status = file_size > first ? pages.run() : kOk;
  if (status.ok()) status = file.write_at(0, directory.bytes());
  if (status.ok()) return kOk;
  directory = before;
  const auto take_back = [&]() -> Status {
    file.forget_failure();
    TRY(file.write_at(0, directory.bytes().first(std::min(first, file_size))));
    TRY(pages.undo());
    return mend_tail(file, tail, pages.buffer());
  };
  (void)take_back();
  return status;
}

}  // namespace tavo::dcx
