// JPEG decoding beside libjpeg-turbo with its accurate integer transform and smooth upsampling,
// both from memory into one row buffer. The streams are coded by libjpeg-turbo: a photograph-like
// picture of 4096 x 3072 pixels or, when TAVO_PHOTO names a binary PPM file, that one.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "compress/jpeg_decoder.h"
#include "platform/platform.h"
#ifdef PEER_JPEG
#include <jpeglib.h>

namespace {

namespace jpeg = tavo::jpeg;
using Bytes = std::vector<uint8_t>;

struct Picture {
  uint32_t width = 4096;
  uint32_t height = 3072;
  Bytes rows;
};

uint32_t noise(uint32_t x, uint32_t y, uint32_t seed) {
  uint32_t h = x * 0x9E3779B1u ^ y * 0x85EBCA77u ^ seed * 0xC2B2AE3Du;
  h = (h ^ h >> 15) * 0x2C1B3C6Du;
  h = (h ^ h >> 12) * 0x297A2D39u;
  return h ^ h >> 15;
}

// Value noise with cells of 2^shift pixels, 0 to 255.
int smooth_noise(uint32_t x, uint32_t y, uint32_t shift, uint32_t seed) {
  const uint32_t cell = 1u << shift, fx = x & (cell - 1), fy = y & (cell - 1);
  const auto at = [&](uint32_t i, uint32_t j) {
    return noise((x >> shift) + i, (y >> shift) + j, seed + shift) & 255;
  };
  const uint32_t top = at(0, 0) * (cell - fx) + at(1, 0) * fx;
  const uint32_t bottom = at(0, 1) * (cell - fx) + at(1, 1) * fx;
  return static_cast<int>((top * (cell - fy) + bottom * fy) >> (2 * shift));
}

// Falling spectrum, edges between regions, correlated channels, faint sensor noise.
void paint(Picture& picture) {
  picture.rows.resize(size_t{3} * picture.width * picture.height);
  uint8_t* out = picture.rows.data();
  for (uint32_t y = 0; y < picture.height; ++y) {
    for (uint32_t x = 0; x < picture.width; ++x) {
      int level = smooth_noise(x, y, 9, 1) / 2 + smooth_noise(x, y, 6, 1) / 4;
      const int texture = smooth_noise(x, y, 8, 2);
      if (texture > 120) level += (smooth_noise(x, y, 2, 3) - 128) * (texture - 120) / 250;
      level += (smooth_noise(x, y, 4, 4) - 128) / 10;
      if (smooth_noise(x, y, 7, 5) > 140) level += 50;
      for (uint32_t c = 0; c < 3; ++c) {
        int v = level + (smooth_noise(x, y, 7, 10 + c) - 128) / 4;
        v += static_cast<int>(noise(x, y, 20 + c) % 5) - 2;
        *out++ = static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
      }
    }
  }
}

bool load_ppm(const char* name, Picture& picture) {
  FILE* file = std::fopen(name, "rb");
  if (file == nullptr) return false;
  bool is_loaded = false;
  if (std::fscanf(file, "P6 %u %u 255%*c", &picture.width, &picture.height) == 2) {
    picture.rows.resize(size_t{3} * picture.width * picture.height);
    is_loaded =
        std::fread(picture.rows.data(), 1, picture.rows.size(), file) == picture.rows.size();
  }
  std::fclose(file);
  return is_loaded;
}

const Picture& photo() {
  static const Picture picture = [] {
    Picture made;
    const char* name = std::getenv("TAVO_PHOTO");
    if (name == nullptr || !load_ppm(name, made)) {
      made = Picture();
      paint(made);
    }
    return made;
  }();
  return picture;
}

struct Coding {
  int h;
  int v;
  int quality;
  bool is_progressive;
};

Bytes encode(const Coding& coding) {
  jpeg_compress_struct c;
  jpeg_error_mgr errors;
  c.err = jpeg_std_error(&errors);
  jpeg_create_compress(&c);
  unsigned char* data = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&c, &data, &size);
  c.image_width = photo().width;
  c.image_height = photo().height;
  c.input_components = 3;
  c.in_color_space = JCS_RGB;
  jpeg_set_defaults(&c);
  jpeg_set_quality(&c, coding.quality, TRUE);
  c.comp_info[0].h_samp_factor = coding.h;
  c.comp_info[0].v_samp_factor = coding.v;
  if (coding.is_progressive) jpeg_simple_progression(&c);
  jpeg_start_compress(&c, TRUE);
  while (c.next_scanline < c.image_height) {
    JSAMPROW row =
        const_cast<uint8_t*>(photo().rows.data()) + size_t{3} * c.next_scanline * c.image_width;
    jpeg_write_scanlines(&c, &row, 1);
  }
  jpeg_finish_compress(&c);
  jpeg_destroy_compress(&c);
  Bytes coded(data, data + size);
  std::free(data);
  return coded;
}

