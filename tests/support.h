// What all tests share: files in memory that can fail, pictures, statuses.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/status.h"
#include "tavo45.h"

namespace tavo {
inline void PrintTo(const Status& status, std::ostream* out) { *out << "status " << status.code(); }
}  // namespace tavo

namespace tavo::test {

using Bytes = std::vector<uint8_t>;

// Files by name behind the library's file table for the length of a scope. Operations are counted
// from 0, closing among them where a file may have been written; one of them can be made to fail,
// and reads can be made short.
class Disk {
 public:
  Disk();
  ~Disk();
  Disk(const Disk&) = delete;
  Disk& operator=(const Disk&) = delete;

  std::map<std::string, Bytes> files;
  int64_t fail_at = -1;       // the operation that fails; -1: none
  bool stays_broken = false;  // and so do all after it
  uint32_t torn_eighths = 0;  // of its bytes, that a failing write puts; 8: all but the last
  uint32_t longest_read = UINT32_MAX;
  std::function<void()> before_writing;  // when a file is about to be opened exclusively
  int64_t operations = 0;
  uint64_t bytes_read = 0;
  int open_count = 0;        // files that are open now
  int32_t created_with = 0;  // the access value of the last file that was created

  int32_t fault_status = T_OK;  // what the library makes of the operation that failed

  bool fault_hit() const { return fail_at >= 0 && operations > fail_at; }

 private:
  FileIOTable outer_;
  Disk* outer_disk_;
};

// A bitmap record freed at the end of its scope; it starts as an uncleared record would.
class Bitmap {
 public:
  Bitmap();
  ~Bitmap();
  Bitmap(const Bitmap&) = delete;
  Bitmap& operator=(const Bitmap&) = delete;
  BitmapHandle* operator->() { return &record_; }
  BitmapHandle* get() { return &record_; }

 private:
  BitmapHandle record_;
};

// The rows that a sink got. (A lambda cannot have the calling convention of the exports.)
struct Rows {
  Bytes bytes = {};
  std::vector<int32_t> counts = {};  // of each call
  BitmapHandle record = {};          // the source's, as it was at the last call
  BitmapHandle* source = nullptr;
  int32_t answer = T_OK;
  int32_t count = 0;

  static int32_t T_CALL sink(BitmapHandle* source, const void* rows, int32_t count, void* context);
  // As a bitmap of that description, which gets storage if it has none, holds them.
  void store(Bitmap& bitmap) const;
};

// Writers and readers of streams: what came together, and a stream in pieces of `piece` bytes.
struct Collector {
  Bytes bytes;
  Status write(std::span<const uint8_t> more);
};
struct Pieces {
  const Bytes& bytes;
  size_t piece;
  size_t at = 0;
  Status read_some(std::span<uint8_t> into, size_t& got);
};

// A file in memory into a bitmap, at its own depth and order if nothing else is asked.
int32_t load(const Bytes& file, Bitmap& bitmap, int32_t bits = 0, int32_t order = -1);

// What is said of a file that is one.
FILEINFO info_of(const Bytes& file);

// What a format's reader itself answers, past identification.
using FileReader = int32_t(T_CALL*)(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                    int32_t bits, void* context);
int32_t read_directly(FileReader read, const Bytes& file, int32_t bits = 24);

// A good file with one byte changed, and what its reader then answers.
struct ByteChange {
  const char* why;
  size_t at;
  uint8_t value;
  int32_t want;
};
void expect_answers(FileReader read, const Bytes& good, std::initializer_list<ByteChange> changes);

// Bytes of hexadecimal digits; blanks do not count.
Bytes hex(std::string_view digits);

// Runs `work` on a bitmap from `prepare` with every request for memory refused in turn, alone or
// with all after it, until none is: success or T_ERR_NO_MEMORY, nothing left over, and a bitmap
// that was there before a failure as it was.
using BitmapWork = std::function<int32_t(BitmapHandle*)>;
void refuse_each(const BitmapWork& work, const std::function<void(Bitmap&)>& prepare = {});

// A deterministic picture of smooth and noisy parts at any depth, with a palette that has all its
// entries different, allocated by `request` (1 memory, 3 disk).
void make_picture(Bitmap& bitmap, int32_t width, int32_t height, int32_t bits, uint32_t request = 1,
                  uint32_t view_perspective = 2);

// The stored rows without their padding, one after the other; works for disk bitmaps, too.
Bytes pixels(BitmapHandle* bitmap);

// The index of a pixel in a row of 1, 2, 4 or 8 bits, and a row with another one.
uint32_t index_at(const uint8_t* row, int32_t bits, int32_t x);
void put_index(uint8_t* row, int32_t bits, int32_t x, uint32_t index);

// The red, green, blue triples of a row; `bits` 0: grey.
Bytes row_rgb(const uint8_t* row, int32_t width, int32_t bits, uint32_t order,
              const T_PaletteEntry* palette);

// A byte for each pixel of a bitmap of up to 8 bits: its index. Rows as stored.
Bytes indices(BitmapHandle* bitmap);

// Picture rows top first as red, green, blue triples; any depth and order.
Bytes rgb(BitmapHandle* bitmap);

// Whether a status is one that the library documents.
bool is_documented(int32_t status);

// What the library has out; equal before and after a test. Open files are counted on Linux.
struct Leftovers {
  int64_t blocks = 0;
  int64_t temporary_files = 0;
  int64_t open_files = 0;
  bool operator==(const Leftovers&) const = default;
};
Leftovers leftovers();
void PrintTo(const Leftovers& l, std::ostream* out);

// A repeatable stream of numbers (xorshift); the same on every target.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15u + 1) {}
  uint32_t next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return static_cast<uint32_t>(state_ >> 32);
  }
  uint8_t byte() { return static_cast<uint8_t>(next()); }
  Bytes bytes(size_t count) {
    Bytes all(count);
    for (uint8_t& b : all) b = byte();
    return all;
  }
  uint32_t below(uint32_t limit) { return static_cast<uint32_t>(uint64_t{next()} * limit >> 32); }

 private:
  uint64_t state_;
};

Bytes le16(uint32_t value);
Bytes le32(uint32_t value);
Bytes be32(uint32_t value);
Bytes text(std::string_view letters);
Bytes part(const Bytes& all, size_t from, size_t size = SIZE_MAX);  // to the end at most
Bytes join(std::initializer_list<Bytes> parts);

}  // namespace tavo::test
