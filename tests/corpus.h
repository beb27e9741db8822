// Real sample files with reference pictures, in the folder that the environment variable
// TAVO_CORPUS names; tests that need them skip without it.
#pragma once

#include <string>
#include <vector>

#include "support.h"

namespace tavo::test {

struct CorpusFile {
  std::string path;                     // absolute
  std::string name;                     // relative, for messages
  std::string format;                   // "bmp"
  std::string expected;                 // "decodes", "must-fail-cleanly" or "disputed"
  std::vector<std::string> references;  // absolute, one per page
};

// What the manifest lists of a format; empty without a corpus.
std::vector<CorpusFile> corpus_files(const std::string& format);

struct Picture {
  int width = 0;
  int height = 0;
  Bytes rgb;  // top row first
};

// Decodes a PNG file to red, green, blue.
bool read_png(const std::string& path, Picture& picture);

// A whole file; empty when it cannot be read.
Bytes read_file(const std::string& path);

}  // namespace tavo::test
