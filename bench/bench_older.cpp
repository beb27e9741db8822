// Photo CD, GEM images, MSP and PICT beside FFmpeg and Pillow, memory to memory; whole pictures. Of
// Photo CD FFmpeg gives luma and the smaller planes of chroma, the library red, green and blue;
// Pillow reads Base alone and repeats chroma. --fresh: see choose_memory.
#include "photocd_pack.h"
#include "raster_peers.h"
#include "run.h"

namespace {

using namespace bench;

template <class Run>
void add(const std::string& name, Run run) {
  benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMillisecond);
}

void add_loads(const std::string& name, const Bytes& file) {
  std::printf("%s: %zu bytes\n", name.c_str(), file.size());
  add(name + "/tavo", [&](benchmark::State& state) { load(state, file); });
}

void add_ffmpeg([[maybe_unused]] const std::string& name, [[maybe_unused]] const Bytes& file,
                [[maybe_unused]] const char* codec) {
#ifdef PEER_FFMPEG
  const AVCodec* const decoder = avcodec_find_decoder_by_name(codec);
  if (decoder == nullptr) return;
  const AVCodecID id = decoder->id;
  add(name + "/FFmpeg", [&file, id](benchmark::State& state) { ffmpeg_decode(state, id, file); });
#endif
}

void add_pillow(const std::string& name, const Bytes& file, const char* suffix) {
  const auto run = [&file, suffix](benchmark::State& state) { run_pillow(state, suffix, file); };
  benchmark::RegisterBenchmark((name + "/Pillow").c_str(), run)
      ->Unit(benchmark::kMillisecond)
      ->UseManualTime()
      ->Iterations(1);
}

Bytes saved(int32_t format, int bits, const Bytes& rows, int width = 2048, int height = 2048) {
  BitmapHandle bitmap = {};
  make_bitmap(bitmap, width, height, bits, rows);
  const Bytes file = saved_file(bitmap, format);
  T_ReleaseBitmap(&bitmap);
  T_FreeBitmap(&bitmap);
  return file;
}

// The widest that is one bitmap, as FFmpeg reads no more.
void add_pict() {
  constexpr int kWidth = 4080, kHeight = 3072;
  static const Bytes rows = photograph(kWidth, kHeight);
  static const Bytes file = saved(T_FORMAT_PCT, 24, rows, kWidth, kHeight);
  add_loads("load/pict/photo24", file);
  add_ffmpeg("load/pict/photo24", file, "qdraw");
  add("save/pict/photo24/tavo", [](benchmark::State& state) {
    BitmapHandle bitmap = {};
    make_bitmap(bitmap, kWidth, kHeight, 24, rows);
    for (auto _ : state) save_direct(bitmap, T_FORMAT_PCT);
    T_ReleaseBitmap(&bitmap);
    T_FreeBitmap(&bitmap);
  });
}

}  // namespace

int main(int argc, char** argv) {
  choose_memory(argc, argv);
  const Bytes text = text_indices(2048, 2048);
  Bytes bits(text.size() / 8);
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] >= 128) bits[i / 8] = static_cast<uint8_t>(bits[i / 8] | 0x80 >> i % 8);
  }
  static const Bytes largest = tavo::test::photocd_pack().file;
  static Bytes base(largest.begin(), largest.begin() + 385 * 2048);
  base[0xE02] = 0;
  static const Bytes gem8 = saved(T_FORMAT_IMG, 8, text), gem1 = saved(T_FORMAT_IMG, 1, bits);
  static const Bytes pict8 = saved(T_FORMAT_PCT, 8, text);
  static const Bytes msp = saved(T_FORMAT_MSP, 1, bits), wpg = saved(T_FORMAT_WPG, 8, text);
  add_loads("load/photocd/16base", largest);
  add_ffmpeg("load/photocd/16base", largest, "photocd");
  add_loads("load/photocd/base", base);
  add_pillow("load/photocd/base", base, ".pcd");
  add_loads("load/gem/text8", gem8);
  add_ffmpeg("load/gem/text8", gem8, "gem");
  add_loads("load/gem/text1", gem1);
  add_ffmpeg("load/gem/text1", gem1, "gem");
  add_loads("load/msp/text1", msp);
  add_pillow("load/msp/text1", msp, ".msp");
  add_loads("load/wpg/text8", wpg);
  add_loads("load/pict/text8", pict8);
  add_ffmpeg("load/pict/text8", pict8, "qdraw");
  add_pict();
  return bench::run(argc, argv);
}
