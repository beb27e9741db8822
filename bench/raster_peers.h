// What the benchmarks of picture formats share: inputs, the library from and to memory, FFmpeg,
// SDL_image and Pillow.
#pragma once

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "base/settings.h"
#include "core/bitmap.h"
#include "tavo45.h"

#ifdef PEER_FFMPEG
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
}
#endif
#ifdef PEER_SDL_IMAGE
#include <SDL2/SDL_image.h>
#endif

namespace bench {

using Bytes = std::vector<uint8_t>;

[[noreturn]] inline void give_up(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

// Freed memory stays with the process, and FFmpeg keeps its decoder and picture: what is measured
// is decoding alone. With --fresh every picture is loaded as a program loads its first one: memory
// comes from the system, and FFmpeg's decoder is new each time.
inline bool fresh_memory = false;

inline void choose_memory(int& argc, char** argv) {
  char** const end = argv + argc;
  char** const rest = std::remove(argv, end, std::string("--fresh"));
  fresh_memory = rest != end;
  argc = static_cast<int>(rest - argv);
  mallopt(M_MMAP_MAX, fresh_memory ? 65536 : 0);
  mallopt(M_TRIM_THRESHOLD, fresh_memory ? 131072 : -1);
  if (fresh_memory) mallopt(M_MMAP_THRESHOLD, 131072);
}

// ---- Inputs ----

inline uint32_t scramble(uint32_t x, uint32_t y, uint32_t seed) {
  uint32_t h = x * 0x9E3779B1u ^ y * 0x85EBCA77u ^ seed * 0xC2B2AE3Du;
  h = (h ^ h >> 15) * 0x2C1B3C6Du;
  h = (h ^ h >> 12) * 0x297A2D39u;
  return h ^ h >> 15;
}

// Smooth shapes with grain, as photographs have, and flat patches without: red, green, blue.
inline Bytes photograph(int width, int height, int grain = 6) {
  Bytes rows(size_t{3} * width * height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int waves[3] = {x / 16 + y / 24, x * 3 / 64 + (y & 511) / 4, (x ^ y) / 32 + y / 16};
      for (int i = 0; i < 3; ++i) {
        const int fold = waves[i] & 255;
        const int level = (waves[i] & 256) != 0 ? 255 - fold : fold;
        const bool is_flat = scramble(x / 6, y / 16, 11) % 3 == 0;
        const int speck =
            is_flat ? 0 : static_cast<int>(scramble(x, y, i) % (2 * grain + 1)) - grain;
        rows[3 * (size_t(width) * y + x) + i] =
            static_cast<uint8_t>(std::clamp(level * 3 / 4 + 32 + speck, 0, 255));
      }
    }
  }
  return rows;
}

// A grainier photograph's 3-3-2 bit colours, the rest of each level carried into the next pixel:
// indices as noisy as those of a real photograph in 256 colours (LZW makes 0.6 bytes of each).
inline Bytes noisy_indices(int width, int height) {
  const Bytes photo = photograph(width, height, 24);
  Bytes indices(size_t(width) * height);
  int rest[3] = {};
  for (size_t i = 0; i < indices.size(); ++i) {
    int index = 0;
    for (int c = 0; c < 3; ++c) {
      const int steps = c == 2 ? 3 : 7;
      const int level = photo[3 * i + c] + rest[c];
      const int step = std::clamp((level * steps + 127) / 255, 0, steps);
      rest[c] = level - step * 255 / steps;
      index = index << (c == 2 ? 2 : 3) | step;
    }
    indices[i] = static_cast<uint8_t>(index);
  }
  return indices;
}

// Lines of anti-aliased glyphs, 40 of them in turn, on white: grey levels.
inline Bytes text_indices(int width, int height) {
  constexpr int kCell = 16, kLine = 34, kGlyph = 22;
  Bytes page(size_t(width) * height, 255);
  const auto ink = [](uint32_t glyph, int x, int y) {  // coverage of strokes, 0 to 255
    int cover = 0;
    for (uint32_t stroke = 0; stroke < 3; ++stroke) {
      const uint32_t shape = scramble(glyph, stroke, 99);
      const int from_x = shape & 7, from_y = shape >> 3 & 15;
      const int across = static_cast<int>(shape >> 7 & 15) - 8;
      const int down = static_cast<int>(shape >> 11 & 15);
      for (int step = 0; step <= 16; ++step) {
        const int px = (from_x + 2) * 16 + across * step, py = from_y * 16 + down * step;
        const int dx = std::abs(x * 16 - px), dy = std::abs(y * 16 - py);
        cover = std::max(cover, 255 - 9 * std::max(0, std::max(dx, dy) - 8));
      }
    }
    return std::clamp(cover, 0, 255);
  };
  for (int line = 0; line * kLine + 200 < height; ++line) {
    for (int column = 0; column * kCell + 250 < width; ++column) {
      const uint32_t pick = scramble(line, column, 5);
      if (pick % 6 == 0) continue;  // between words
      for (int y = 0; y < kGlyph; ++y) {
        for (int x = 0; x < kCell; ++x) {
          page[size_t(line * kLine + 100 + y) * width + column * kCell + 120 + x] =
              static_cast<uint8_t>(255 - ink(pick / 6 % 40, x, y));
        }
      }
    }
  }
  return page;
}

// ---- The library ----

// A bitmap of the rows, top row first.
inline void make_bitmap(BitmapHandle& bitmap, int width, int height, int bits, const Bytes& rows) {
  T_InitBitmap(&bitmap, width, height, bits);
  if (T_AllocateBitmap(&bitmap, 1) != T_OK) give_up("no memory");
  bitmap.ViewPerspective = 0;
  bitmap.Colors = bits <= 8 ? 256 : 0;
  for (uint32_t i = 0; i < 256; ++i) {
    const auto level = static_cast<uint8_t>(i);
    bitmap.Info.Palette[i] = {level, level, level, 0};
  }
  T_AccessBitmap(&bitmap);
  const uint32_t line = static_cast<uint32_t>(width * bits / 8);
  for (int y = 0; y < height; ++y) T_PutBitmapRow(&bitmap, rows.data() + size_t{line} * y, y, line);
}

// The file operations of a save into memory that is there already.
struct MemorySink {
  static inline Bytes bytes;
  static inline size_t at = 0;
  static inline size_t end = 0;

