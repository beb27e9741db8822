// Metafiles drawn beside libwmf, whose machine is made ready before the time begins; previews of
// EPS files beside libtiff, which is given the preview alone. Memory to memory.
#include <cstring>

#include "libtiff_memory.h"
#include "raster_peers.h"
#include "run.h"

#ifdef PEER_WMF
extern "C" {
#include <libwmf/api.h>
#include <libwmf/gd.h>
}
#endif

namespace {

using namespace bench;

constexpr int kWidth = 960, kHeight = 768;  // of the metafile at 96 pixels per inch

void put(Bytes& to, uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) to.push_back(static_cast<uint8_t>(value >> 8 * i));
}

void put_record(Bytes& to, uint32_t function, const std::vector<int>& words) {
  put(to, 3 + words.size(), 4);
  put(to, function, 2);
  for (const int word : words) put(to, static_cast<uint64_t>(word), 2);
}

// 10,000 polygons of 3 to 19 corners in colours of their own, edged with thin lines.
Bytes polygons() {
  const int width = 10000, height = 8000;
  Bytes file = {0xD7, 0xCD, 0xC6, 0x9A};
  for (const int word : {0, 0, 0, width, height, 1000, 0, 0}) put(file, word, 2);
  put(file, 0, 2);
  uint32_t sum = 0;
  for (size_t i = 0; i < 20; i += 2) sum ^= file[i] | file[i + 1] << 8;
  file[20] = static_cast<uint8_t>(sum);
  file[21] = static_cast<uint8_t>(sum >> 8);
  for (const int word : {1, 9, 0x300, 0, 0, 4, 100, 0, 0}) put(file, word, 2);
  put_record(file, 0x0103, {8});
  put_record(file, 0x020B, {0, 0});
  put_record(file, 0x020C, {height, width});
  put_record(file, 0x02FA, {0, 0, 0, 0, 0});
  put_record(file, 0x012D, {0});
  for (uint32_t i = 0; i < 10000; ++i) {
    const auto random = [&](uint32_t at, int limit) {
      return static_cast<int>(scramble(i, at, 45) % static_cast<uint32_t>(limit));
    };
    put_record(file, 0x02FC, {0, random(0, 65536), random(1, 256), 0});
    put_record(file, 0x012D, {1});
    const int x = random(2, width), y = random(3, height), radius = 30 + random(4, 570);
    std::vector<int> words = {3 + random(5, 17)};
    for (int corner = 0; corner < words[0]; ++corner) {
      words.push_back(x + random(6 + 2 * corner, 2 * radius) - radius);
      words.push_back(y + random(7 + 2 * corner, 2 * radius) - radius);
    }
    put_record(file, 0x0324, words);
    put_record(file, 0x012D, {0});
    put_record(file, 0x01F0, {1});
  }
  put_record(file, 0, {});
  const size_t words = (file.size() - 22) / 2;
  for (size_t i = 0; i < 4; ++i) file[28 + i] = static_cast<uint8_t>(words >> 8 * i);
  return file;
}

#ifdef PEER_WMF
// The picture that each run makes cannot be freed through the library's interface.
void draw_with_libwmf(benchmark::State& state, Bytes file) {
  for (auto _ : state) {
    state.PauseTiming();
    wmfAPI_Options options = {};
    options.function = wmf_gd_function;
    wmfAPI* api = nullptr;
    if (wmf_api_create(&api, WMF_OPT_FUNCTION | WMF_OPT_IGNORE_NONFATAL, &options) != wmf_E_None) {
      give_up("libwmf");
    }
    wmf_gd_t* const page = WMF_GD_GetData(api);
    page->type = wmf_gd_image;
    state.ResumeTiming();
    bool is_done = wmf_mem_open(api, file.data(), static_cast<long>(file.size())) == wmf_E_None &&
                   wmf_scan(api, 0, &page->bbox) == wmf_E_None;
    page->width = kWidth;
    page->height = kHeight;
    is_done = is_done && wmf_play(api, 0, &page->bbox) == wmf_E_None && page->gd_image != nullptr;
    state.PauseTiming();
    if (!is_done) give_up("libwmf does not draw the metafile");
    wmf_mem_close(api);
    wmf_api_destroy(api);
    state.ResumeTiming();
  }
}
#endif

#ifdef PEER_TIFF
void read_with_libtiff(benchmark::State& state, const Bytes& preview) {
  MemoryFile file{preview};
  Bytes pixels;
  for (auto _ : state) {
    TIFF* const tiff = file.open("rm");
    if (tiff == nullptr) give_up("libtiff");
    pixels.resize(static_cast<size_t>(TIFFStripSize(tiff)) * TIFFNumberOfStrips(tiff));
    size_t at = 0;
    for (uint32_t i = 0; i < TIFFNumberOfStrips(tiff); ++i) {
      at += static_cast<size_t>(TIFFReadEncodedStrip(tiff, i, &pixels[at], -1));
    }
    TIFFClose(tiff);
    benchmark::DoNotOptimize(pixels.data());
  }
}
#endif

// Ten megabytes of PostScript around a preview of 512 x 512 grey pixels.
Bytes eps(const Bytes& preview) {
  std::string text = "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 512 512\n%%EndComments\n";
  while (text.size() < 10'000'000) text += "% 0123456789abcdef0123456789abcdef0123456789abcdef\n";
  Bytes file = {0xC5, 0xD0, 0xD3, 0xC6};
  for (const uint64_t field :
       {size_t{30}, text.size(), size_t{0}, size_t{0}, 30 + text.size(), preview.size()}) {
    put(file, field, 4);
  }
  put(file, 0xFFFF, 2);
  file.insert(file.end(), text.begin(), text.end());
  file.insert(file.end(), preview.begin(), preview.end());
  return file;
}

template <class Run>
void add(const char* name, Run run) {
  benchmark::RegisterBenchmark(name, run)->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
  choose_memory(argc, argv);
  static const Bytes metafile = polygons();
  BitmapHandle bitmap = {};
  make_bitmap(bitmap, 512, 512, 8, text_indices(512, 512));
  static const Bytes preview = saved_file(bitmap, T_FORMAT_TIFF_PACKBITS);
  T_ReleaseBitmap(&bitmap);
  T_FreeBitmap(&bitmap);
  static const Bytes whole = eps(preview);
  add("load/wmf/10000 polygons/tavo", [](benchmark::State& state) { load(state, metafile); });
#ifdef PEER_WMF
  add("load/wmf/10000 polygons/libwmf",
      [](benchmark::State& state) { draw_with_libwmf(state, metafile); });
#endif
  add("load/wmf/10000 polygons, smooth/tavo", [](benchmark::State& state) {
    T_SetDrawSmooth(1);
    load(state, metafile);
    T_SetDrawSmooth(0);
  });
  add("load/eps/10 MB, preview/tavo", [](benchmark::State& state) { load(state, whole); });
#ifdef PEER_TIFF
  add("load/eps/10 MB, preview/libtiff",
      [](benchmark::State& state) { read_with_libtiff(state, preview); });
#endif
  return bench::run(argc, argv);
}
