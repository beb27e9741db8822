// Runs a fuzz target's entry point once on each file named on the command line.
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    std::ifstream file(argv[i], std::ios::binary);
    if (!file) {
      std::fprintf(stderr, "%s cannot be read\n", argv[i]);
      return 1;
    }
    std::printf("%s\n", argv[i]);
    std::fflush(stdout);  // the last line names the file that crashed
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    const std::vector<uint8_t> data(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(data.data(), data.size());
  }
  return 0;
}
