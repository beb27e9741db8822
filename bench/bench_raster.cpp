// TGA, Sun raster, PCX and run-length BMP beside FFmpeg, SDL_image and Pillow: a photograph-like
// picture of 4096 x 3072 pixels in 24 bits and the same in 256 noisy colours, text of 2048 x 2048
// in 8 bits. Memory to memory; run-length files are FFmpeg's, but for BMP, which it only reads. The
// library loads whole pictures with identification, allocation and rows into the bitmap, and saves
// in direct mode. --fresh: see choose_memory.
#include "raster_peers.h"
#include "run.h"

namespace {

using namespace bench;

struct Picture {
  int width;
  int height;
  int bits;
  Bytes rows;  // 24 bits: blue first
};

template <class Run>
void add(const std::string& name, const Picture& picture, Run run) {
  const int64_t bytes = static_cast<int64_t>(picture.rows.size());
  benchmark::RegisterBenchmark(name.c_str(), [run, bytes](benchmark::State& state) {
    run(state);
    state.SetBytesProcessed(state.iterations() * bytes);
  })->Unit(benchmark::kMillisecond);
}

#ifdef PEER_FFMPEG
// FFmpeg's PCX files are red first in memory, too.
AVPixelFormat layout_of(AVCodecID id, const Picture& picture) {
  if (picture.bits == 8) return AV_PIX_FMT_PAL8;
  return id == AV_CODEC_ID_PCX ? AV_PIX_FMT_RGB24 : AV_PIX_FMT_BGR24;
}

void add_pillow(const std::string& name, AVCodecID id, const Picture& picture, const Bytes* file,
                bool saves) {
  const int64_t bytes = static_cast<int64_t>(picture.rows.size());
  const char* const suffix = id == AV_CODEC_ID_TARGA ? ".tga"
                             : id == AV_CODEC_ID_PCX ? ".pcx"
                             : id == AV_CODEC_ID_BMP ? ".bmp"
                                                     : ".ras";
  benchmark::RegisterBenchmark((name + "/Pillow").c_str(),
                               [=](benchmark::State& state) {
                                 run_pillow(state, suffix, *file, saves);
                                 state.SetBytesProcessed(state.iterations() * bytes);
                               })
      ->Unit(benchmark::kMillisecond)
      ->UseManualTime()
      ->Iterations(1);
}

void add_loads(const std::string& name, AVCodecID id, const char* type, const Picture& picture,
               Bytes file) {
  auto* kept = new Bytes(std::move(file));  // as long as the program runs
  std::printf("%s: %zu bytes\n", name.c_str(), kept->size());
  add(name + "/tavo", picture, [kept](benchmark::State& state) { load(state, *kept); });
  add(name + "/FFmpeg", picture, [=](benchmark::State& state) { ffmpeg_decode(state, id, *kept); });
#ifdef PEER_SDL_IMAGE
  if (id == AV_CODEC_ID_TARGA || id == AV_CODEC_ID_BMP) {
    add(name + "/SDL_image", picture,
        [=](benchmark::State& state) { sdl_decode(state, type, *kept); });
  }
#endif
  add_pillow(name, id, picture, kept, false);
}

void add_save(const std::string& name, AVCodecID id, int32_t format, const Picture& picture) {
  auto* bitmap = new BitmapHandle{};
  make_bitmap(*bitmap, picture.width, picture.height, picture.bits, picture.rows);
  add(name + "/tavo", picture, [=](benchmark::State& state) {
    for (auto _ : state) save_direct(*bitmap, format);
  });
  const AVPixelFormat layout = layout_of(id, picture);
  add(name + "/FFmpeg", picture, [=, &picture](benchmark::State& state) {
    ffmpeg_encode(&state, id, layout, picture.width, picture.height, picture.rows, false);
  });
  // Pillow writes no Sun raster.
  if (id == AV_CODEC_ID_SUNRAST) return;
  add_pillow(name, id, picture, new Bytes(saved_file(*bitmap, format)), true);
}

void add_format(const std::string& name, AVCodecID id, int32_t format, const char* type,
                const Picture& photo, const Picture& noisy, const Picture& text) {
  const struct {
    const char* name;
    const Picture& picture;
  } inputs[] = {{"photo24", photo}, {"noisy8", noisy}, {"text8", text}};
  for (const auto& input : inputs) {
    const Picture& p = input.picture;
    const AVPixelFormat layout = layout_of(id, p);
    BitmapHandle bitmap = {};
    make_bitmap(bitmap, p.width, p.height, p.bits, p.rows);
    const Bytes file = saved_file(bitmap, format);
    T_FreeBitmap(&bitmap);
    const char* const saves = format == T_FORMAT_PCX ? "/runs/" : "/raw/";
    if (format != T_FORMAT_PCX) add_loads("load/" + name + saves + input.name, id, type, p, file);
    add_loads("load/" + name + "/runs/" + input.name, id, type, p,
              ffmpeg_encode(nullptr, id, layout, p.width, p.height, p.rows, true));
    add_save("save/" + name + saves + input.name, id, format, p);
  }
}

// A row in RLE8: runs of three and more, what lies between as it is, two pixels as runs of one.
void put_rle8_row(const uint8_t* row, int width, Bytes& file) {
  const auto run_at = [&](int x) {
    int count = 1;
    while (count < 255 && x + count < width && row[x + count] == row[x]) ++count;
    return count;
  };
  for (int x = 0; x < width;) {
    int end = x;
    while (end < width && end - x < 255 && run_at(end) < 3) ++end;
    if (end - x < 3) {
      const int count = run_at(x);
      file.push_back(static_cast<uint8_t>(count));
      file.push_back(row[x]);
      x += count;
      continue;
    }
    file.push_back(0);
    file.push_back(static_cast<uint8_t>(end - x));
    file.insert(file.end(), row + x, row + end);
    if ((end - x) % 2 != 0) file.push_back(0);
    x = end;
  }
  file.insert(file.end(), {0, 0});
}

// The library's file of plain rows with its rows coded.
Bytes rle8_file(const Picture& picture) {
  BitmapHandle bitmap = {};
  make_bitmap(bitmap, picture.width, picture.height, 8, picture.rows);
  Bytes file = saved_file(bitmap, T_FORMAT_BMP);
  T_FreeBitmap(&bitmap);
  file.resize(14 + 40 + 1024);
  file[30] = 1;  // biCompression
  for (int y = picture.height; y-- > 0;) {
    put_rle8_row(picture.rows.data() + size_t(picture.width) * y, picture.width, file);
  }
  file.insert(file.end(), {0, 1});
  for (int i = 0; i < 4; ++i) {
    file[2 + i] = static_cast<uint8_t>(file.size() >> 8 * i);            // bfSize
    file[34 + i] = static_cast<uint8_t>((file.size() - 1078) >> 8 * i);  // biSizeImage
  }
  return file;
}
#endif

}  // namespace

int main(int argc, char** argv) {
  choose_memory(argc, argv);
  T_SetRASVariant(1);
  static const Picture photo{4096, 3072, 24, photograph(4096, 3072)};
  static const Picture noisy{4096, 3072, 8, noisy_indices(4096, 3072)};
  static const Picture text{2048, 2048, 8, text_indices(2048, 2048)};
#ifdef PEER_FFMPEG
  add_format("tga", AV_CODEC_ID_TARGA, T_FORMAT_TGA, "TGA", photo, noisy, text);
  add_format("sun", AV_CODEC_ID_SUNRAST, T_FORMAT_RAS, "", photo, noisy, text);
  add_format("pcx", AV_CODEC_ID_PCX, T_FORMAT_PCX, "", photo, noisy, text);
  add_loads("load/bmp/runs/noisy8", AV_CODEC_ID_BMP, "BMP", noisy, rle8_file(noisy));
  add_loads("load/bmp/runs/text8", AV_CODEC_ID_BMP, "BMP", text, rle8_file(text));
#endif
  return bench::run(argc, argv);
}
