// The data of GIF images, row by row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "base/status.h"
#include "codec/lzw.h"

namespace tavo::gif {

// Data sub-blocks (section 15) as one stream: what stands between length bytes, up to the block
// terminator (16), which is an empty one. A file that ends before counts as terminated.
class SubBlocks {
 public:
  explicit SubBlocks(ByteSource& bytes) : bytes_(bytes) {}

  void restart() {
    left_ = 0;
    at_end_ = false;
  }
  // As ByteSource wants it.
  Status read_some(std::span<uint8_t> into, size_t& got);
  // Past the terminator. kReadError when the file ends before.
  Status skip_rest();

 private:
  ByteSource& bytes_;
  size_t left_ = 0;  // of the current block
  bool at_end_ = false;
};

// Decodes images one after the other, each from its first sub-block on.
class ImageData {
 public:
  explicit ImageData(ByteSource& bytes) : blocks_(bytes), stream_(blocks_) {}

  Status allocate() { return stream_.start(); }

  // Begins an image; the bytes stand behind its code size, a bad one is kBadData.
  Status start(uint8_t minimum_code_size);

  // One row of index bytes; one that is cut is filled up with index 0. `got`: pixels that came.
  // Kept: a row that the end code cuts counts as read; otherwise the stream must not end in a row.
  Status decode_row(std::span<uint8_t> indices, size_t& got);

  // Past the image. Data behind its last row are of no interest.
  Status finish() { return blocks_.skip_rest(); }

 private:
  SubBlocks blocks_;
  ByteSource stream_;
  lzw::LowFirstDecoder decoder_;
};

}  // namespace tavo::gif
