// Device-independent bitmaps in memory, 4096 x 3072 pixels: there and back, in place, beside the
// least there is to do: a block of that size and one copy.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/platform.h"
#include "run.h"
#include "tavo45.h"

namespace {

constexpr int32_t kWidth = 4096;
constexpr int32_t kHeight = 3072;

struct Case {
  int32_t bits;
  uint32_t order;
  uint32_t perspective;
};
Case case_of(const benchmark::State& state) {
  return {static_cast<int32_t>(state.range(0)), static_cast<uint32_t>(state.range(1)),
          static_cast<uint32_t>(state.range(2))};
}

class Picture {
 public:
  explicit Picture(const Case& what) {
    T_InitBitmap(&record, kWidth, kHeight, what.bits);
    T_AllocateBitmap(&record, 1);
    record.Order = what.order;
    record.ViewPerspective = what.perspective;
    T_AccessBitmap(&record);
    for (uint32_t i = 0; i < record.Size; ++i) {
      static_cast<uint8_t*>(record.Data)[i] = static_cast<uint8_t>(i * 7 + (i >> 12));
    }
  }
  ~Picture() { T_FreeBitmap(&record); }

  BitmapHandle record = {};
};

void count(benchmark::State& state, const BitmapHandle& record) {
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(record.Size));
}

void Copy(benchmark::State& state) {
  const Picture picture(case_of(state));
  for (auto _ : state) {
    void* block = std::malloc(picture.record.Size);
    std::memcpy(block, picture.record.Data, picture.record.Size);
    benchmark::DoNotOptimize(block);
    benchmark::ClobberMemory();
    std::free(block);
  }
  count(state, picture.record);
}

void To(benchmark::State& state) {
  Picture picture(case_of(state));
  for (auto _ : state) {
    void* dib = nullptr;
    if (T_ConvertToDIB(&picture.record, &dib, nullptr) != T_OK) state.SkipWithError("no DIB");
    T_FreeDIB(dib);
  }
  count(state, picture.record);
}

// Red first in a DIB: 32 bits with masks.
void From(benchmark::State& state) {
  Picture picture({static_cast<int32_t>(state.range(0)), T_ORDER_BGR, 2});
  T_ChangeToDIB(&picture.record);
  void* dib = nullptr;
  uint32_t size = 0;
  T_ConvertToDIB(&picture.record, &dib, &size);
  const auto handle = reinterpret_cast<uintptr_t>(dib);
  const auto* at = static_cast<const uint8_t*>(tavo::platform::lock_block(handle));
  std::vector<uint8_t> block(at, at + size);
  if (case_of(state).order == T_ORDER_RGB) {
    const uint32_t masks[] = {0xFF, 0xFF00, 0xFF0000};
    block[16] = 3;
    block.insert(block.begin() + 40, reinterpret_cast<const uint8_t*>(masks),
                 reinterpret_cast<const uint8_t*>(masks + 3));
  }
  for (auto _ : state) {
    BitmapHandle bitmap = {};
    if (T_ConvertFromDIB(block.data(), static_cast<uint32_t>(block.size()), &bitmap) != T_OK) {
      state.SkipWithError("no bitmap");
    }
    T_FreeBitmap(&bitmap);
  }
  T_FreeDIB(dib);
  count(state, picture.record);
}

// Each time the order and the rows are exchanged that are to be.
void InPlace(benchmark::State& state) {
  const Case what = case_of(state);
  Picture picture(what);
  for (auto _ : state) {
    picture.record.Order = what.order;
    picture.record.ViewPerspective = what.perspective;
    T_ChangeToDIB(&picture.record);
  }
  count(state, picture.record);
}

constexpr int64_t kUp = 2, kDown = 0;
BENCHMARK(Copy)->Args({8, 1, kUp})->Args({24, 1, kUp})->Args({32, 1, kUp});
BENCHMARK(To)
    ->Args({8, 1, kUp})
    ->Args({24, 1, kUp})
    ->Args({24, 1, kDown})
    ->Args({24, 0, kUp})
    ->Args({24, 0, kDown})
    ->Args({32, 1, kUp})
    ->Args({32, 0, kDown})
    ->Args({16, 0, kUp});
BENCHMARK(From)->Args({8, 1, 0})->Args({24, 1, 0})->Args({32, 1, 0})->Args({32, 0, 0});
BENCHMARK(InPlace)->Args({24, 1, kDown})->Args({24, 0, kUp})->Args({24, 0, kDown});

}  // namespace

int main(int argc, char** argv) { return bench::run(argc, argv); }
