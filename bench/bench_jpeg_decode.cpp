// JPEG decoding beside libjpeg-turbo with its accurate integer transform and smooth upsampling,
// both from memory into one row buffer; streams coded by libjpeg-turbo. "dithered" is a load to 256
// fixed colours with ordered dithering, through the whole pipeline here.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "codec/jpeg/decoder.h"
#include "photograph.h"
#include "run.h"
#include "tavo45.h"
#ifdef PEER_JPEG
#include <jpeglib.h>

namespace {

namespace jpeg = tavo::jpeg;
using Bytes = std::vector<uint8_t>;

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
  c.image_width = bench::kWidth;
  c.image_height = bench::kHeight;
  c.input_components = 3;
  c.in_color_space = JCS_RGB;
  jpeg_set_defaults(&c);
  jpeg_set_quality(&c, coding.quality, TRUE);
  c.comp_info[0].h_samp_factor = coding.h;
  c.comp_info[0].v_samp_factor = coding.v;
  if (coding.is_progressive) jpeg_simple_progression(&c);
  jpeg_start_compress(&c, TRUE);
  while (c.next_scanline < c.image_height) {
    JSAMPROW row = const_cast<uint8_t*>(bench::photograph().data()) +
                   size_t{3} * c.next_scanline * bench::kWidth;
    jpeg_write_scanlines(&c, &row, 1);
  }
  jpeg_finish_compress(&c);
  jpeg_destroy_compress(&c);
  Bytes coded(data, data + size);
  std::free(data);
  return coded;
}

enum class Result { kColor, kGray, kDithered };

bool decode_peer(const Bytes& coded, Result result, Bytes& rows) {
  jpeg_decompress_struct d;
  jpeg_error_mgr errors;
  d.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&d);
  jpeg_mem_src(&d, coded.data(), coded.size());
  jpeg_read_header(&d, TRUE);
  if (result == Result::kGray) d.out_color_space = JCS_GRAYSCALE;
  if (result == Result::kDithered) {
    d.quantize_colors = TRUE;
    d.two_pass_quantize = FALSE;
    d.dither_mode = JDITHER_ORDERED;
    d.desired_number_of_colors = 256;
  }
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

int32_t T_CALL ignore(BitmapHandle*, const void*, int32_t, void*) { return T_OK; }

bool load_dithered(const Bytes& coded) {
  T_DefaultDithering(T_DITHER_ORDERED);
  BitmapHandle target = {};
  const int32_t status = T_LoadMemory(coded.data(), &target, 8, T_ORDER_BGR, 0, ignore, nullptr,
                                      static_cast<uint32_t>(coded.size()));
  T_FreeBitmap(&target);
  return status == T_OK;
}

bool decode_ours(const Bytes& coded, Result result, Bytes& rows) {
  if (result == Result::kDithered) return load_dithered(coded);
  jpeg::Decoder decoder;
  tavo::ByteSource source{std::span<const uint8_t>(coded)};
  if (!decoder.read_header(source, {}).ok()) return false;
  const bool is_gray = result == Result::kGray;
  const auto layout = is_gray ? jpeg::PixelLayout::kGray8 : jpeg::PixelLayout::kRgb24;
  if (!decoder.start(layout).ok()) return false;
  const size_t row_bytes = size_t{decoder.frame().width} * (is_gray ? 1 : 3);
  uint32_t got = 0;
  do {
    if (!decoder.next_rows(rows, row_bytes, 16, got).ok()) return false;
  } while (got > 0);
  return decoder.outcome().ok();
}

using Decode = bool (*)(const Bytes&, Result, Bytes&);

void run(benchmark::State& state, const Coding& coding, Result result, Decode decode) {
  const Bytes coded = encode(coding);
  Bytes rows(size_t{16} * 3 * bench::kWidth);
  for (auto _ : state) {
    if (!decode(coded, result, rows)) {
      state.SkipWithError("decoding failed");
      break;
    }
    benchmark::DoNotOptimize(rows.data());
  }
  state.counters["MP/s"] = benchmark::Counter(
      bench::kPixels / 1e6 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["bytes"] = static_cast<double>(coded.size());
}

void register_all() {
  struct Case {
    const char* name;
    Coding coding;
    Result result;
  };
  static const Case cases[] = {
      {"444/q75", {1, 1, 75, false}, Result::kColor},
      {"422/q75", {2, 1, 75, false}, Result::kColor},
      {"420/q75", {2, 2, 75, false}, Result::kColor},
      {"444/q90", {1, 1, 90, false}, Result::kColor},
      {"422/q90", {2, 1, 90, false}, Result::kColor},
      {"420/q90", {2, 2, 90, false}, Result::kColor},
      {"progressive/q75", {2, 2, 75, true}, Result::kColor},
      {"progressive/q90", {2, 2, 90, true}, Result::kColor},
      {"gray/q75", {2, 2, 75, false}, Result::kGray},
      {"dithered/q75", {2, 2, 75, false}, Result::kDithered},
  };
  const struct {
    const char* name;
    Decode decode;
  } decoders[] = {{"tavo", decode_ours}, {"libjpeg-turbo", decode_peer}};
  for (const Case& c : cases) {
    for (const auto& d : decoders) {
      benchmark::RegisterBenchmark(
          (std::string("JpegDecode/") + c.name + "/" + d.name).c_str(),
          [c, d](benchmark::State& state) { run(state, c.coding, c.result, d.decode); })
          ->Unit(benchmark::kMillisecond);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  register_all();
  return bench::run(argc, argv);
}
#else
int main() { std::puts("libjpeg is not installed: nothing to compare with"); }
#endif
