// Encoder parameters and pixels from the fuzzer: no crash, only documented statuses, streams that
// begin and end as they must, and the same scan from the plain and from the vector code.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "codec/jpeg/encoder.h"
#include "input.h"
#include "tavo45.h"

namespace {

using namespace tavo;
using fuzz::Bytes;
using fuzz::Input;

void require(bool holds) {
  if (!holds) std::abort();
}

struct Collector {
  Bytes bytes;
  uint32_t limit = UINT32_MAX;

  static uint32_t T_CALL write(const void* bytes, uint32_t size, void* user) {
    auto& self = *static_cast<Collector*>(user);
    const uint32_t taken = std::min(size, self.limit);
    self.limit -= taken;
    const auto* from = static_cast<const uint8_t*>(bytes);
    self.bytes.insert(self.bytes.end(), from, from + taken);
    return taken;
  }
};

void check_ends(const Bytes& file, int32_t type) {
  const size_t begin = type == 0 ? 24 : 0;
  const size_t end = file.size() - (type == 0 ? 12 : 0);
  require(file.size() > 100 && file[begin] == 0xFF && file[begin + 1] == 0xD8);
  require(file[end - 2] == 0xFF && file[end - 1] == 0xD9);
  // Segments up to the scan, then no marker: every byte 0xFF is followed by a zero.
  size_t at = begin + 2;
  for (bool is_scan = false; !is_scan;) {
    require(at + 4 < end && file[at] == 0xFF);
    is_scan = file[at + 1] == 0xDA;
    at += 2 + (size_t{file[at + 2]} << 8 | file[at + 3]);
  }
  require(at <= end - 2);
  for (; at < end - 2; ++at) require(file[at] != 0xFF || file[at + 1] == 0);
}

void load_table(Input& input) {
  uint32_t table[64];
  for (uint32_t& entry : table) entry = input.byte();
  T_LoadCustomQTable(table);
}

void compress_strips(Input& input) {
  BitmapHandle bitmap = {};
  const auto width = static_cast<int32_t>(input.word() % 700) - 2;
  const auto height = static_cast<int32_t>(input.byte()) - 2;
  T_InitBitmap(&bitmap, width, height, static_cast<int32_t>(input.byte() % 40));
  bitmap.Flags = input.word();
  bitmap.ViewPerspective = input.byte() & 3;
  const auto type = static_cast<int32_t>(input.byte() % 9) - 1;
  const auto quality = static_cast<int32_t>(input.word() % 280) - 12;
  const uint32_t rows = input.byte() % 40;
  const bool is_gray = bitmap.BitsPerPixel == 8 && (bitmap.Flags & T_FLAG_GRAY) != 0;
  const uint32_t row_bytes = static_cast<uint32_t>(std::max(width, 0)) * (is_gray ? 1 : 3);
  Collector out;
  if (input.byte() < 64) out.limit = input.word() * 4;
  const uint32_t buffer = input.word();
  if (T_StartCompressBuffer(&bitmap, Collector::write, rows * row_bytes, buffer, nullptr, type,
                            quality, &out) != T_OK) {
    require(T_EndCompressBuffer() == T_ERR_INCOMPLETE);
    return;
  }
  Bytes strip(size_t{rows} * row_bytes);
  int32_t status = T_OK;
  for (int32_t y = 0; y < height && status == T_OK; y += static_cast<int32_t>(rows)) {
    input.fill(strip);
    status = T_CompressBuffer(strip.data());
  }
  const int32_t end = T_EndCompressBuffer();
  require(status == T_OK || status == T_ERR_WRITE);
  require(end == T_OK || end == T_ERR_WRITE);
  if (status == T_OK && end == T_OK) check_ends(out.bytes, type);
}

Status keep(void* context, std::span<const uint8_t> bytes) {
  auto& out = *static_cast<Bytes*>(context);
  out.insert(out.end(), bytes.begin(), bytes.end());
  return kOk;
}

Bytes encode(const jpeg::EncoderSetup& setup, const Bytes& rows, const jpeg::Kernels& stages,
             const jpeg::EntropyCoder& coder) {
  Bytes out;
  ByteSink sink;
  jpeg::Encoder encoder;
  require(sink.start(keep, &out, 999).ok() && encoder.start(setup, stages, coder).ok());
  require(encoder.encode_rows(rows.data(), rows.size() / setup.height, setup.height, sink).ok());
  require(encoder.finish(sink).ok() && sink.flush().ok());
  return out;
}

void compare_paths(Input& input) {
  jpeg::EncoderSetup setup;
  setup.width = 1 + input.word() % 400;
  setup.height = 1 + input.byte() % 40;
  const uint32_t kind = input.byte() & 3;
  setup.is_gray = kind == 3;
  setup.horizontal = kind == 1 || kind == 2 ? 2 : 1;
  setup.vertical = kind == 2 ? 2 : 1;
  const uint32_t step = input.byte();
  for (uint32_t k = 0; k < 64; ++k) {
    setup.luminance[k] = static_cast<uint8_t>(1 + k * step % 255);
    setup.chrominance[k] = static_cast<uint8_t>(1 + (k + 1) * step % 255);
  }
  Bytes rows(size_t{setup.width} * (setup.is_gray ? 1 : 3) * setup.height);
  input.fill(rows);
  const Bytes plain = encode(setup, rows, jpeg::kPlainKernels, jpeg::kPlainEntropyCoder);
  require(encode(setup, rows, jpeg::kernels(), jpeg::entropy_coder()) == plain);
  require(encode(setup, rows, jpeg::kernels(), jpeg::kSse2EntropyCoder) == plain);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const uint32_t mode = input.byte();
  if ((mode & 2) != 0) load_table(input);
  if ((mode & 1) != 0) {
    compare_paths(input);
  } else {
    compress_strips(input);
  }
  T_LoadCustomQTable(nullptr);
  return 0;
}
