// Pillow as a peer: bench/pillow.py runs in a process of its own and reports its processor time.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace bench {

// The median processor seconds of `operation` on a picture whose pixels have `channels` bytes, or a
// negative number without Pillow.
inline double time_pillow(const std::string& operation, const std::vector<uint8_t>& pixels,
                          int width, int height, int channels) {
  const std::string name = "/tmp/tavo_bench_" + std::to_string(channels) + ".raw";
  if (std::FILE* file = std::fopen(name.c_str(), "wb")) {
    std::fwrite(pixels.data(), 1, pixels.size(), file);
    std::fclose(file);
  }
  const std::string command = std::string("/usr/bin/python3 ") + PILLOW_SCRIPT + " " + operation +
                              " " + name + " " + std::to_string(width) + " " +
                              std::to_string(height) + " " + std::to_string(channels) +
                              " 2>/dev/null";
  double seconds = -1;
  if (std::FILE* pipe = popen(command.c_str(), "r")) {
    if (std::fscanf(pipe, "%lf", &seconds) != 1) seconds = -1;
    pclose(pipe);
  }
  std::remove(name.c_str());
  return seconds;
}

// A benchmark of one iteration: `->UseManualTime()->Iterations(1)`.
inline void run_pillow(benchmark::State& state, const std::string& operation,
                       const std::vector<uint8_t>& pixels, int width, int height, int channels) {
  for (auto _ : state) {
    const double seconds = time_pillow(operation, pixels, width, height, channels);
    if (seconds <= 0) {
      state.SkipWithError("no Pillow");
      break;
    }
    state.SetIterationTime(seconds);
  }
}

}  // namespace bench
