#include "formats/gif_data.h"

#include <algorithm>

#include "formats/gif_blocks.h"

namespace tavo::gif {

// Ends at the terminator (16) and, without an error, where the file does: whether the rows before
// it are whole shows in the codes, so that a picture loads of which the last bytes are missing.
Status SubBlocks::read_some(std::span<uint8_t> into, size_t& got) {
  got = 0;
  while (got < into.size() && !at_end_) {
    if (left_ == 0) {
      const int length = bytes_.get();
      at_end_ = length <= 0;
      left_ = at_end_ ? 0 : static_cast<size_t>(length);
      continue;
    }
    const size_t part = std::min(left_, into.size() - got);
    size_t came = 0;
    TRY(bytes_.read_some(into.subspan(got, part), came));
    got += came;
    left_ -= came;
    at_end_ = came < part;
  }
  return bytes_.failure();
}

Status SubBlocks::skip_rest() {
  if (at_end_) return bytes_.failure();
  TRY(bytes_.skip(left_));
  at_end_ = true;
  return skip_blocks(bytes_);
}

Status ImageData::start(uint8_t minimum_code_size) {
  blocks_.restart();
  stream_.reset();
  return decoder_.start(minimum_code_size);
}

// Section 22 and appendix F.
Status ImageData::decode_row(std::span<uint8_t> indices, size_t& got) {
  const Status status = decoder_.decode(stream_, indices, got);
  if (got == indices.size()) return kOk;
  std::ranges::fill(indices.subspan(got), uint8_t{0});
  if (got > 0 && decoder_.saw_end_code()) return kOk;
  return status.ok() ? kBadData : status;
}

}  // namespace tavo::gif
