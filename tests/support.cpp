#include "support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "base/settings.h"
#include "core/bitmap.h"
#include "core/rows.h"
#include "platform/platform.h"

namespace tavo::test {

namespace {

struct OpenFile {
  std::string name;
  bool may_be_written = false;
  uint32_t position = 0;
};

Disk* disk = nullptr;
std::map<int32_t, OpenFile> open_files;
int32_t next_handle = 100;

// No test needs more: what does not end fails.
constexpr int64_t kMostOperations = 5'000'000;

bool fails(int32_t status) {
  const int64_t number = disk->operations++;
  if (number == kMostOperations) {
    std::fprintf(stderr, "file operations without end\n");
    std::abort();
  }
  if (number == disk->fail_at) disk->fault_status = status;
  return number == disk->fail_at || (disk->stays_broken && disk->fault_hit());
}

int32_t T_CALL disk_open(const char* name, int32_t access, int32_t mode) {
  const bool creates = (access & 0x300) != 0;
  if (fails(creates ? T_ERR_CREATE : T_ERR_OPEN)) return -1;
  if ((mode & 0x80) != 0 && disk->before_writing) disk->before_writing();
  if (!creates && disk->files.count(name) == 0) return -1;
  if ((access & platform::kAccessOnlyEmpty) != 0 && !disk->files[name].empty()) return -1;
  if (creates) {
    disk->files[name].clear();
    disk->created_with = access;
  }
  open_files[++next_handle] = {name, (access & 0x303) != 0, 0};
  ++disk->open_count;
  return next_handle;
}

uint32_t T_CALL disk_read(int32_t handle, void* buffer, uint32_t count) {
  if (fails(T_ERR_READ)) return UINT32_MAX;
  OpenFile& file = open_files.at(handle);
  const Bytes& bytes = disk->files[file.name];
  const auto size = static_cast<uint32_t>(bytes.size());
  const uint32_t left = size - std::min(file.position, size);
  count = std::min({count, left, disk->longest_read});
  if (count != 0) std::memcpy(buffer, bytes.data() + file.position, count);
  file.position += count;
  disk->bytes_read += count;
  return count;
}

uint32_t T_CALL disk_write(int32_t handle, const void* buffer, uint32_t count) {
  const bool is_torn = fails(T_ERR_WRITE);
  if (is_torn && disk->torn_eighths == 0) return UINT32_MAX;
  if (is_torn) count = disk->torn_eighths == 8 ? count - 1 : count / 8 * disk->torn_eighths;
  OpenFile& file = open_files.at(handle);
  Bytes& bytes = disk->files[file.name];
  if (bytes.size() < file.position + size_t{count}) bytes.resize(file.position + size_t{count});
  if (count != 0) std::memcpy(bytes.data() + file.position, buffer, count);
  file.position += count;
  return count;
}

int32_t T_CALL disk_seek(int32_t handle, int32_t offset, int32_t origin) {
  if (fails(T_ERR_SEEK)) return -1;
  OpenFile& file = open_files.at(handle);
  const int64_t base = origin == 0   ? 0
                       : origin == 1 ? int64_t{file.position}
                                     : static_cast<int64_t>(disk->files[file.name].size());
  if (base + offset < 0) return -1;
  file.position = static_cast<uint32_t>(base + offset);
  return static_cast<int32_t>(file.position);
}

int32_t T_CALL disk_close(int32_t handle) {
  const bool is_lost = open_files.at(handle).may_be_written && fails(T_ERR_WRITE);
  open_files.erase(handle);
  --disk->open_count;
  return is_lost ? -1 : 0;
}

}  // namespace

Disk::Disk() : outer_(settings.files), outer_disk_(disk) {
  disk = this;
  T_RedirectIO(disk_open, disk_read, disk_write, disk_seek, disk_close);
}

Disk::~Disk() {
  EXPECT_EQ(open_count, 0) << "files are left open";
  settings.files = outer_;
  disk = outer_disk_;
}

Bitmap::Bitmap() {
  // Records on an uncleared stack are legal.
  std::memset(&record_, 0xA5, sizeof(record_));
  record_.Flags = 0;
  record_.GdiObjectA = record_.GdiObjectB = 0;
}

Bitmap::~Bitmap() { T_FreeBitmap(&record_); }

int32_t T_CALL Rows::sink(BitmapHandle* source, const void* rows, int32_t count, void* context) {
  auto& self = *static_cast<Rows*>(context);
  const auto* from = static_cast<const uint8_t*>(rows);
  self.bytes.insert(self.bytes.end(), from, from + size_t{source->BytesPerLine} * count);
  self.counts.push_back(count);
  self.record = *source;
  self.source = source;
  self.count += count;
  return self.answer;
}

void Rows::store(Bitmap& bitmap) const {
  if ((bitmap->Flags & T_FLAG_ALLOCATED) == 0) T_AllocateBitmap(bitmap.get(), 1);
  ASSERT_EQ(bytes.size(), bitmap->Size);
  T_AccessBitmap(bitmap.get());
  std::memcpy(bitmap->Data, bytes.data(), bytes.size());
  T_ReleaseBitmap(bitmap.get());
}

Status Collector::write(std::span<const uint8_t> more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
  return kOk;
}

Status Pieces::read_some(std::span<uint8_t> into, size_t& got) {
  got = std::min({piece, into.size(), bytes.size() - at});
  std::copy_n(bytes.data() + at, got, into.begin());
  at += got;
  return kOk;
}

FILEINFO info_of(const Bytes& file) {
  FILEINFO info = {};
  EXPECT_EQ(T_FileInfoMemory(file.data(), &info, static_cast<uint32_t>(file.size())), T_OK);
  return info;
}

int32_t load(const Bytes& file, Bitmap& bitmap, int32_t bits, int32_t order) {
  return T_LoadBitmapMemory(file.data(), bitmap.get(), bits, order,
                            static_cast<uint32_t>(file.size()));
}

int32_t read_directly(FileReader read, const Bytes& file, int32_t bits) {
  Disk disk;
  disk.files["in"] = file;
  Bitmap bitmap;
  Rows rows;
  return read("in", bitmap.get(), Rows::sink, bits, &rows);
}

void expect_answers(FileReader read, const Bytes& good, std::initializer_list<ByteChange> changes) {
  for (const ByteChange& c : changes) {
    Bytes file = good;
    file[c.at] = c.value;
    EXPECT_EQ(read_directly(read, file), c.want) << c.why;
  }
}

void make_picture(Bitmap& bitmap, int32_t width, int32_t height, int32_t bits, uint32_t request,
                  uint32_t view_perspective) {
  T_InitBitmap(bitmap.get(), width, height, bits);
  if (T_AllocateBitmap(bitmap.get(), request) != T_OK) std::abort();
  bitmap->ViewPerspective = view_perspective;
  for (uint32_t i = 0; i < 256; ++i) {
    bitmap->Info.Palette[i] = {static_cast<uint8_t>(255 - i), static_cast<uint8_t>(i * 37),
                               static_cast<uint8_t>(i), 0};
  }
  if (bits <= 8) bitmap->Colors = 1u << bits;
  Random random(static_cast<uint64_t>(int64_t{width} * 1000 + int64_t{height} * 10 + bits));
  Bytes row(bitmap->BytesPerLine);
  T_AccessBitmap(bitmap.get());
  for (int32_t y = 0; y < height; ++y) {
    for (size_t i = 0; i < row.size(); ++i) {
      row[i] = static_cast<uint8_t>(y % 3 == 0 ? random.next() : i / 4 * 3 + y);
      if (bits == 16 && i % 2 == 1) row[i] &= 0x7F;
    }
    T_PutBitmapRow(bitmap.get(), row.data(), y, bitmap->BytesPerLine);
  }
  T_ReleaseBitmap(bitmap.get());
}

Bytes pixels(BitmapHandle* bitmap) {
  const core::AccessScope accessed(*bitmap);
  const size_t line = static_cast<size_t>(core::packed_bytes(bitmap->Width, bitmap->BitsPerPixel));
  Bytes all;
  Bytes row(bitmap->BytesPerLine);
  for (int32_t y = 0; y < bitmap->Height; ++y) {
    T_GetBitmapRow(bitmap, row.data(), y, bitmap->BytesPerLine);
    core::clear_padding(row, bitmap->Width, bitmap->BitsPerPixel);
    all.insert(all.end(), row.begin(), row.begin() + line);
  }
  return all;
}

uint32_t index_at(const uint8_t* row, int32_t bits, int32_t x) {
  return row[x * bits / 8] >> (8 - bits - x * bits % 8) & ((1u << bits) - 1);
}

void put_index(uint8_t* row, int32_t bits, int32_t x, uint32_t index) {
  const int32_t shift = 8 - bits - x * bits % 8;
  uint8_t& byte = row[x * bits / 8];
  byte = static_cast<uint8_t>((byte & ~(((1u << bits) - 1) << shift)) | index << shift);
}

Bytes row_rgb(const uint8_t* row, int32_t width, int32_t bits, uint32_t order,
              const T_PaletteEntry* palette) {
  Bytes all;
  for (int32_t x = 0; x < width; ++x) {
    uint8_t c[3] = {};
    if (bits == 0) {
      std::fill_n(c, 3, row[x]);
    } else if (bits <= 8) {
      const T_PaletteEntry& e = palette[index_at(row, bits, x)];
      c[0] = e.Red, c[1] = e.Green, c[2] = e.Blue;
    }
    for (int32_t k = 0; bits > 8 && k < 3; ++k) {
      const uint32_t field = (row[2 * x] | row[2 * x + 1] << 8) >> 5 * k & 31;
      c[k] = bits == 16 ? static_cast<uint8_t>(field << 3 | field >> 2) : row[x * (bits / 8) + k];
    }
    if (bits > 8 && order == T_ORDER_BGR) std::swap(c[0], c[2]);
    all.insert(all.end(), c, c + 3);
  }
  return all;
}

Bytes indices(BitmapHandle* bitmap) {
  const Bytes packed = pixels(bitmap);
  const size_t line = packed.size() / bitmap->Height;
  Bytes all;
  for (int32_t y = 0; y < bitmap->Height; ++y) {
    for (int32_t x = 0; x < bitmap->Width; ++x) {
      all.push_back(index_at(&packed[y * line], bitmap->BitsPerPixel, x));
    }
  }
  return all;
}

Bytes rgb(BitmapHandle* bitmap) {
  const core::AccessScope accessed(*bitmap);
  Bytes all;
  Bytes row(bitmap->BytesPerLine);
  for (int32_t y = 0; y < bitmap->Height; ++y) {
    T_GetBitmapRow(bitmap, row.data(), core::stored_row(*bitmap, y), bitmap->BytesPerLine);
    const Bytes triples = row_rgb(row.data(), bitmap->Width, bitmap->BitsPerPixel, bitmap->Order,
                                  bitmap->Info.Palette);
    all.insert(all.end(), triples.begin(), triples.end());
  }
  return all;
}

Bytes hex(std::string_view digits) {
  Bytes bytes;
  bool is_low = false;
  for (const char c : digits) {
    if (c == ' ') continue;
    const int value = c <= '9' ? c - '0' : (c | 32) - 'a' + 10;
    is_low ? bytes.back() = static_cast<uint8_t>(bytes.back() << 4 | value)
           : bytes.emplace_back(static_cast<uint8_t>(value));
    is_low = !is_low;
  }
  return bytes;
}

void refuse_each(const BitmapWork& work, const std::function<void(Bitmap&)>& prepare) {
  const Leftovers before = leftovers();
  for (const bool all_later : {false, true}) {
    bool refused = true;
    for (int64_t n = 0; refused; ++n) {
      SCOPED_TRACE(testing::Message() << "request " << n << (all_later ? " on" : ""));
      ASSERT_LT(n, 200);
      {
        Bitmap bitmap;
        if (prepare) prepare(bitmap);
        const BitmapHandle record = *bitmap.get();
        const Bytes content = prepare ? pixels(bitmap.get()) : Bytes();
        platform::refuse_allocation(n, all_later);
        const int32_t status = work(bitmap.get());
        refused = platform::allocation_was_refused();
        platform::refuse_allocation(-1, false);
        EXPECT_TRUE(status == T_OK || (refused && status == T_ERR_NO_MEMORY)) << status;
        if (prepare && status != T_OK) {
          EXPECT_EQ(std::memcmp(&record, bitmap.get(), sizeof record), 0);
          EXPECT_EQ(pixels(bitmap.get()), content);
        }
      }
      EXPECT_EQ(leftovers(), before);
    }
  }
}

bool is_documented(int32_t status) {
  return std::strcmp(T_GetStatusText(status), "Unknown status") != 0;
}

Leftovers leftovers() {
  // Temporary files begin with "TV" on every system.
  Leftovers found{.blocks = platform::blocks_in_use()};
  std::error_code error;
#ifndef _WIN32  // Wine shows this directory, too: of files that are its own and come and go
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
    found.open_files += entry.path().empty() ? 0 : 1;
  }
#endif
  for (const auto& entry :
       std::filesystem::directory_iterator(std::filesystem::temp_directory_path(error), error)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind("TV", 0) == 0) ++found.temporary_files;
  }
  return found;
}

