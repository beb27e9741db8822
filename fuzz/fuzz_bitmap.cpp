// Bitmaps of every depth, storage and layout through what works on bitmaps, in an order that the
// input chooses: no crash, only documented statuses, and what is told afterwards is true.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "format_fuzzer.h"
#include "input.h"
#include "io/file_table.h"
#include "tavo45.h"

namespace {

using namespace tavo;
using fuzz::Bytes;
using fuzz::Input;

constexpr int32_t kDepths[] = {1, 2, 4, 8, 16, 24, 32, 0};
constexpr int32_t kMaxSide = 70;

void require(bool holds) {
  if (!holds) std::abort();
}

int32_t answers_left = -1;  // of the status callback before it says stop; below 0: for ever
int32_t T_CALL tell(int32_t percent) {
  require(percent >= 0 && percent <= 100);
  return answers_left < 0 || answers_left-- > 0 ? T_OK : -77;
}

int32_t known(int32_t status) {
  require(status == -77 || std::strcmp(T_GetStatusText(status), "Unknown status") != 0);
  return status;
}

int32_t drawn_side(Input& input) { return 1 + static_cast<int32_t>(input.byte() % kMaxSide); }

// A record that knows no storage, or one whose rows must come from elsewhere.
void allocate_nothing(Input& input, BitmapHandle& bitmap) {
  bitmap.ReleaseCallback = nullptr;
  bitmap.StorageKind = static_cast<int32_t>(input.byte() % 8);
  if (T_AllocateBitmap(&bitmap, 8 | input.byte()) == T_OK) bitmap.Handle = input.byte();
}

// A described bitmap, most often allocated and filled, padding included.
void draw(Input& input, BitmapHandle& bitmap) {
  T_FreeBitmap(&bitmap);
  const uint32_t kind = input.byte();
  const int32_t width = drawn_side(input);
  const int32_t height = drawn_side(input);
  T_InitBitmap(&bitmap, width, height, kDepths[input.byte() % 7]);
  bitmap.ViewPerspective = input.byte() % 4;
  bitmap.Order = input.byte() % 8 == 0 ? 2 : input.byte() % 2;
  bitmap.DitherMethod = input.byte() % 9;
  if (input.byte() % 4 == 0) bitmap.Flags |= T_FLAG_GRAY;
  if (input.byte() % 4 == 0) bitmap.Colors = input.word() % 300;
  Bytes palette(sizeof bitmap.Info.Palette);
  input.fill(palette);
  std::memcpy(bitmap.Info.Palette, palette.data(), palette.size());
  if (kind % 8 == 6) return allocate_nothing(input, bitmap);
  if (kind % 8 == 7) return;
  // The clearing of a file may be stopped.
  if (T_AllocateBitmap(&bitmap, kind % 8 < 4 ? 1 : 2) != T_OK) return;
  Bytes rows(bitmap.Size);
  input.fill(rows);
  const core::AccessScope accessed(bitmap);
  require(T_PutBitmapRow(&bitmap, rows.data(), 0, bitmap.Size) ==
          static_cast<int32_t>(bitmap.Size));
}

// What is told of rows is true as long as their record is: a bitmap that has storage gives all of
// them.
void check(BitmapHandle& bitmap) {
  if (!core::has_flag(bitmap, T_FLAG_ALLOCATED)) return;
  const core::AccessScope accessed(bitmap);
  Bytes rows(bitmap.Size);
  for (uint32_t y = 0; y < static_cast<uint32_t>(bitmap.Height); ++y) {
    const int32_t got = T_GetBitmapRow(&bitmap, rows.data() + size_t{y} * bitmap.BytesPerLine, y,
                                       bitmap.BytesPerLine);
    require(got == static_cast<int32_t>(bitmap.BytesPerLine));
  }
}

Bytes row_of(BitmapHandle& bitmap, uint32_t y) {
  const core::AccessScope accessed(bitmap);
  Bytes row(bitmap.BytesPerLine);
  T_GetBitmapRow(&bitmap, row.data(), y, bitmap.BytesPerLine);
  return row;
}

struct Machine {
  explicit Machine(const Input& bytes) : input(bytes) {}
  ~Machine() {
    T_StopDithering(&first);
    T_FreeBitmap(&first);
    T_FreeBitmap(&second);
  }

