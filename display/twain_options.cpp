#include "display/twain_options.h"

#include <cstring>

namespace tavo::twain {

namespace {

static_assert(sizeof(T_TwainOptions) == (sizeof(void*) == 4 ? 100 : 112));

constexpr uint32_t kKnownFlags = 3;
constexpr int32_t kMostTransfer = 3, kFileTransfer = 2;
constexpr int32_t kMostPixelType = 4;
constexpr int32_t kMostWhole = 32767;     // of TWAIN's numbers
constexpr size_t kLongestFileName = 245;  // with a page number it has to fit 255
constexpr size_t kLongestSource = 33;

bool is_within(int32_t value, int32_t least, int32_t most) {
  return value >= least && value <= most;
}

bool is_frame(const T_TwainOptions& o) {
  if (o.Left == 0 && o.Top == 0 && o.Right == 0 && o.Bottom == 0) return true;
  constexpr int32_t kMost = kMostWhole * 1000;
  return is_within(o.Left, 0, kMost) && is_within(o.Top, 0, kMost) &&
         is_within(o.Right, o.Left + 1, kMost) && is_within(o.Bottom, o.Top + 1, kMost);
}

bool is_name(const T_TwainOptions& o) {
  if (o.Transfer != kFileTransfer) return true;
  return o.FileName != nullptr && o.FileName[0] != 0 &&
         strnlen(o.FileName, kLongestFileName + 1) <= kLongestFileName;
}

}  // namespace

Status check(const T_TwainOptions& o) {
  if (o.Size != sizeof(o)) return kBadArgument;
  const bool is_sound =
      (o.Flags & ~kKnownFlags) == 0 && is_within(o.Transfer, 0, kMostTransfer) &&
      is_within(o.PixelType, 0, kMostPixelType) && is_within(o.BitDepth, 0, kMostWhole) &&
      is_within(o.XResolution, 0, kMostWhole) && is_within(o.YResolution, 0, kMostWhole) &&
      o.Pages >= 0 && is_within(o.Brightness, -1000, 1000) && is_within(o.Contrast, -1000, 1000) &&
      is_within(o.FileFormat, 0, UINT16_MAX);
  if (!is_sound || !is_frame(o) || !is_name(o)) return kBadArgument;
  return strnlen(o.SourceName, sizeof(o.SourceName)) <= kLongestSource ? kOk : kBadArgument;
}

}  // namespace tavo::twain
