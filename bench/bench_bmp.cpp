// Bitmaps' rows, and BMP files of 4096 x 3072 pixels in 24 bits, beside what other libraries take
// and beside the least there is to do: the reads or writes of the same bytes and one copy.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "run.h"
#include "tavo45.h"

#ifdef PEER_SDL_IMAGE
#include <SDL.h>
#endif
#ifdef PEER_FREEIMAGE
#include <FreeImage.h>
#endif
#ifdef PEER_STB
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_BMP
#include <stb/stb_image.h>
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#include <stb/stb_image_write.h>
#endif

namespace {

constexpr int32_t kWidth = 4096;
constexpr int32_t kHeight = 3072;
constexpr size_t kLine = size_t{kWidth} * 3;
constexpr size_t kBytes = kLine * kHeight;

std::string path(const char* name) {
  const char* folder = std::getenv("TMPDIR");
  return std::string(folder != nullptr ? folder : "/tmp") + "/" + name;
}

const std::vector<uint8_t>& picture_bytes() {
  static const std::vector<uint8_t> bytes = [] {
    std::vector<uint8_t> made(kBytes);
    for (size_t i = 0; i < kBytes; ++i) made[i] = static_cast<uint8_t>(i / 3 * 7 + (i >> 12));
    return made;
  }();
  return bytes;
}

BitmapHandle* picture() {
  static BitmapHandle bitmap = [] {
    BitmapHandle made = {};
    T_InitBitmap(&made, kWidth, kHeight, 24);
    T_AllocateBitmap(&made, 1);
    T_AccessBitmap(&made);
    T_PutBitmapRow(&made, picture_bytes().data(), 0, kBytes);
    T_ReleaseBitmap(&made);
    return made;
  }();
  return &bitmap;
}

const std::string& input_file() {
  static const std::string name = [] {
    const std::string made = path("tavo-bench-in.bmp");
    T_SaveBitmap(made.c_str(), picture(), T_FORMAT_BMP, 24, 0);
    return made;
  }();
  return name;
}

// ---- Rows ----

void RowsCopied(benchmark::State& state) {
  std::vector<uint8_t> row(kLine);
  BitmapHandle* bitmap = picture();
  T_AccessBitmap(bitmap);
  for (auto _ : state) {
    for (uint32_t y = 0; y < kHeight; ++y) {
      T_GetBitmapRow(bitmap, row.data(), y, kLine);
      T_PutBitmapRow(bitmap, row.data(), y, kLine);
    }
  }
  T_ReleaseBitmap(bitmap);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBytes));
}
BENCHMARK(RowsCopied);

void RowsCopiedFloorMemcpy(benchmark::State& state) {
  std::vector<uint8_t> row(kLine);
  std::vector<uint8_t> whole = picture_bytes();
  for (auto _ : state) {
    for (size_t y = 0; y < kHeight; ++y) {
      std::memcpy(row.data(), whole.data() + y * kLine, kLine);
      benchmark::ClobberMemory();
      std::memcpy(whole.data() + y * kLine, row.data(), kLine);
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBytes));
}
BENCHMARK(RowsCopiedFloorMemcpy);

// ---- Loading ----

void Load(benchmark::State& state) {
  for (auto _ : state) {
    BitmapHandle bitmap = {};
    if (T_LoadBitmap(input_file().c_str(), &bitmap, 0, -1) != T_OK) state.SkipWithError("failed");
    T_FreeBitmap(&bitmap);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBytes));
}
BENCHMARK(Load);