void PrintTo(const Leftovers& l, std::ostream* out) {
  *out << l.blocks << " blocks, " << l.temporary_files << " temporary files, " << l.open_files
       << " open files";
}

// Every test gives back its blocks and leaves the file table as it was.
class Tidiness : public ::testing::EmptyTestEventListener {
  void OnTestProgramStart(const ::testing::UnitTest&) override {
    Bytes row(90000);  // the export keeps a block once it has looked for many colours
    T_ConvertBuffer(row.data(), 30000, 24, 8, 0, 0, nullptr, nullptr);
  }
  void OnTestStart(const ::testing::TestInfo&) override {
    blocks_ = platform::blocks_in_use();
    files_ = settings.files;
  }
  void OnTestEnd(const ::testing::TestInfo&) override {
    EXPECT_EQ(platform::blocks_in_use(), blocks_);
    EXPECT_EQ(std::memcmp(&settings.files, &files_, sizeof files_), 0);
  }
  int64_t blocks_ = 0;
  FileIOTable files_ = {};
};
[[maybe_unused]] const bool is_tidiness_watched = [] {
  ::testing::UnitTest::GetInstance()->listeners().Append(new Tidiness);
  return true;
}();

Bytes le16(uint32_t value) {
  return {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8)};
}

Bytes le32(uint32_t value) {
  return {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8),
          static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 24)};
}

Bytes be32(uint32_t value) {
  const Bytes bytes = le32(value);
  return {bytes.rbegin(), bytes.rend()};
}

Bytes text(std::string_view letters) { return {letters.begin(), letters.end()}; }

Bytes part(const Bytes& all, size_t from, size_t size) {
  return {all.begin() + from, all.begin() + from + std::min(size, all.size() - from)};
}

Bytes join(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

}  // namespace tavo::test
