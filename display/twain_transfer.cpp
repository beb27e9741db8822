#include "display/twain_transfer.h"

#include <algorithm>

#include "base/buffer.h"
#include "core/bitmap.h"
#include "display/status.h"
#include "display/twain_capabilities.h"
#include "platform/platform.h"
#include "process/dib_import.h"
#include "process/twain/strips.h"
#include "process/twain/values.h"

namespace tavo::twain {

namespace {

constexpr uint32_t kUsualStrip = 64 * 1024;
constexpr uint32_t kLargestStrip = 64 * 1024 * 1024;

// What is wrong with a picture is the source's fault; where memory lacks, or a limit is passed, it
// is not.
Status blame_source(Status status) {
  const bool is_theirs = status == kBadData || status == kSubtype || status == kBadSize ||
                         status == kReadError || status == kBadArgument;
  return is_theirs ? kSource : status;
}

Status announced(Session& session, Picture& picture) {
  ImageInfo info = {};
  TRY(session.verdict(session.call(kGetImageInfo, &info), kSource));
  return blame_source(describe(info, current_value(session, Feature::kUnits, kInches), picture));
}

// Whether the picture has come whole.
Status finished(Session& session, Return answer) {
  return answer == Return::kTransferDone ? kOk : session.verdict(answer, kSource);
}

// ---- Memory ----

Status ask_rules(Session& session, const Picture& picture, PixelRules& rules, Palette8& palette) {
  if (picture.type == kBlackAndWhite || picture.type == kGray) {
    rules.zero_is_white =
        current_value(session, Feature::kPixelFlavor, kZeroIsBlack) == kZeroIsWhite;
  }
  if (picture.pixel_bits == 1) {
    rules.low_bit_first = current_value(session, Feature::kBitOrder, kHighBitFirst) == kLowBitFirst;
  }
  if (picture.type != kPalette) return kOk;
  TRY(session.verdict(session.call(kGetPalette, &palette), kSource));
  rules.palette = &palette;
  return kOk;
}

// The source's favourite size where that is sound, and a row at least.
Status choose_strip_size(Session& session, uint64_t row_bytes, uint32_t& size) {
  MemorySizes sizes = {};
  TRY(session.verdict(session.call(kGetMemorySizes, &sizes), kSource));
  const uint64_t least = sizes.least;
  if (least > kLargestStrip) return kSource;
  uint64_t most = std::min<uint64_t>(sizes.most, kLargestStrip);
  if (most < least || most == 0) most = kLargestStrip;  // it makes no sense
  uint64_t wanted = sizes.preferred;
  if (wanted == 0 || wanted > kLargestStrip) wanted = kUsualStrip;
  size = static_cast<uint32_t>(std::min(std::max({wanted, least, row_bytes}), most));
  return kOk;
}

MemoryTransfer strip_request(std::span<uint8_t> buffer) {
  MemoryTransfer strip;
  strip.compression = kUntold16;
  strip.row_bytes = strip.columns = strip.rows = kUntold;
  strip.x_offset = strip.y_offset = strip.written = kUntold;
  strip.memory = {kApplicationOwns | kIsPointer, static_cast<uint32_t>(buffer.size()),
                  buffer.data()};
  return strip;
}

Status take_strips(Session& session, Strips& strips, std::span<uint8_t> buffer) {
  for (;;) {
    MemoryTransfer strip = strip_request(buffer);
    const Return answer = session.transfer(kTransferMemory, &strip);
    if (answer != Return::kSuccess) TRY(finished(session, answer));
    TRY(blame_source(strips.add(strip, buffer)));
    if (answer == Return::kTransferDone) return blame_source(strips.finish());
  }
}

Status take_memory(Session& session, const Picture& picture, BitmapHandle& record) {
  PixelRules rules;
  Palette8 palette = {};
  TRY(ask_rules(session, picture, rules, palette));
  Strips strips;
  TRY(blame_source(strips.start(picture, rules, record)));
  uint32_t size = 0;
  TRY(choose_strip_size(session, strips.row_bytes(), size));
  // Behind what the source is told there is room for a row that it should not have begun.
  Buffer buffer;
  TRY(buffer.allocate(size + strips.row_bytes()));
  return take_strips(session, strips, buffer.bytes().first(size));
}

// ---- Native ----

Status take_native(Session& session, const Picture& picture, BitmapHandle& record) {
  void* handle = nullptr;
  TRY(finished(session, session.transfer(kTransferNative, &handle)));
  if (handle == nullptr) return kSource;
  const auto block = reinterpret_cast<uintptr_t>(handle);
  const Status status = dib::convert_from_global(block, record);
  platform::free_shared(block);
  TRY(blame_source(status));
  set_resolution(picture, record);
  return kOk;
}

// ---- Files ----

Status take_file(Session& session, const Picture& picture, const FileTarget& file, int32_t page,
                 BitmapHandle& record) {
  FileTransfer target = {};
  TRY(numbered_name(file.name, page, target.name));
  target.format = static_cast<uint16_t>(file.format);
  TRY(session.verdict(session.call(kSetFile, &target), kSource));
  TRY(finished(session, session.transfer(kTransferFile, nullptr)));
  return describe_record(picture, record);
}

}  // namespace

Status take_picture(Session& session, uint32_t mechanism, const FileTarget& file, int32_t page,
                    BitmapHandle& record) {
  Picture picture;
  TRY(announced(session, picture));
  if (mechanism == kMechanismMemory) return take_memory(session, picture, record);
  if (mechanism == kMechanismNative) return take_native(session, picture, record);
  return take_file(session, picture, file, page, record);
}

}  // namespace tavo::twain