bool decode_peer(const Bytes& coded, int components, Bytes& rows) {
  jpeg_decompress_struct d;
  jpeg_error_mgr errors;
  d.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&d);
  jpeg_mem_src(&d, coded.data(), coded.size());
  jpeg_read_header(&d, TRUE);
  if (components == 1) d.out_color_space = JCS_GRAYSCALE;
  jpeg_start_decompress(&d);
  const size_t row_bytes = size_t{d.output_width} * static_cast<size_t>(d.output_components);
  while (d.output_scanline < d.output_height) {
    JSAMPROW pointers[8];
    for (size_t i = 0; i < 8; ++i) pointers[i] = rows.data() + i * row_bytes;
    jpeg_read_scanlines(&d, pointers, 8);
  }
  jpeg_finish_decompress(&d);
  jpeg_destroy_decompress(&d);
  return true;
}

bool decode_ours(const Bytes& coded, int components, Bytes& rows) {
  jpeg::Decoder decoder;
  tavo::ByteSource source{std::span<const uint8_t>(coded)};
  if (!decoder.read_header(source, {}).ok()) return false;
  const auto layout = components == 1 ? jpeg::PixelLayout::kGray8 : jpeg::PixelLayout::kRgb24;
  if (!decoder.start(layout).ok()) return false;
  const size_t row_bytes = size_t{decoder.frame().width} * static_cast<size_t>(components);
  uint32_t got = 0;
  do {
    if (!decoder.next_rows(rows, row_bytes, 16, got).ok()) return false;
  } while (got > 0);
  return decoder.outcome().ok();
}

using Decode = bool (*)(const Bytes&, int, Bytes&);

void run(benchmark::State& state, const Coding& coding, int components, Decode decode) {
  const Bytes coded = encode(coding);
  Bytes rows(size_t{16} * 3 * photo().width);
  for (auto _ : state) {
    if (!decode(coded, components, rows)) {
      state.SkipWithError("decoding failed");
      break;
    }
    benchmark::DoNotOptimize(rows.data());
  }
  state.counters["MP/s"] = benchmark::Counter(static_cast<double>(photo().width) * photo().height /
                                                  1e6 * static_cast<double>(state.iterations()),
                                              benchmark::Counter::kIsRate);
  state.counters["bytes"] = static_cast<double>(coded.size());
}

void register_all() {
  struct Case {
    const char* name;
    Coding coding;
    int components;
  };
  static const Case cases[] = {
      {"444/q75", {1, 1, 75, false}, 3},        {"422/q75", {2, 1, 75, false}, 3},
      {"420/q75", {2, 2, 75, false}, 3},        {"444/q90", {1, 1, 90, false}, 3},
      {"422/q90", {2, 1, 90, false}, 3},        {"420/q90", {2, 2, 90, false}, 3},
      {"progressive/q75", {2, 2, 75, true}, 3}, {"progressive/q90", {2, 2, 90, true}, 3},
      {"gray/q75", {2, 2, 75, false}, 1},
  };
  const struct {
    const char* name;
    Decode decode;
  } decoders[] = {{"tavo", decode_ours}, {"libjpeg-turbo", decode_peer}};
  for (const Case& c : cases) {
    for (const auto& d : decoders) {
      benchmark::RegisterBenchmark(
          (std::string("JpegDecode/") + c.name + "/" + d.name).c_str(),
          [c, d](benchmark::State& state) { run(state, c.coding, c.components, d.decode); })
          ->Unit(benchmark::kMillisecond);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  register_all();
  benchmark::Initialize(&argc, argv);
  if (std::getenv("TAVO_NO_AVX2") != nullptr) tavo::platform::limit_processor({});
  benchmark::RunSpecifiedBenchmarks();
}
#else
int main() { std::puts("libjpeg is not installed: nothing to compare with"); }
#endif