  int32_t depth() { return kDepths[input.byte() % std::size(kDepths)]; }
  const char* loaded_name() const { return reinterpret_cast<const char*>(file.data()); }
  uint32_t loaded_size() const { return static_cast<uint32_t>(file.size()); }

  void rows();
  void copies();
  void sizes();
  void colors();
  void optimize();
  void dither();
  void convert_row();
  void resize_row();
  void compress();
  void compress_rows();
  void save();
  void stream();
  void load();
  void format_writes();

  Input input;
  BitmapHandle first = {};
  BitmapHandle second = {};
  Bytes file;  // the last that was saved
  int32_t format = 0;
};

void Machine::rows() {
  if (first.Size == 0) return;
  const core::AccessScope accessed(first);
  const uint32_t row = input.byte() % static_cast<uint32_t>(first.Height);
  const uint32_t column = input.byte() % static_cast<uint32_t>(first.Width);
  // 2-bit rows count bytes.
  const auto bits = static_cast<uint32_t>(first.BitsPerPixel == 2 ? 8 : first.BitsPerPixel);
  const uint32_t offset = std::min(first.Size, row * first.BytesPerLine + column * bits / 8);
  Bytes bytes(std::min(input.word(), first.Size - offset));
  T_GetBitmapRowCol(&first, bytes.data(), row, column, static_cast<uint32_t>(bytes.size()));
  input.fill(bytes);
  T_PutBitmapRowCol(&first, bytes.data(), row, column, static_cast<uint32_t>(bytes.size()));
}

void Machine::copies() {
  const uint32_t kind = input.byte() % 4;
  if (kind == 0) {
    known(T_ClearBitmap(&first));
  } else if (kind == 1) {
    T_FreeBitmap(&second);
    known(T_CopyBitmap(&second, &first));
  } else if (kind == 2) {
    T_FreeBitmap(&second);
    const uint32_t x = input.byte(), y = input.byte(), width = input.byte(), height = input.byte();
    known(T_CopyBitmapRect(&second, &first, x % kMaxSide, y % kMaxSide, width % 80, height % 80));
  } else if (first.Width == second.Width && first.Height == second.Height &&
             first.BitsPerPixel == second.BitsPerPixel) {
    known(T_CopyBitmapData(&second, &first));
  }
}

void Machine::sizes() {
  const bool is_memory = core::has_flag(first, T_FLAG_ALLOCATED);
  if (input.byte() % 2 == 0) {
    draw(input, second);
    if (input.byte() % 4 != 0) {
      T_FreeBitmap(&second);
      T_InitBitmap(&second, second.Width, second.Height, first.BitsPerPixel);
      T_AllocateBitmap(&second, 1 + input.byte() % 2);
    }
    known(T_ResizeBitmap(&first, &second));
    return;
  }
  const int32_t width = static_cast<int32_t>(input.byte() % 90) - 2;
  const int32_t height = static_cast<int32_t>(input.byte() % 90) - 2;
  const uint32_t method = input.byte() % 7;  // none of the filters, one of five, or unknown
  if (known(T_SizeBitmapFine(&first, width, height, method)) == T_OK) {
    require(first.Width == width && first.Height == height);
    require(core::has_flag(first, T_FLAG_ALLOCATED) == is_memory);
  }
}

void Machine::colors() {
  const uint32_t kind = input.byte() % 4;
  if (kind == 0) {
    if (known(T_GrayScaleBitmap(&first)) == T_OK) require(first.BitsPerPixel == 8);
  } else if (kind == 1) {
    known(T_CreatePaintPalette(&first));
    known(T_CreateScreenPalette(&first));
  } else {
    const int32_t bits = depth();
    T_PaletteEntry palette[256];
    Bytes entries(sizeof palette);
    input.fill(entries);
    std::memcpy(palette, entries.data(), entries.size());
    const int32_t type = static_cast<int32_t>(input.byte() % 6);
    if (known(T_ColorResolution(&first, bits, type, palette, input.word() % 260)) == T_OK) {
      require(first.BitsPerPixel == bits);
    }
  }
}

void Machine::optimize() {
  T_FreeBitmap(&second);
  known(T_OptimizeBitmap(&first, &second, 0, input.word() % 260));
}

size_t packed_size(uint32_t width, int32_t bits) {
  return static_cast<size_t>(core::packed_bytes(width, bits));
}

// The exported pass, rows and results in blocks that have no byte to spare.
void Machine::dither() {
  if (first.Width <= 0) return;
  const uint32_t colors = input.word() % 260;
  T_PaletteEntry palette[256];
  Bytes entries(sizeof palette);
  input.fill(entries);
  std::memcpy(palette, entries.data(), entries.size());
  if (T_StartDithering(&first, input.byte() % 2 == 0 ? palette : nullptr, colors) != T_OK) return;
  const int32_t bits = colors <= 2 ? 1 : colors <= 16 ? 4 : 8;
  const auto width = static_cast<uint32_t>(first.Width);
  Bytes in(packed_size(width, first.BitsPerPixel));
  Bytes out(packed_size(width, bits));
  for (int32_t y = 0; y < 5; ++y) {
    input.fill(in);
    require(T_DitherLine(&first, in.data(), out.data()) == T_OK);
  }
  T_StopDithering(&first);
}

void Machine::convert_row() {
  const int32_t from = depth();
  const int32_t to = depth();
  const int32_t width = drawn_side(input);
  const auto bytes = [&](int32_t bits) {
    return packed_size(static_cast<uint32_t>(width), bits == 0 ? 8 : bits);
  };
  Bytes row(std::max(bytes(from), bytes(to)));
  input.fill(row);
  const int32_t status = T_ConvertBuffer(row.data(), width, from, to, T_ORDER_RGB, T_ORDER_BGR,
                                         first.Info.Palette, second.Info.Palette);
  require((status == T_OK) == (from != 2 && to != 2));
}

void Machine::resize_row() {
  const int32_t bits = depth();
  const int32_t from = drawn_side(input);
  const int32_t to = drawn_side(input);
  T_ResizeBlock* block = nullptr;
  require(T_StartResize(from, drawn_side(input), to, drawn_side(input), &block) == T_OK);
  Bytes row(packed_size(static_cast<uint32_t>(std::max(from, to)), bits));
  input.fill(row);
  int32_t width = 0, rows = 0;
  const int32_t status = T_Resize(row.data(), input.byte(), bits, &width, &rows, block);
  require((status == T_OK) == (bits != 2 && bits != 0));
  T_StopResize(block);
}

uint32_t T_CALL count_bytes(const void* bytes, uint32_t size, void* user) {
  const auto* from = static_cast<const uint8_t*>(bytes);
  for (uint32_t i = 0; i < size; ++i) *static_cast<uint32_t*>(user) += from[i];
  return size;
}

void Machine::compress() {
  const uint32_t kind = input.byte() % 4;
  const auto type = static_cast<int32_t>(input.byte() % 8) - 1;
  const auto quality = static_cast<int32_t>(input.word() % 270) - 12;
  fuzz::one_file() = {};
  T_RedirectIO(fuzz::open_one, fuzz::read_one, fuzz::write_one, fuzz::seek_one, fuzz::close_one);
  int32_t status = T_OK;
  if (kind == 0) {
    status = T_CompressBitmap(&first, "out", type, quality, 0);
    format = type == 0 ? T_FORMAT_CMP : T_FORMAT_JPEG;
  } else if (kind == 1) {
    const auto width = static_cast<int32_t>(input.byte());
    const auto height = static_cast<int32_t>(input.byte());
    status = T_CompressBitmapWithStamp(&first, "out", type, quality, width, height,
                                       input.byte() % 2 == 0 ? 8 : 24,
                                       static_cast<int32_t>(input.byte() % 2));
    format = type == 0 ? T_FORMAT_CMP : T_FORMAT_JPEG;
  } else {
    status = T_CompressBitmap1Bit(&first, "out", kind == 2 ? 1 : T_FORMAT_PCX);
    format = kind == 2 ? T_FORMAT_CMP_1BIT : T_FORMAT_PCX;
  }
  T_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr);
  if (known(status) == T_OK) file = fuzz::one_file().bytes;
}