  static int32_t T_CALL open(const char*, int32_t, int32_t) {
    at = end = 0;
    return 5;
  }
  static uint32_t T_CALL read(int32_t, void*, uint32_t) { return 0; }
  static uint32_t T_CALL write(int32_t, const void* from, uint32_t count) {
    if (bytes.size() < at + count) bytes.resize((at + count) * 2);
    std::memcpy(bytes.data() + at, from, count);
    at += count;
    end = std::max(end, at);
    return count;
  }
  static int32_t T_CALL seek(int32_t, int32_t offset, int32_t) {  // from the start
    at = static_cast<size_t>(offset);
    return offset;
  }
  static int32_t T_CALL close(int32_t) { return 0; }
};

// Saves as it stands, without the private copy of a plain save.
inline void save_direct(BitmapHandle& bitmap, int32_t format) {
  T_RedirectIO(MemorySink::open, MemorySink::read, MemorySink::write, MemorySink::seek,
               MemorySink::close);
  const int32_t status = T_SaveFile("x", &bitmap, format, bitmap.BitsPerPixel, 0, 0, 1, 0);
  T_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr);
  if (status != T_OK) give_up("the save failed");
}

inline Bytes saved_file(BitmapHandle& bitmap, int32_t format) {
  save_direct(bitmap, format);
  return {MemorySink::bytes.begin(), MemorySink::bytes.begin() + MemorySink::end};
}

// Whole pictures into memory, at the file's own depth.
inline void load(benchmark::State& state, const Bytes& file) {
  for (auto _ : state) {
    BitmapHandle bitmap = {};
    if (T_LoadBitmapMemory(file.data(), &bitmap, 0, -1, static_cast<uint32_t>(file.size())) !=
        T_OK) {
      give_up("the load failed");
    }
    T_FreeBitmap(&bitmap);
  }
}

// ---- FFmpeg ----

#ifdef PEER_FFMPEG
inline void ffmpeg_decode(benchmark::State& state, AVCodecID id, const Bytes& file) {
  AVCodecContext* codec = nullptr;
  const auto open = [&] {
    codec = avcodec_alloc_context3(avcodec_find_decoder(id));
    codec->thread_count = 1;
    if (avcodec_open2(codec, nullptr, nullptr) < 0) give_up("FFmpeg cannot decode");
  };
  AVPacket* packet = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
  open();
  if (av_new_packet(packet, static_cast<int>(file.size())) < 0) give_up("no memory");
  std::memcpy(packet->data, file.data(), file.size());
  packet->flags |= AV_PKT_FLAG_KEY;
  for (auto _ : state) {
    if (avcodec_send_packet(codec, packet) < 0 || avcodec_receive_frame(codec, frame) < 0) {
      give_up("FFmpeg failed");
    }
    av_frame_unref(frame);
    if (fresh_memory) {
      avcodec_free_context(&codec);
      open();
    }
  }
  av_frame_free(&frame);
  av_packet_free(&packet);
  avcodec_free_context(&codec);
}

