// JPEG encoding of a 4096 x 3072 photograph-like picture, beside libjpeg-turbo with its accurate
// integer transform, with the same quantisation tables and sampling, both to memory.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "codec/jpeg/encoder.h"
#include "photograph.h"
#include "run.h"
#ifdef PEER_JPEG
#include <jpeglib.h>
#endif

namespace {

using tavo::Status;
namespace jpeg = tavo::jpeg;

using bench::kHeight;
using bench::kWidth;
using bench::photograph;

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
  const std::vector<uint8_t>& rows = photograph();
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
  encode_with(state, jpeg::kSse2Kernels, jpeg::kSse2EntropyCoder);
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
  auto* rows = const_cast<uint8_t*>(photograph().data());
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

int main(int argc, char** argv) { return bench::run(argc, argv); }