// The bitmap's rows through the sink that compresses.
void Machine::compress_rows() {
  if (first.BytesPerLine == 0) return;
  const auto width = static_cast<size_t>(first.Width);
  Bytes strip(width * 48);
  uint32_t sum = 0;
  T_CompressContext context = {static_cast<int32_t>(input.byte() % 7), 20, strip.data(), nullptr};
  fuzz::one_file() = {};
  T_RedirectIO(fuzz::open_one, fuzz::read_one, fuzz::write_one, fuzz::seek_one, fuzz::close_one);
  for (uint32_t y = 0; y < static_cast<uint32_t>(first.Height); ++y) {
    const Bytes row = row_of(first, y);
    if (known(CompressCallBack(&first, row.data(), 1, &context)) != T_OK) break;
  }
  T_CompressBuffer(strip.data());
  T_EndCompressBuffer();
  T_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr);

  if (T_StartCompressBuffer(&first, count_bytes, static_cast<uint32_t>(strip.size()), 0, nullptr,
                            context.OutputType, 30, &sum) != T_OK) {
    return;
  }
  input.fill(strip);
  T_CompressBuffer(strip.data());
  T_EndCompressBuffer();
}

constexpr int32_t kFormats[] = {
    T_FORMAT_PCX,         T_FORMAT_GIF,         T_FORMAT_TIFF,
    T_FORMAT_TGA,         T_FORMAT_BMP,         T_FORMAT_JPEG,
    T_FORMAT_JPEG_24,     T_FORMAT_BMP_OS2,     T_FORMAT_CMP_SAVE,
    T_FORMAT_JPEG_2X1,    T_FORMAT_JPEG_2X2,    T_FORMAT_TIFF_PACKBITS,
    T_FORMAT_TIFF_GROUP3, T_FORMAT_CMP_1BIT,    T_FORMAT_TIFF_GROUP4,
    T_FORMAT_TIFF_LZW,    T_FORMAT_CALS,        T_FORMAT_TIFF_GROUP3_2D,
    T_FORMAT_RAS,         T_FORMAT_JPEG_2X1_24, T_FORMAT_MAC,
    T_FORMAT_IMG,         T_FORMAT_MSP,         T_FORMAT_WPG,
    T_FORMAT_PCT,         T_FORMAT_PNG,         T_FORMAT_TIFF_DEFLATE,
    T_FORMAT_WMF,         T_FORMAT_EPS,
};

