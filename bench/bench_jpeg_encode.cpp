// JPEG encoding of a 4096 x 3072 photograph-like picture, beside libjpeg-turbo with its accurate
// integer transform, with the same quantisation tables and sampling, both to memory.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "compress/jpeg_encoder.h"
#ifdef PEER_JPEG
#include <jpeglib.h>
#endif

namespace {

using tavo::Status;
namespace jpeg = tavo::jpeg;

constexpr int kWidth = 4096;
constexpr int kHeight = 3072;

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

// Falling spectrum, hard edges between regions, correlated channels, a little sensor noise.
std::vector<uint8_t> make_photo() {
  std::vector<uint8_t> rows(size_t{3} * kWidth * kHeight);
  for (uint32_t y = 0; y < kHeight; ++y) {
    for (uint32_t x = 0; x < kWidth; ++x) {
      int level = smooth_noise(x, y, 9, 1) / 2 + smooth_noise(x, y, 6, 1) / 4;
      const int texture = smooth_noise(x, y, 8, 2);
      if (texture > 120) level += (smooth_noise(x, y, 2, 3) - 128) * (texture - 120) / 250;
      level += (smooth_noise(x, y, 4, 4) - 128) / 10;
      if (smooth_noise(x, y, 7, 5) > 140) level += 50;
      for (uint32_t c = 0; c < 3; ++c) {
        int v = level + (smooth_noise(x, y, 7, 10 + c) - 128) / 4;
        v += static_cast<int>(noise(x, y, 20 + c) % 11) - 5;
        rows[3 * (size_t{y} * kWidth + x) + c] = static_cast<uint8_t>(v < 0     ? 0
                                                                      : v > 255 ? 255
                                                                                : v);
      }
    }
  }
  return rows;
}

const std::vector<uint8_t>& photo() {
  static const std::vector<uint8_t> rows = make_photo();
  return rows;
}

jpeg::QuantiserTable make_table(const std::array<uint8_t, 64>& base, int factor) {
  jpeg::QuantiserTable table;
  for (size_t k = 0; k < 64; ++k) {
    const int entry = base[jpeg::kZigzag[k]] * factor / 50;
    table[k] = static_cast<uint8_t>(entry < 3 ? 2 : entry > 255 ? 255 : entry);
  }
  return table;
}

jpeg::EncoderSetup make_setup(const benchmark::State& state) {
  jpeg::EncoderSetup setup;
  setup.width = kWidth;
  setup.height = kHeight;
  setup.horizontal = static_cast<uint32_t>(state.range(0) / 10);
  setup.vertical = static_cast<uint32_t>(state.range(0) % 10);
  setup.luminance = make_table(jpeg::kLuminanceQuantisers, static_cast<int>(state.range(1)));
  setup.chrominance = make_table(jpeg::kChrominanceQuantisers, static_cast<int>(state.range(1)));
  return setup;
}

void report(benchmark::State& state, size_t bytes) {
  state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
  state.counters["bytes"] = static_cast<double>(bytes);
}

Status keep(void* context, std::span<const uint8_t> bytes) {
  auto& out = *static_cast<std::vector<uint8_t>*>(context);
  out.insert(out.end(), bytes.begin(), bytes.end());
  return tavo::kOk;
}

void encode_with(benchmark::State& state, const jpeg::Kernels& stages,
                 const jpeg::EntropyCoder& coder) {
  const jpeg::EncoderSetup setup = make_setup(state);
  const std::vector<uint8_t>& rows = photo();
  std::vector<uint8_t> out;
  for (auto _ : state) {
    out.clear();
    tavo::ByteSink sink;
    jpeg::Encoder encoder;
    if (!sink.start(keep, &out, 12 * kWidth).ok() || !encoder.start(setup, stages, coder).ok()) {
      state.SkipWithError("no memory");
    }
    for (int y = 0; y < kHeight; y += 16) {
      if (!encoder.encode_rows(&rows[size_t{3} * kWidth * y], 3 * kWidth, 16, sink).ok()) break;
    }
    if (!encoder.finish(sink).ok() || !sink.flush().ok()) state.SkipWithError("failed");
  }
  report(state, out.size());
}

void EncodeTavo(benchmark::State& state) {
  encode_with(state, jpeg::kernels(), jpeg::entropy_coder());
}
void EncodeTavoSse2(benchmark::State& state) {
  encode_with(state, jpeg::kSse2Kernels, jpeg::kFastEntropyCoder);
}
void EncodeTavoPlain(benchmark::State& state) {
  encode_with(state, jpeg::kPlainKernels, jpeg::kPlainEntropyCoder);
}

#ifdef PEER_JPEG
void set_table(jpeg_compress_struct& peer, int which, const jpeg::QuantiserTable& table) {
  unsigned natural[64];
  for (size_t k = 0; k < 64; ++k) natural[jpeg::kZigzag[k]] = table[k];
  jpeg_add_quant_table(&peer, which, natural, 100, TRUE);
}

void EncodeLibjpegTurbo(benchmark::State& state) {
  const jpeg::EncoderSetup setup = make_setup(state);
  auto* rows = const_cast<uint8_t*>(photo().data());
  unsigned long bytes = size_t{3} * kWidth * kHeight;
  std::vector<uint8_t> out(bytes);
  for (auto _ : state) {
    jpeg_compress_struct peer;
    jpeg_error_mgr errors;
    peer.err = jpeg_std_error(&errors);
    jpeg_create_compress(&peer);
    unsigned char* memory = out.data();
    bytes = out.size();
    jpeg_mem_dest(&peer, &memory, &bytes);
    peer.image_width = kWidth;
    peer.image_height = kHeight;
    peer.input_components = 3;
    peer.in_color_space = JCS_EXT_BGR;
    jpeg_set_defaults(&peer);
    peer.dct_method = JDCT_ISLOW;
    set_table(peer, 0, setup.luminance);
    set_table(peer, 1, setup.chrominance);
    peer.comp_info[0].h_samp_factor = static_cast<int>(setup.horizontal);
    peer.comp_info[0].v_samp_factor = static_cast<int>(setup.vertical);
    jpeg_start_compress(&peer, TRUE);
    while (peer.next_scanline < kHeight) {
      JSAMPROW strip[16];
      for (unsigned i = 0; i < 16; ++i) {
        strip[i] = rows + size_t{3} * kWidth * (peer.next_scanline + i);
      }
      jpeg_write_scanlines(&peer, strip, 16);
    }
    jpeg_finish_compress(&peer);
    jpeg_destroy_compress(&peer);
  }
  report(state, bytes);
}
#endif

// Sampling factors and internal quality value: 25 and 10 scale the tables as libjpeg's qualities
// 75 and 90 do.
void settings(benchmark::internal::Benchmark* bench) {
  bench->ArgNames({"sampling", "value"})->ArgsProduct({{11, 21, 22}, {25, 10}});
  bench->Unit(benchmark::kMillisecond);
}
BENCHMARK(EncodeTavo)->Apply(settings);
#ifdef PEER_JPEG
BENCHMARK(EncodeLibjpegTurbo)->Apply(settings);
#endif
BENCHMARK(EncodeTavoSse2)->Apply(settings);
BENCHMARK(EncodeTavoPlain)->Apply(settings);

}  // namespace

BENCHMARK_MAIN();
