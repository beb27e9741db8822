#include "corpus.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

// The references' decoder; nothing else of it is used.
#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#define STB_IMAGE_STATIC
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb_image.h>
#pragma GCC diagnostic pop

namespace tavo::test {

namespace {

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, separator);) parts.push_back(part);
  return parts;
}

}  // namespace

std::vector<CorpusFile> corpus_files(const std::string& format) {
  std::vector<CorpusFile> files;
  const char* root = std::getenv("TAVO_CORPUS");
  if (root == nullptr) return files;
  const std::string folder = std::string(root) + "/";
  std::ifstream manifest(folder + "MANIFEST.tsv");
  for (std::string line; std::getline(manifest, line);) {
    const std::vector<std::string> fields = split(line, '\t');
    if (fields.size() < 8 || fields[1] != format) continue;
    CorpusFile file{folder + fields[0], fields[0], fields[1], fields[6], {}};
    for (const std::string& reference : split(fields[7], ' ')) {
      file.references.push_back(folder + reference);
    }
    files.push_back(file);
  }
  return files;
}

bool read_png(const std::string& path, Picture& picture) {
  int channels = 0;
  stbi_uc* pixels = stbi_load(path.c_str(), &picture.width, &picture.height, &channels, 3);
  if (pixels == nullptr) return false;
  picture.rgb.assign(pixels, pixels + size_t{3} * picture.width * picture.height);
  stbi_image_free(pixels);
  return true;
}

Bytes read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

}  // namespace tavo::test