void Machine::save() {
  format = kFormats[input.byte() % std::size(kFormats)];
  const int32_t bits = depth();
  const uint32_t flags = input.byte() % 4;
  const bool direct = input.byte() % 4 == 0;
  fuzz::one_file() = {};
  T_RedirectIO(fuzz::open_one, fuzz::read_one, fuzz::write_one, fuzz::seek_one, fuzz::close_one);
  if (direct) T_AccessBitmap(&first);
  const int32_t status = T_SaveFile("out", &first, format, bits, 20, flags, direct, 0);
  T_ReleaseBitmap(&first);
  T_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr);
  if (known(status) == T_OK) file = fuzz::one_file().bytes;
}

// Stores rows as programs do: one after the other. The record says how long they are.
struct Rows {
  BitmapHandle* bitmap = nullptr;
  uint32_t next = 0;
  uint32_t limit = 0;  // rows after which the sink stops the reader

  static int32_t T_CALL sink(BitmapHandle* source, const void* rows, int32_t count, void* context) {
    auto& self = *static_cast<Rows*>(context);
    require(source == self.bitmap && count > 0);
    const uint32_t bytes = source->BytesPerLine * static_cast<uint32_t>(count);
    require(self.next + static_cast<uint32_t>(count) <= static_cast<uint32_t>(source->Height));
    Bytes copy(bytes);
    std::memcpy(copy.data(), rows, bytes);
    if (core::has_flag(*source, T_FLAG_ALLOCATED)) {
      const core::AccessScope accessed(*source);
      require(T_PutBitmapRow(source, copy.data(), self.next, bytes) == static_cast<int32_t>(bytes));
    }
    self.next += static_cast<uint32_t>(count);
    return self.next >= self.limit ? -77 : T_OK;
  }
};