// One encoder for all rounds where the format lets it (GIF's second frame would be another).
inline Bytes ffmpeg_encode(benchmark::State* state, AVCodecID id, AVPixelFormat layout, int width,
                           int height, const Bytes& rows, bool runs) {
  AVFrame* frame = av_frame_alloc();
  frame->format = layout;
  frame->width = width;
  frame->height = height;
  av_frame_get_buffer(frame, 64);
  const size_t line = rows.size() / height;
  for (int y = 0; y < height; ++y) {
    std::memcpy(frame->data[0] + size_t(frame->linesize[0]) * y, rows.data() + line * y, line);
  }
  if (layout == AV_PIX_FMT_PAL8) {
    for (uint32_t i = 0; i < 256; ++i) {
      reinterpret_cast<uint32_t*>(frame->data[1])[i] = 0xFF000000u | i * 0x010101u;
    }
  }
  AVPacket* packet = av_packet_alloc();
  Bytes file;
  const auto once = [&] {
    AVCodecContext* codec = avcodec_alloc_context3(avcodec_find_encoder(id));
    codec->width = width;
    codec->height = height;
    codec->pix_fmt = layout;
    codec->time_base = {1, 25};
    codec->thread_count = 1;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "rle", runs ? "1" : "0", 0);  // of TGA and Sun raster
    const bool opened = avcodec_open2(codec, nullptr, &options) >= 0;
    av_dict_free(&options);
    if (!opened || avcodec_send_frame(codec, frame) < 0 ||
        avcodec_receive_packet(codec, packet) < 0) {
      give_up("FFmpeg cannot encode");
    }
    if (file.empty()) file.assign(packet->data, packet->data + packet->size);
    av_packet_unref(packet);
    avcodec_free_context(&codec);
  };
  if (state == nullptr)
    once();
  else
    for (auto _ : *state) once();
  av_packet_free(&packet);
  av_frame_free(&frame);
  return file;
}
#endif

#ifdef PEER_SDL_IMAGE
inline void sdl_decode(benchmark::State& state, const char* type, const Bytes& file) {
  for (auto _ : state) {
    SDL_Surface* surface =
        IMG_LoadTyped_RW(SDL_RWFromConstMem(file.data(), static_cast<int>(file.size())), 1, type);
    if (surface == nullptr) {
      state.SkipWithError("SDL_image does not read this");
      break;
    }
    SDL_FreeSurface(surface);
  }
}
#endif

// Pillow times itself: processor time of one decode, or of one save of the decoded picture, in a
// process of its own, fed by a file.
inline void run_pillow(benchmark::State& state, const std::string& suffix, const Bytes& file,
                       bool saves = false) {
  std::string path = "/tmp/tavo_bench_XXXXXX" + suffix;
  const int handle = mkstemps(path.data(), static_cast<int>(suffix.size()));
  FILE* out = handle < 0 ? nullptr : fdopen(handle, "wb");
  if (out == nullptr || std::fwrite(file.data(), 1, file.size(), out) != file.size()) {
    give_up("no temporary file");
  }
  std::fclose(out);
  const std::string command =
      "/usr/bin/python3 -c \"import io, sys, time\n"
      "from PIL import Image\n"
      "data = open(sys.argv[1], 'rb').read()\n"
      "picture = Image.open(io.BytesIO(data))\n"
      "picture.load()\n"
      "load = lambda: Image.open(io.BytesIO(data)).load()\n"
      "save = lambda: picture.save(io.BytesIO(), picture.format)\n"
      "times = []\n"
      "for i in range(9):\n"
      "    start = time.process_time()\n"
      "    (save if sys.argv[2] == 'save' else load)()\n"
      "    times.append(time.process_time() - start)\n"
      "print(sorted(times)[4])\" " +
      path + (saves ? " save" : " load");
  for (auto _ : state) {
    double seconds = 0;
    FILE* pipe = popen(command.c_str(), "r");
    const bool read = pipe != nullptr && std::fscanf(pipe, "%lf", &seconds) == 1;
    if (pipe != nullptr) pclose(pipe);
    if (!read) {
      state.SkipWithError("Pillow is not installed");
      break;
    }
    state.SetIterationTime(seconds);
  }
  std::remove(path.c_str());
}

}  // namespace bench
