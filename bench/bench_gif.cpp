// GIF beside FFmpeg, giflib and Pillow: 2048 x 2048 pixels of 8 bits, as noisy as a photograph in
// 256 colours and of anti-aliased text. Memory to memory; the library loads whole pictures with
// everything around the decoder (identification, allocation, rows into the bitmap), FFmpeg decodes
// to BGRA, the others to indices. Everyone decodes the same file.
#include "raster_peers.h"
#include "run.h"

#ifdef PEER_GIF
#include <gif_lib.h>
#endif

namespace {

using namespace bench;

constexpr int kSize = 2048;

struct Input {
  const char* name;
  Bytes indices;
  BitmapHandle bitmap;
  Bytes file;
};

#ifdef PEER_GIF
struct Reading {
  const Bytes* file;
  size_t at;
};

void giflib_decode(benchmark::State& state, const Input& input) {
  Bytes row(kSize);
  for (auto _ : state) {
    Reading reading{&input.file, 0};
    int error = 0;
    GifFileType* gif = DGifOpen(
        &reading,
        [](GifFileType* file, GifByteType* into, int count) {
          auto* from = static_cast<Reading*>(file->UserData);
          const size_t part = std::min(static_cast<size_t>(count), from->file->size() - from->at);
          std::memcpy(into, from->file->data() + from->at, part);
          from->at += part;
          return static_cast<int>(part);
        },
        &error);
    GifRecordType type;
    if (gif == nullptr || DGifGetRecordType(gif, &type) == GIF_ERROR ||
        DGifGetImageDesc(gif) == GIF_ERROR) {
      give_up("giflib cannot read");
    }
    for (int y = 0; y < kSize; ++y) {
      if (DGifGetLine(gif, row.data(), kSize) == GIF_ERROR) give_up("giflib failed");
    }
    DGifCloseFile(gif, &error);
  }
}

void giflib_encode(benchmark::State& state, const Input& input) {
  ColorMapObject* map = GifMakeMapObject(256, nullptr);
  Bytes out;
  Bytes row(kSize);
  for (auto _ : state) {
    out.clear();
    int error = 0;
    GifFileType* gif = EGifOpen(
        &out,
        [](GifFileType* file, const GifByteType* from, int count) {
          auto* into = static_cast<Bytes*>(file->UserData);
          into->insert(into->end(), from, from + count);
          return count;
        },
        &error);
    if (gif == nullptr || EGifPutScreenDesc(gif, kSize, kSize, 8, 0, map) == GIF_ERROR ||
        EGifPutImageDesc(gif, 0, 0, kSize, kSize, false, nullptr) == GIF_ERROR) {
      give_up("giflib cannot write");
    }
    for (int y = 0; y < kSize; ++y) {
      std::memcpy(row.data(), input.indices.data() + size_t{kSize} * y, kSize);
      if (EGifPutLine(gif, row.data(), kSize) == GIF_ERROR) give_up("giflib failed");
    }
    EGifCloseFile(gif, &error);
  }
  GifFreeMapObject(map);
}
#endif

template <class Run>
void add(const std::string& name, Run run) {
  benchmark::RegisterBenchmark(name.c_str(), [run](benchmark::State& state) {
    run(state);
    state.SetBytesProcessed(state.iterations() * kSize * kSize);
  })->Unit(benchmark::kMillisecond);
}

void add_all(Input& input) {
  make_bitmap(input.bitmap, kSize, kSize, 8, input.indices);
  input.file = saved_file(input.bitmap, T_FORMAT_GIF);
  std::printf("%s: %zu bytes as GIF\n", input.name, input.file.size());
  const std::string decode = std::string("decode/") + input.name + "/";
  const std::string encode = std::string("encode/") + input.name + "/";
  Input* in = &input;
  add(decode + "tavo", [in](benchmark::State& state) { load(state, in->file); });
  add(encode + "tavo", [in](benchmark::State& state) {
    for (auto _ : state) save_direct(in->bitmap, T_FORMAT_GIF);
  });
#ifdef PEER_FFMPEG
  add(decode + "FFmpeg",
      [in](benchmark::State& state) { ffmpeg_decode(state, AV_CODEC_ID_GIF, in->file); });
  add(encode + "FFmpeg", [in](benchmark::State& state) {
    ffmpeg_encode(&state, AV_CODEC_ID_GIF, AV_PIX_FMT_PAL8, kSize, kSize, in->indices, true);
  });
#endif
#ifdef PEER_GIF
  add(decode + "giflib", [in](benchmark::State& state) { giflib_decode(state, *in); });
  add(encode + "giflib", [in](benchmark::State& state) { giflib_encode(state, *in); });
#endif
  benchmark::RegisterBenchmark((decode + "Pillow").c_str(),
                               [in](benchmark::State& state) {
                                 run_pillow(state, ".gif", in->file);
                                 state.SetBytesProcessed(state.iterations() * kSize * kSize);
                               })
      ->Unit(benchmark::kMillisecond)
      ->UseManualTime()
      ->Iterations(1);
}

}  // namespace

int main(int argc, char** argv) {
  choose_memory(argc, argv);
  T_SetScreenSize(kSize, kSize);  // FFmpeg decodes no more than what the screen shows
  static Input inputs[] = {{"noisy", noisy_indices(kSize, kSize), {}, {}},
                           {"text", text_indices(kSize, kSize), {}, {}}};
  for (Input& input : inputs) add_all(input);
  return bench::run(argc, argv);
}
