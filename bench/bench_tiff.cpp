// TIFF files of grey and colour pictures beside libtiff: LZW with and without differences between
// pixels, PackBits, Deflate, nothing. Whole files in memory, opened, decoded or encoded and closed
// by both; strips as the library writes them. Deflate is read only.
#include "libtiff_memory.h"
#include "raster_peers.h"
#include "run.h"

namespace {

using namespace bench;

struct Picture {
  const char* name;
  int width;
  int height;
  int bits;
  Bytes rows;  // red first
  size_t row_bytes() const { return static_cast<size_t>(width) * bits / 8; }
};

struct Coding {
  const char* name;
  int32_t format;  // 0: the library does not write it
  int compression;
  uint32_t predictor;
};

const Coding kCodings[] = {{"none", T_FORMAT_TIFF, 1, 1},
                           {"packbits", T_FORMAT_TIFF_PACKBITS, 32773, 1},
                           {"lzw", T_FORMAT_TIFF_LZW, 5, 1},
                           {"lzw differences", T_FORMAT_TIFF_LZW, 5, 2},
                           {"deflate", 0, 8, 1},
                           {"deflate differences", 0, 8, 2}};

// The picture as bitmaps are saved: 24 bits with blue first, which the writer turns.
void fill(BitmapHandle& bitmap, const Picture& p) {
  Bytes rows = p.rows;
  if (p.bits == 24) {
    for (size_t i = 0; i + 2 < rows.size(); i += 3) std::swap(rows[i], rows[i + 2]);
  }
  make_bitmap(bitmap, p.width, p.height, p.bits, rows);
  if (p.bits == 24) bitmap.Order = T_ORDER_BGR;
}

template <class Run>
void add(const std::string& name, const Picture& picture, Run run) {
  const int64_t bytes = static_cast<int64_t>(picture.rows.size());
  benchmark::RegisterBenchmark(name.c_str(), [run, bytes](benchmark::State& state) {
    run(state);
    state.SetBytesProcessed(state.iterations() * bytes);
  })->Unit(benchmark::kMillisecond);
}

#ifdef PEER_TIFF
void write_tiff(MemoryFile& file, const Picture& p, const Coding& coding) {
  file.bytes.clear();
  TIFF* tiff = file.open("w");
  const auto strip_rows = static_cast<uint32_t>(std::max<size_t>(65536 / p.row_bytes(), 1));
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, p.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, p.height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, p.bits / 8);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, coding.compression);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, p.bits == 8 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, strip_rows);
  if (coding.predictor == 2) TIFFSetField(tiff, TIFFTAG_PREDICTOR, 2);
  // libtiff may change what it is given.
  Bytes strip;
  const size_t strip_bytes = strip_rows * p.row_bytes();
  for (size_t at = 0, i = 0; at < p.rows.size(); at += strip_bytes, ++i) {
    const size_t part = std::min(strip_bytes, p.rows.size() - at);
    strip.assign(p.rows.begin() + static_cast<ptrdiff_t>(at),
                 p.rows.begin() + static_cast<ptrdiff_t>(at + part));
    TIFFWriteEncodedStrip(tiff, static_cast<uint32_t>(i), strip.data(),
                          static_cast<tmsize_t>(part));
  }
  TIFFClose(tiff);
}

Bytes read_tiff(MemoryFile& file, size_t bytes) {
  Bytes rows(bytes);
  TIFF* tiff = file.open("r");
  const tmsize_t strip_bytes = TIFFStripSize(tiff);
  size_t at = 0;
  for (uint32_t i = 0; i < TIFFNumberOfStrips(tiff); ++i) {
    const auto room = static_cast<tmsize_t>(bytes - at);
    const tmsize_t got =
        TIFFReadEncodedStrip(tiff, i, rows.data() + at, std::min(room, strip_bytes));
    if (got < 0) give_up("libtiff cannot read");
    at += static_cast<size_t>(got);
  }
  TIFFClose(tiff);
  return rows;
}

void add_libtiff(const std::string& what, const Picture& picture, const Coding& coding,
                 const MemoryFile& kept) {
  add("load/" + what + "/libtiff", picture, [&picture, &kept](benchmark::State& state) {
    MemoryFile file = kept;
    Bytes rows;
    for (auto _ : state) rows = read_tiff(file, picture.rows.size());
    if (rows != picture.rows) state.SkipWithError("wrong picture");
  });
  add("save/" + what + "/libtiff", picture, [&picture, &coding](benchmark::State& state) {
    MemoryFile file;
    for (auto _ : state) write_tiff(file, picture, coding);
  });
}

void add_coding(const Picture& picture, const Coding& coding) {
  const std::string what = std::string(coding.name) + "/" + picture.name;
  auto* file = new MemoryFile;  // as long as the program runs
  write_tiff(*file, picture, coding);
  std::printf("%s: %zu bytes\n", what.c_str(), file->bytes.size());
  add("load/" + what + "/tavo", picture,
      [file](benchmark::State& state) { load(state, file->bytes); });
  add_libtiff(what, picture, coding, *file);
  if (coding.format == 0) return;
  auto* bitmap = new BitmapHandle{};
  fill(*bitmap, picture);
  bitmap->WriterDefaults[1] = coding.predictor;
  add("save/" + what + "/tavo", picture, [bitmap, &coding](benchmark::State& state) {
    for (auto _ : state) save_direct(*bitmap, coding.format);
  });
}
#endif

}  // namespace

int main(int argc, char** argv) {
  choose_memory(argc, argv);
  static const Picture pictures[] = {{"noisy8", 4096, 3072, 8, noisy_indices(4096, 3072)},
                                     {"text8", 2048, 2048, 8, text_indices(2048, 2048)},
                                     {"photo24", 4096, 3072, 24, photograph(4096, 3072)}};
#ifdef PEER_TIFF
  for (const Coding& coding : kCodings) {
    for (const Picture& picture : pictures) add_coding(picture, coding);
  }
#endif
  return bench::run(argc, argv);
}
