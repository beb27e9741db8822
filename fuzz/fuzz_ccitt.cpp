// The bare CCITT decoder: the last three bytes choose coding, bit order and width. Rows that decode
// are encoded again and must come back the same.
#include <cstdlib>
#include <vector>

#include "codec/ccitt_decoder.h"
#include "codec/ccitt_encoder.h"

namespace {

using namespace tavo;

struct Collector {
  std::vector<uint8_t> bytes;
  Status write(std::span<const uint8_t> more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
    return kOk;
  }
};

void require(bool is_true) {
  if (!is_true) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr uint32_t kRows = 100;
  if (size < 3) return 0;
  const uint8_t* options = data + size - 3;
  const auto coding = static_cast<ccitt::Coding>(options[0] % 5);
  const uint32_t width = 1 + (options[1] | (options[2] & 0x1Fu) << 8);
  const size_t row_bytes = (width + 7) / 8;

  ccitt::Decoder decoder;
  require(decoder.start(coding, width, (options[0] & 0x80) != 0).ok());
  ByteSource source{std::span<const uint8_t>(data, size - 3)};
  decoder.begin(source);
  std::vector<uint8_t> row(row_bytes);
  std::vector<uint8_t> rows;
  while (rows.size() < kRows * row_bytes && decoder.decode_row(row).ok()) {
    rows.insert(rows.end(), row.begin(), row.end());
  }

  Collector out;
  ccitt::Encoder encoder(out);
  require(encoder.start({coding, false, (options[0] & 0x40) != 0, options[2] % 7u}, width).ok());
  for (size_t at = 0; at < rows.size(); at += row_bytes) {
    require(encoder.encode_row({rows.data() + at, row_bytes}).ok());
  }
  require(encoder.finish().ok());
  ByteSource again{std::span<const uint8_t>(out.bytes)};
  require(decoder.start(coding, width, false).ok());
  decoder.begin(again);
  for (size_t at = 0; at < rows.size(); at += row_bytes) {
    require(decoder.decode_row(row).ok());
    require(std::equal(row.begin(), row.end(), rows.begin() + static_cast<ptrdiff_t>(at)));
  }
  require(decoder.damaged_rows() == 0);
  return 0;
}
