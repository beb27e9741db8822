#include "pipeline/registry.h"

#include "formats/bmp.h"
#include "formats/cals.h"
#include "formats/gif.h"
#include "formats/ras.h"
#include "formats/tga.h"
#include "pipeline/load.h"

namespace tavo::pipeline {

namespace {

constexpr uint32_t kDepths1_4_8_24 = depth_bit(1) | depth_bit(4) | depth_bit(8) | depth_bit(24);

Status read_gif_picture(const char* name, BitmapHandle* bitmap) {
  return load_picture(name, *bitmap, gif::read);
}

constexpr FormatRow kFormats[] = {
    {.id = T_FORMAT_BMP,
     .name = "BMP",
     .description = "Windows bitmap",
     .extensions = "bmp dib",
     .read = bmp::read,
     .write = bmp::write,
     .write_depths = kDepths1_4_8_24,
     .reports_per_meter = true},
    {.id = T_FORMAT_BMP_OS2,
     .name = "BMP (OS/2)",
     .description = "OS/2 1.x bitmap",
     .extensions = "bmp",
     .read = bmp::read,
     .write = bmp::write,
     .write_depths = kDepths1_4_8_24,
     .reports_per_meter = true},
    {.id = T_FORMAT_GIF,
     .name = "GIF",
     .description = "Graphics Interchange Format",
     .extensions = "gif",
     .read = gif::read,
     .read_picture = read_gif_picture,
     .delivery = Delivery::kWholeWhenAsked,
     .write = gif::write,
     .write_depths = depth_bit(8)},
    {.id = T_FORMAT_CALS,
     .name = "CALS",
     .description = "CALS Type I raster",
     .extensions = "cal cals ct1",
     .read = cals::read,
     .write = cals::write,
     .write_depths = depth_bit(1)},
    {.id = T_FORMAT_TGA,
     .name = "TGA",
     .description = "Truevision TGA",
     .extensions = "tga icb vda vst",
     .read = tga::read,
     .write = tga::write,
     .write_depths = depth_bit(8) | depth_bit(16) | depth_bit(24) | depth_bit(32)},
    {.id = T_FORMAT_RAS,
     .name = "Sun raster",
     .description = "Sun raster file",
     .extensions = "ras sun im1 im8 im24 im32",
     .read = ras::read,
     .write = ras::write,
     .write_depths = kDepths1_4_8_24 | depth_bit(32)},
};

// A file that two probes would accept is reported as the earlier one; the order is part of what
// programs rely on.
constexpr io::Probe kProbes[] = {
    tga::probe, bmp::probe, cals::probe, gif::probe, ras::probe,
};

}  // namespace

std::span<const FormatRow> formats() { return kFormats; }

const FormatRow* find_format(int32_t id) {
  for (const FormatRow& row : kFormats) {
    if (row.id == id) return &row;
  }
  return nullptr;
}

std::span<const io::Probe> probes() { return kProbes; }

}  // namespace tavo::pipeline
