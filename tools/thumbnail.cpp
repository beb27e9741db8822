#include "thumbnail.h"

#include "compression.h"
#include "failure.h"
#include "orientation.h"
#include "sizing.h"

namespace tavo::tools {
namespace {

bool has_stamp(const Source& source, const FILEINFO& info, Extent wanted) {
  T_JPEGINFO jpeg;
  const bool is_jpeg = info.Format == T_FORMAT_JPEG || info.Format == T_FORMAT_CMP;
  if (!is_jpeg || T_GetJPEGInfo(source.path().c_str(), &jpeg) != T_OK) return false;
  return jpeg.StampBits != 0 && jpeg.StampWidth >= wanted.width &&
         jpeg.StampHeight >= wanted.height;
}

void load(const Source& source, const FILEINFO& info, Extent wanted, BitmapHandle& record) {
  if (has_stamp(source, info, wanted)) {
    check(T_GetCompressFileStamp(source.path().c_str(), &record), source.name());
    check(T_SizeBitmapFine(&record, wanted.width, wanted.height, T_SIZE_LANCZOS), source.name());
  } else {
    check(load_sized(source, info, wanted, T_SIZE_LANCZOS, record).status, source.name());
  }
}

}  // namespace

void load_thumbnail(const Source& source, const FILEINFO& info, Extent box, BitmapHandle& record) {
  const SizeWish wish{.width = box.width, .height = box.height, .is_box = true, .may_grow = false};
  const Extent stored = extent_of(info);
  const bool is_turned = is_sideways(info.Orientation);
  const Extent upright = wish.of(is_turned ? stored.turned() : stored);
  load(source, info, is_turned ? upright.turned() : upright, record);
  turn_upright(record, info.Orientation, source.name());
  check(compressed_depth(record) == 8 ? T_GrayScaleBitmap(&record)
                                      : T_ColorResolution(&record, 24, T_PALETTE_NONE, nullptr, 0),
        source.name());
}

}  // namespace tavo::tools
