// Photo CD: whole files; and the codes of a level, by themselves, since files of that size are
// found by no fuzzer. The first byte chooses.
#include "base/buffer.h"
#include "codec/photocd_codes.h"
#include "codec/photocd_marks.h"
#include "format_fuzzer.h"

namespace {

using namespace tavo;

constexpr uint32_t kWidth = 384;
constexpr uint32_t kHeight = 256;

struct ReadAt {
  const uint8_t* bytes;
  Status operator()(uint64_t position, std::span<uint8_t> into) const {
    if (!into.empty()) std::memcpy(into.data(), bytes + position, into.size());
    return kOk;
  }
};

int decode_level(const uint8_t* data, size_t size) {
  Array<photocd::CodeTable> table;
  photocd::RowIndex index;
  photocd::Window window;
  const ReadAt read_at{data};
  const photocd::FileBytes file{read_at, size};
  const size_t used = table.allocate(1).ok() ? table[0].parse({data, size}) : 0;
  if (!window.start(file).ok() || !index.start(kHeight, photocd::Planes::kAll).ok()) return 0;
  if (!index.scan(window, used, kWidth).ok()) return 0;
  for (uint32_t plane = 0; plane < 3; ++plane) {
    for (uint32_t y = 0; y < (plane == 0 ? kHeight : kHeight / 2); ++y) {
      const photocd::RowPlace& place = index.place(plane, y);
      const uint8_t* bytes = nullptr;
      int8_t row[kWidth + 3];
      if (place.first == 0) continue;
      if (place.end < place.first) std::abort();
      if (!window.at(place.first / 8, 2 * kWidth + photocd::kCodeSlack, bytes).ok()) return 0;
      photocd::CodedRow codes = {bytes, static_cast<uint32_t>(place.first % 8),
                                 place.end - place.first, row, 0};
      table[0].decode(codes, kWidth);
      if (codes.found > kWidth) std::abort();
    }
  }
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 1 && data[0] == 1) return decode_level(data + 1, size - 1);
  return fuzz::load_save_load(T_FORMAT_PCD, 0, data, size);
}