// The last file through its format's reader into a bitmap of any depth and size.
void Machine::stream() {
  if (file.empty()) return;
  draw(input, second);
  if (input.byte() % 2 == 0)
    file.resize(file.size() - std::min<size_t>(file.size() - 1, input.word()));
  const int32_t bits = depth();
  const uint32_t limit = input.byte() % 4 == 0 ? input.byte() : UINT32_MAX;
  Rows rows{&second, 0, limit};
  const io::MemoryFileScope memory(file.data(), loaded_size());
  const char* const name = loaded_name();
  FILEINFO info;
  if (T_FileInfo(name, &info) != T_OK) return;
  if (info.Format == T_FORMAT_JPEG || info.Format == T_FORMAT_CMP) {
    if (input.byte() % 2 == 0) {
      known(T_DecompressBitmap(name, &second, bits));
    } else {
      known(T_DecompressFile(name, &second, Rows::sink, bits, &rows, 4));
    }
    return;
  }
  const auto read = info.Format == T_FORMAT_PCX    ? T_LoadPCXFile
                    : info.Format == T_FORMAT_GIF  ? T_LoadGIFFile
                    : info.Format == T_FORMAT_TIFF ? T_LoadTIFFile
                    : info.Format == T_FORMAT_TGA  ? T_LoadTGAFile
                    : info.Format == T_FORMAT_CALS ? T_LoadCALSFile
                    : info.Format == T_FORMAT_RAS  ? T_LoadRASFile
                    : info.Format == T_FORMAT_MAC  ? T_LoadMACFile
                    : info.Format == T_FORMAT_IMG  ? T_LoadIMGFile
                    : info.Format == T_FORMAT_MSP  ? T_LoadMSPFile
                    : info.Format == T_FORMAT_WPG  ? T_LoadWPGFile
                    : info.Format == T_FORMAT_PCT  ? T_LoadPCTFile
                    : info.Format == T_FORMAT_PNG  ? T_LoadPNGFile
                    : info.Format == T_FORMAT_WMF  ? T_LoadWMFFile
                    : info.Format == T_FORMAT_EPS  ? T_LoadEPSFile
                                                   : T_LoadBMPFile;
  const int32_t status = read(name, &second, Rows::sink, bits, &rows);
  if (known(status) == T_OK) require(rows.next == static_cast<uint32_t>(second.Height));
}

void Machine::load() {
  if (file.empty()) return;
  T_FreeBitmap(&second);
  const int32_t bits = depth();
  const int32_t order = static_cast<int32_t>(input.byte() % 3) - 1;
  const uint32_t flags = input.byte() % 32;
  if (flags >= 16) {
    const io::MemoryFileScope memory(file.data(), loaded_size());
    const uint32_t method = (input.byte() % 6) | (flags % 2 != 0 ? T_SIZE_DRAFT : 0u);
    known(T_LoadBitmapFine(loaded_name(), &second, bits, order, drawn_side(input), 0, method));
    return;
  }
  T_DefaultDithering(input.byte() % 8);
  known(T_LoadMemory(file.data(), &second, bits, order, flags, nullptr, nullptr, loaded_size()));
  T_DefaultDithering(T_DITHER_ORDERED);
}

void Machine::format_writes() {
  if (first.BytesPerLine == 0) return;
  T_FormatWriteContext context = {};
  context.Name = "out";
  context.Format = kFormats[input.byte() % std::size(kFormats)];
  context.BitsPerPixel = depth();
  context.Quality = 20;
  const auto write = input.byte() % 2 == 0 ? FileFormatWrite : FileNoConvertWrite;
  T_RedirectIO(fuzz::open_one, fuzz::read_one, fuzz::write_one, fuzz::seek_one, fuzz::close_one);
  for (uint32_t y = 0; y < static_cast<uint32_t>(first.Height); ++y) {
    const Bytes row = row_of(first, y);
    if (known(write(&first, row.data(), 1, &context)) != T_OK) break;
  }
  T_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using Step = void (Machine::*)();
  constexpr Step kSteps[] = {
      &Machine::rows,        &Machine::copies,     &Machine::sizes,    &Machine::colors,
      &Machine::optimize,    &Machine::dither,     &Machine::compress, &Machine::compress_rows,
      &Machine::save,        &Machine::stream,     &Machine::load,     &Machine::format_writes,
      &Machine::convert_row, &Machine::resize_row,
  };
  Machine machine{Input(data, size)};
  Input& input = machine.input;
  draw(input, machine.first);
  const uint32_t stop = input.byte();
  answers_left = stop < 64 ? static_cast<int32_t>(stop) : -1;
  T_SetStatusCallBack(tell);
  for (int step = 0; step < 12 && !input.is_empty(); ++step) {
    const uint32_t kind = input.byte();
    (machine.*kSteps[kind % std::size(kSteps)])();
    answers_left = std::max(answers_left, -1);
    if (kind >= 240) std::swap(machine.first, machine.second);
  }
  T_SetStatusCallBack(nullptr);
  check(machine.first);
  check(machine.second);
  return 0;
}