// The file's bytes in pieces of half a mebibyte, each copied to where the picture lies.
void LoadFloorReadAndMemcpy(benchmark::State& state) {
  constexpr size_t kPiece = 512 * 1024;
  const std::string& name = input_file();
  for (auto _ : state) {
    auto* pixels = static_cast<uint8_t*>(std::malloc(kBytes + kPiece));
    std::vector<uint8_t> piece(kPiece);
    const int file = ::open(name.c_str(), O_RDONLY);
    size_t at = 0;
    for (ssize_t got; (got = ::read(file, piece.data(), kPiece)) > 0;) {
      std::memcpy(pixels + at, piece.data(), static_cast<size_t>(got));
      at += static_cast<size_t>(got);
    }
    ::close(file);
    benchmark::DoNotOptimize(pixels);
    std::free(pixels);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBytes));
}
BENCHMARK(LoadFloorReadAndMemcpy);

#ifdef PEER_STB
void LoadStb(benchmark::State& state) {
  for (auto _ : state) {
    int width = 0, height = 0, channels = 0;
    stbi_image_free(stbi_load(input_file().c_str(), &width, &height, &channels, 0));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBytes));
}
BENCHMARK(LoadStb);
#endif

#ifdef PEER_SDL_IMAGE
void LoadSdl(benchmark::State& state) {
  for (auto _ : state) SDL_FreeSurface(SDL_LoadBMP(input_file().c_str()));
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBytes));
}
BENCHMARK(LoadSdl);
#endif

#ifdef PEER_FREEIMAGE
void LoadFreeImage(benchmark::State& state) {
  for (auto _ : state) FreeImage_Unload(FreeImage_Load(FIF_BMP, input_file().c_str()));
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBytes));
}
BENCHMARK(LoadFreeImage);
#endif

// ---- Saving ----

void Save(benchmark::State& state) {
  const std::string name = path("tavo-bench-out.bmp");
  for (auto _ : state) {
    if (T_SaveBitmap(name.c_str(), picture(), T_FORMAT_BMP, 24, 0) != T_OK) {
      state.SkipWithError("failed");
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBytes));
}
BENCHMARK(Save);

void SaveFloorWriteAndMemcpy(benchmark::State& state) {
  const std::string name = path("tavo-bench-floor.bmp");
  std::vector<uint8_t> copy(kBytes);
  for (auto _ : state) {
    std::memcpy(copy.data(), picture_bytes().data(), kBytes);
    const int file = ::open(name.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0666);
    if (::write(file, copy.data(), kBytes) != static_cast<ssize_t>(kBytes)) {
      state.SkipWithError("failed");
    }
    ::close(file);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBytes));
}
BENCHMARK(SaveFloorWriteAndMemcpy);

#ifdef PEER_STB
void SaveStb(benchmark::State& state) {
  const std::string name = path("tavo-bench-stb.bmp");
  for (auto _ : state) {
    stbi_write_bmp(name.c_str(), kWidth, kHeight, 3, picture_bytes().data());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBytes));
}
BENCHMARK(SaveStb);
#endif

#ifdef PEER_SDL_IMAGE
void SaveSdl(benchmark::State& state) {
  const std::string name = path("tavo-bench-sdl.bmp");
  SDL_Surface* surface = SDL_LoadBMP(input_file().c_str());
  for (auto _ : state) SDL_SaveBMP(surface, name.c_str());
  SDL_FreeSurface(surface);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBytes));
}
BENCHMARK(SaveSdl);
#endif

#ifdef PEER_FREEIMAGE
void SaveFreeImage(benchmark::State& state) {
  const std::string name = path("tavo-bench-freeimage.bmp");
  FIBITMAP* bitmap = FreeImage_Load(FIF_BMP, input_file().c_str());
  for (auto _ : state) FreeImage_Save(FIF_BMP, bitmap, name.c_str());
  FreeImage_Unload(bitmap);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBytes));
}
BENCHMARK(SaveFreeImage);
#endif

}  // namespace

int main(int argc, char** argv) {
#ifdef PEER_FREEIMAGE
  FreeImage_Initialise();
#endif
  const int result = bench::run(argc, argv);
  for (const char* name : {"in", "out", "floor", "stb", "sdl", "freeimage"}) {
    std::remove(path((std::string("tavo-bench-") + name + ".bmp").c_str()).c_str());
  }
  return result;
}
