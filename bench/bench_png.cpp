// PNG beside libpng with zlib: 1024 x 1024 pixels of a photograph in colours and greys, and of a
// screen drawing. Memory to memory. libpng decodes to the same pixels, and encodes with its
// defaults ("libpng", level 6) and at its levels 1 and 9; the library at its three levels. The
// sizes are printed first.
#include "photograph.h"
#include "raster_peers.h"
#include "run.h"

#ifdef PEER_PNG
#include <png.h>
#endif

namespace {

using namespace bench;

constexpr int kSize = 1024;

struct Input {
  const char* name;
  int bits;
  Bytes rows;
  BitmapHandle bitmap = {};
  Bytes file = {};

  size_t line() const { return size_t{kSize} * bits / 8; }
};

#ifdef PEER_PNG
// Throws what libpng would jump with.
[[noreturn]] void stop(png_structp, png_const_charp what) { give_up(what); }

Bytes libpng_encode(const Input& input, int level) {
  Bytes out;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, stop, nullptr);
  png_infop info = png_create_info_struct(png);
  png_set_write_fn(
      png, &out,
      [](png_structp p, png_bytep bytes, size_t count) {
        auto* const to = static_cast<Bytes*>(png_get_io_ptr(p));
        to->insert(to->end(), bytes, bytes + count);
      },
      nullptr);
  if (level >= 0) png_set_compression_level(png, level);
  png_set_IHDR(png, info, kSize, kSize, 8,
               input.bits == 24 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  for (int y = 0; y < kSize; ++y) png_write_row(png, input.rows.data() + input.line() * y);
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return out;
}

struct Reading {
  const Bytes* file;
  size_t at;
};

void libpng_decode(const Input& input, Bytes& rows) {
  Reading reading{&input.file, 0};
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, stop, nullptr);
  png_infop info = png_create_info_struct(png);
  png_set_read_fn(png, &reading, [](png_structp p, png_bytep into, size_t count) {
    auto* const from = static_cast<Reading*>(png_get_io_ptr(p));
    std::memcpy(into, from->file->data() + from->at, count);
    from->at += count;
  });
  png_read_info(png, info);
  for (int y = 0; y < kSize; ++y) png_read_row(png, rows.data() + input.line() * y, nullptr);
  png_read_end(png, nullptr);
  png_destroy_read_struct(&png, &info, nullptr);
}
#endif

template <class Run>
void add(const std::string& name, const Input& input, Run run) {
  benchmark::RegisterBenchmark(name.c_str(), [&input, run](benchmark::State& state) {
    run(state);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(input.rows.size()));
  })->Unit(benchmark::kMillisecond);
}

void add_level(Input& input, const char* name, int32_t level) {
  T_SetDeflateLevel(level);
  std::printf("  %-12s%8zu\n", name, saved_file(input.bitmap, T_FORMAT_PNG).size());
  add(std::string("encode/") + input.name + "/tavo " + name, input,
      [&input, level](benchmark::State& state) {
        T_SetDeflateLevel(level);
        for (auto _ : state) save_direct(input.bitmap, T_FORMAT_PNG);
      });
}

void add_all(Input& input) {
  make_bitmap(input.bitmap, kSize, kSize, input.bits, input.rows);
  if (input.bits == 24) input.bitmap.Order = T_ORDER_RGB;
  input.file = saved_file(input.bitmap, T_FORMAT_PNG);
  std::printf("%s\n", input.name);
  add_level(input, "fast", T_LEVEL_FAST);
  add_level(input, "default", T_LEVEL_DEFAULT);
  add_level(input, "small", T_LEVEL_SMALL);
#ifdef PEER_PNG
  input.file = libpng_encode(input, -1);
  for (const int level : {-1, 1, 9}) {
    const std::string name = level < 0 ? "libpng" : "libpng " + std::to_string(level);
    std::printf("  %-12s%8zu\n", name.c_str(), libpng_encode(input, level).size());
    add(std::string("encode/") + input.name + "/" + name, input,
        [&input, level](benchmark::State& state) {
          for (auto _ : state) benchmark::DoNotOptimize(libpng_encode(input, level));
        });
  }
  add(std::string("decode/") + input.name + "/libpng", input, [&input](benchmark::State& state) {
    Bytes rows(input.rows.size());
    for (auto _ : state) libpng_decode(input, rows);
    if (rows != input.rows) give_up("libpng decodes something else");
  });
#endif
  add(std::string("decode/") + input.name + "/tavo", input,
      [&input](benchmark::State& state) { load(state, input.file); });
}

// Windows with frames, shades and text, as screens show them.
Bytes screen() {
  const Bytes text = text_indices(kSize, kSize);
  Bytes rows(size_t{3} * kSize * kSize);
  for (int y = 0; y < kSize; ++y) {
    for (int x = 0; x < kSize; ++x) {
      const uint32_t window = scramble(x / 256, y / 200, 7);
      const int left = x % 256, top = y % 200;
      uint8_t* const to = &rows[3 * (size_t(kSize) * y + x)];
      const bool is_frame = left < 2 || top < 2, is_title = top < 22;
      for (int i = 0; i < 3; ++i) {
        const int level = static_cast<int>(window >> 8 * i & 255) | 0x80;
        const int shade = is_frame ? 40 : is_title ? level - left / 4 : 245;
        to[i] = static_cast<uint8_t>(shade * text[size_t(kSize) * y + x] / 255);
      }
    }
  }
  return rows;
}

// The middle of the common photograph.
Bytes photograph_part() {
  Bytes rows;
  for (int y = 0; y < kSize; ++y) {
    const auto* const from = &photograph()[3 * (size_t(1024 + y) * kWidth + 1536)];
    rows.insert(rows.end(), from, from + size_t{3} * kSize);
  }
  return rows;
}

Bytes greens(const Bytes& rgb) {
  Bytes levels(rgb.size() / 3);
  for (size_t i = 0; i < levels.size(); ++i) levels[i] = rgb[3 * i + 1];
  return levels;
}

}  // namespace

int main(int argc, char** argv) {
  choose_memory(argc, argv);
  const Bytes photo = photograph_part();
  static Input inputs[] = {
      {"photo", 24, photo}, {"photo8", 8, greens(photo)}, {"screen", 24, screen()}};
  for (Input& input : inputs) add_all(input);
  return bench::run(argc, argv);
}
