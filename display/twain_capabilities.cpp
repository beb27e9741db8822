#include "display/twain_capabilities.h"

#include <windows.h>

#include <cstring>
#include <optional>

#include "platform/platform.h"
#include "process/twain/values.h"

namespace tavo::twain {

namespace {

constexpr uint32_t kFlagFeeder = 2;
constexpr int32_t kTransferNativeOnly = 1, kTransferFileOnly = 2;

// Whether the source has taken the value, and so that nothing else is in its place.
Status set(Session& session, Feature feature, ItemType type, uint32_t item, bool* is_taken) {
  const uintptr_t block = platform::allocate_movable(sizeof(OneValue));
  if (block == 0) return kNoMemory;
  auto* const value = static_cast<OneValue*>(platform::lock_block(block));
  *value = {static_cast<uint16_t>(type), item};
  platform::unlock_block(block);
  Capability capability = {static_cast<uint16_t>(feature), kOneValue,
                           reinterpret_cast<void*>(block)};
  const Return answer = session.call(kSetCapability, &capability);
  platform::free_block(block);  // what a SET has become of the handle in the record is no matter
  if (is_taken == nullptr) return kOk;
  *is_taken = answer == Return::kSuccess ||
              (answer == Return::kCheckStatus && current_value(session, feature, ~item) == item);
  return kOk;
}

Status set_number(Session& session, Feature feature, ItemType type, int32_t value) {
  return value == 0 ? kOk : set(session, feature, type, static_cast<uint32_t>(value), nullptr);
}

Status set_fixed(Session& session, Feature feature, int32_t value) {
  if (value == 0) return kOk;
  return set(session, feature, ItemType::kFixed, item_of(fixed_from_thousandths(value * 1000)),
             nullptr);
}

bool has_frame(const T_TwainOptions& options) {
  return options.Left != 0 || options.Top != 0 || options.Right != 0 || options.Bottom != 0;
}

void set_frame(Session& session, const T_TwainOptions& options) {
  ImageLayout layout = {};
  layout.left = fixed_from_thousandths(options.Left);
  layout.top = fixed_from_thousandths(options.Top);
  layout.right = fixed_from_thousandths(options.Right);
  layout.bottom = fixed_from_thousandths(options.Bottom);
  layout.document = layout.page = layout.frame = kUntold;
  session.call(kSetImageLayout, &layout);
}

// The value in global memory of the source's, which is ours to free.
std::optional<uint32_t> take_value(const Capability& capability) {
  if (capability.handle == nullptr) return std::nullopt;
  std::optional<uint32_t> value;
  const size_t size = GlobalSize(capability.handle);
  const auto* const bytes = static_cast<const uint8_t*>(GlobalLock(capability.handle));
  if (bytes != nullptr) {
    value = current_value(capability.container, {bytes, size});
    GlobalUnlock(capability.handle);
  }
  GlobalFree(capability.handle);
  return value;
}

}  // namespace

uint32_t current_value(Session& session, Feature feature, uint32_t otherwise) {
  Capability capability = {static_cast<uint16_t>(feature), kUntold16, nullptr};
  const Return answer = session.call(kGetCurrentCapability, &capability);
  if (answer != Return::kSuccess && answer != Return::kCheckStatus) return otherwise;
  return take_value(capability).value_or(otherwise);
}

// Units come before what is told in them, the type of the pixels before their depth.
Status set_up(Session& session, const T_TwainOptions& options) {
  const int32_t count = options.Pages <= INT16_MAX ? options.Pages : 0;
  TRY(set_number(session, Feature::kTransferCount, ItemType::kInt16, count));
  if ((options.Flags & kFlagFeeder) != 0) {
    TRY(set_number(session, Feature::kFeederEnabled, ItemType::kBool, 1));
    TRY(set_number(session, Feature::kAutoFeed, ItemType::kBool, 1));
  }
  if (options.XResolution != 0 || options.YResolution != 0 || has_frame(options)) {
    TRY(set(session, Feature::kUnits, ItemType::kUint16, kInches, nullptr));
  }
  if (options.PixelType != 0) {
    TRY(set(session, Feature::kPixelType, ItemType::kUint16,
            static_cast<uint32_t>(options.PixelType - 1), nullptr));
  }
  TRY(set_number(session, Feature::kBitDepth, ItemType::kUint16, options.BitDepth));
  TRY(set_fixed(session, Feature::kXResolution, options.XResolution));
  TRY(set_fixed(session, Feature::kYResolution, options.YResolution));
  TRY(set_fixed(session, Feature::kBrightness, options.Brightness));
  TRY(set_fixed(session, Feature::kContrast, options.Contrast));
  if (has_frame(options)) set_frame(session, options);
  return kOk;
}

Status choose_mechanism(Session& session, int32_t transfer, uint32_t& mechanism) {
  mechanism = transfer == kTransferNativeOnly ? kMechanismNative
              : transfer == kTransferFileOnly ? kMechanismFile
                                              : kMechanismMemory;
  bool is_taken = false;
  TRY(set(session, Feature::kMechanism, ItemType::kUint16, mechanism, &is_taken));
  // Native transfers are what every source can do.
  if (!is_taken && transfer == 0) mechanism = kMechanismNative;
  return kOk;
}

}  // namespace tavo::twain
