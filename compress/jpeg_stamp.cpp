// Stamps: small pictures that travel with a file.
#include <array>
#include <cstring>

#include "base/endian.h"
#include "compress/cmp_layout.h"
#include "compress/jpeg_file.h"
#include "core/bitmap.h"
#include "core/notice.h"
#include "core/rows.h"
#include "io/input_file.h"

namespace tavo::jpeg {
namespace {

constexpr std::array<uint8_t, 5> kExtension = {'J', 'F', 'X', 'X', 0};
constexpr uint8_t kPaletteStamp = 0x11;
constexpr uint8_t kColorStamp = 0x13;

struct Stamp {
  uint8_t width = 0;
  uint8_t height = 0;
  uint8_t bits = 0;
};

// Reads segments until the JFXX extension that holds a stamp; its palette and pixels come next.
Status find_extension(ByteSource& source, Stamp& stamp) {
  std::array<uint8_t, 2> pair;
  TRY(source.read(pair));  // SOI
  for (;;) {
    TRY(source.read(pair));
    while (pair[1] == 0xFF) TRY(source.read(std::span(pair).last(1)));
    const int code = pair[1];
    if (pair[0] != 0xFF || code < marker::kSof0 || code == marker::kSos || code == marker::kEoi) {
      return kNoStamp;
    }
    TRY(source.read(pair));
    if (load_be16(pair.data()) < 2) return kNoStamp;
    const size_t size = load_be16(pair.data()) - 2u;
    std::array<uint8_t, kExtension.size() + 3> head;
    if (code != marker::kApp0 || size < head.size()) {
      TRY(source.skip(size));
      continue;
    }
    TRY(source.read(head));
    const uint8_t kind = head[5];
    const bool is_stamp = std::memcmp(head.data(), kExtension.data(), kExtension.size()) == 0 &&
                          (kind == kPaletteStamp || kind == kColorStamp);
    if (is_stamp) {
      stamp = {head[6], head[7], static_cast<uint8_t>(kind == kPaletteStamp ? 8 : 24)};
      return kOk;
    }
    TRY(source.skip(size - head.size()));
  }
}

Status read_stamp_header(ByteSource& source, const Container& container, Stamp& stamp) {
  if (container.format == T_FORMAT_JPEG) return find_extension(source, stamp);
  if (!container.has_stamp) return kNoStamp;
  TRY(source.skip(cmp::kHeaderSize));
  std::array<uint8_t, cmp::kStampHeaderSize> head;
  TRY(source.read(head));
  stamp = {head[0], head[1], head[2]};
  return kOk;
}

Status read_stamp_pixels(ByteSource& source, BitmapHandle& bitmap) {
  if (bitmap.BitsPerPixel == 8) {
    std::array<uint8_t, cmp::kStampPaletteSize> palette;
    TRY(source.read(palette));
    for (size_t i = 0; i < 256; ++i) {
      bitmap.Info.Palette[i] = {palette[3 * i + 2], palette[3 * i + 1], palette[3 * i], 0};
    }
    bitmap.Colors = 256;
    bitmap.Flags |= T_FLAG_PALETTE;
  }
  Buffer row;
  TRY(row.allocate(bitmap.BytesPerLine));
  const size_t used =
      static_cast<size_t>(bitmap.Width) * static_cast<size_t>(bitmap.BitsPerPixel / 8);
  const core::AccessScope accessed(bitmap);
  for (uint32_t y = 0; y < static_cast<uint32_t>(bitmap.Height); ++y) {
    TRY(source.read(row.bytes().first(used)));
    TRY(core::put_row(bitmap, y, row.bytes()));
  }
  return kOk;
}

}  // namespace

Status read_stamp(const char* name, BitmapHandle& bitmap) {
  TRY(core::check_notice());
  io::InputFile file;
  TRY(file.open(name));
  std::array<uint8_t, kLargestContainerHead> head;
  size_t got = 0;
  TRY(file.read_up_to(head, got));
  Container container;
  TRY(parse_container(std::span(head).first(got), container));
  TRY(file.seek(0));
  ByteSource source(file);
  TRY(source.start());
  Stamp stamp;
  TRY(read_stamp_header(source, container, stamp));
  if (stamp.width == 0 || stamp.height == 0 || (stamp.bits != 8 && stamp.bits != 24)) {
    return kBadData;
  }
  TRY(core::init_bitmap(bitmap, stamp.width, stamp.height, stamp.bits));
  bitmap.ViewPerspective = 0;
  if (stamp.bits == 24) bitmap.Order = T_ORDER_BGR;
  TRY(core::allocate_bitmap(bitmap, 1));
  const Status status = read_stamp_pixels(source, bitmap);
  if (!status.ok()) core::free_bitmap(bitmap);
  return status;
}

}  // namespace tavo::jpeg
