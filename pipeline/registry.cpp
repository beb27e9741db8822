#include "pipeline/registry.h"

#include <algorithm>
#include <array>

#include "base/settings.h"
#include "compress/bitmap_compressor.h"
#include "formats/bmp.h"
#include "formats/cals.h"
#include "formats/cmp_bilevel.h"
#include "formats/dcx.h"
#include "formats/eps.h"
#include "formats/gem.h"
#include "formats/gif.h"
#include "formats/jpeg.h"
#include "formats/macpaint.h"
#include "formats/msp.h"
#include "formats/pcd.h"
#include "formats/pcx.h"
#include "formats/pict.h"
#include "formats/png.h"
#include "formats/ras.h"
#include "formats/tga.h"
#include "formats/tiff.h"
#include "formats/wmf.h"
#include "formats/wpg.h"

namespace tavo::pipeline {

namespace {

constexpr uint32_t kDepths1_4_8_24 = depth_bit(1) | depth_bit(4) | depth_bit(8) | depth_bit(24);

constexpr uint32_t kDepthsCompressed =
    depth_bit(1) | depth_bit(4) | depth_bit(8) | depth_bit(16) | depth_bit(24) | depth_bit(32);

// The save variants of the compressed formats: grey at 8 bits, or always 24 bits. Two of them are
// what streams are identified as.
constexpr FormatRow compressed_row(int32_t id, const char* name, const char* description,
                                   const char* extensions, bool always_24_bits = false) {
  const bool is_identified = id == T_FORMAT_JPEG || id == T_FORMAT_JPEG_24;
  return {.id = id,
          .name = name,
          .description = description,
          .extensions = extensions,
          .read = is_identified ? jpeg::read : nullptr,
          .read_rgb = is_identified ? jpeg::read_rgb : nullptr,
          .read_draft = is_identified ? jpeg::read_draft : nullptr,
          .write = compress::write,
          .write_depths = kDepthsCompressed,
          .gray_at_8_bits = !always_24_bits,
          .always_24_bits = always_24_bits,
          .takes_any_depth = true};
}

// Identifiers have a bit each in settings.formats_off.
constexpr int32_t kMostIds = 8 * static_cast<int32_t>(sizeof(Settings::formats_off));

constexpr std::array kAllFormats = std::to_array<FormatRow>({
    {.id = T_FORMAT_PCX,
     .name = "PCX",
     .description = "PC Paintbrush, DCX for several pages",
     .extensions = "pcx dcx",
     .read = pcx::read,
     .write = pcx::write,
     .write_depths = kDepths1_4_8_24,
     .holds_pages = dcx::is_container},
    {.id = T_FORMAT_DCX,
     .name = "DCX",
     .description = "PC Paintbrush, several pages",
     .extensions = "dcx pcx",
     .write = pcx::write,
     .write_depths = kDepths1_4_8_24,
     .holds_pages = dcx::is_container},
    {.id = T_FORMAT_BMP,
     .name = "BMP",
     .description = "Windows bitmap",
     .extensions = "bmp dib",
     .read = bmp::read,
     .read_upright = bmp::read_upright,
     .write = bmp::write,
     .write_depths = kDepths1_4_8_24,
     .reports_per_meter = true},
    {.id = T_FORMAT_BMP_OS2,
     .name = "BMP (OS/2)",
     .description = "OS/2 1.x bitmap",
     .extensions = "bmp",
     .read = bmp::read,
     .read_upright = bmp::read_upright,
     .write = bmp::write,
     .write_depths = kDepths1_4_8_24,
     .reports_per_meter = true},
    {.id = T_FORMAT_CMP,
     .name = "CMP",
     .description = "This library's compressed format",
     .extensions = "cmp",
     .read = jpeg::read,
     .read_rgb = jpeg::read_rgb,
     .read_draft = jpeg::read_draft},
    {.id = T_FORMAT_GIF,
     .name = "GIF",
     .description = "Graphics Interchange Format",
     .extensions = "gif",
     .read = gif::read,
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
    {.id = T_FORMAT_MAC,
     .name = "MacPaint",
     .description = "MacPaint document",
     .extensions = "mac pntg pnt macp",
     .read = macpaint::read,
     .write = macpaint::write,
     .write_depths = depth_bit(1)},
    {.id = T_FORMAT_IMG,
     .name = "GEM IMG",
     .description = "GEM raster image",
     .extensions = "img gem ximg",
     .read = gem::read,
     .write = gem::write,
     .write_depths = depth_bit(1) | depth_bit(4) | depth_bit(8)},
    {.id = T_FORMAT_MSP,
     .name = "MSP",
     .description = "Microsoft Paint of Windows 1 and 2",
     .extensions = "msp",
     .read = msp::read,
     .write = msp::write,
     .write_depths = depth_bit(1)},
    {.id = T_FORMAT_WPG,
     .name = "WPG",
     .description = "WordPerfect Graphics",
     .extensions = "wpg",
     .read = wpg::read,
     .write = wpg::write,
     .write_depths = depth_bit(1) | depth_bit(4) | depth_bit(8)},
    {.id = T_FORMAT_PCD,
     .name = "Photo CD",
     .description = "Kodak Photo CD",
     .extensions = "pcd",
     .read = pcd::read,
     .read_draft = pcd::read_draft,
     .smallest_draft = pcd::kSmallestSide},
    {.id = T_FORMAT_PCT,
     .name = "PICT",
     .description = "Macintosh picture",
     .extensions = "pct pict pic",
     .read = pict::read,
     .write = pict::write,
     .write_depths = kDepths1_4_8_24},
    {.id = T_FORMAT_WMF,
     .name = "WMF",
     .description = "Windows metafile",
     .extensions = "wmf apm",
     .read = wmf::read,
     .write = wmf::write,
     .write_depths = kDepths1_4_8_24},
    {.id = T_FORMAT_EPS,
     .name = "EPS",
     .description = "Encapsulated PostScript with a preview",
     .extensions = "eps epsf epsi ept",
     .read = eps::read,
     .write = eps::write,
     .write_depths = kDepths1_4_8_24,
     .always_gray = true},
    {.id = T_FORMAT_EPS_TEXT,
     .name = "EPS (text)",
     .description = "Encapsulated PostScript, preview in comments",
     .extensions = "eps epsi epsf",
     .read = eps::read},
    {.id = T_FORMAT_TGA,
     .name = "TGA",
     .description = "Truevision TGA",
     .extensions = "tga icb vda vst",
     .read = tga::read,
     .read_upright = tga::read_upright,
     .write = tga::write,
     .write_depths = depth_bit(8) | depth_bit(16) | depth_bit(24) | depth_bit(32)},
    {.id = T_FORMAT_PNG,
     .name = "PNG",
     .description = "Portable Network Graphics",
     .extensions = "png apng",
     .read = png::read,
     .write = png::write,
     .write_depths = kDepths1_4_8_24 | depth_bit(32),
     .has_alpha = true},
    {.id = T_FORMAT_RAS,
     .name = "Sun raster",
     .description = "Sun raster file",
     .extensions = "ras sun im1 im8 im24 im32",
     .read = ras::read,
     .write = ras::write,
     .write_depths = kDepths1_4_8_24 | depth_bit(32)},
    compressed_row(T_FORMAT_JPEG_2X1, "JPEG", "JPEG, chroma halved horizontally", "jpg jpeg jpe"),
    compressed_row(T_FORMAT_JPEG_2X1_24, "JPEG (24-bit)",
                   "JPEG, chroma halved horizontally, always colour", "jpg jpeg jpe", true),
    compressed_row(T_FORMAT_JPEG, "JPEG 1x1", "JPEG, full chroma", "jpg jpeg jpe"),
    compressed_row(T_FORMAT_JPEG_24, "JPEG 1x1 (24-bit)", "JPEG, full chroma, always colour",
                   "jpg jpeg jpe", true),
    compressed_row(T_FORMAT_JPEG_2X2, "JPEG 2x2", "JPEG, chroma halved in both directions",
                   "jpg jpeg jpe"),
    compressed_row(T_FORMAT_JPEG_2X2_24, "JPEG 2x2 (24-bit)",
                   "JPEG, chroma halved in both directions, always colour", "jpg jpeg jpe", true),
    compressed_row(T_FORMAT_CMP_SAVE, "CMP", "Compressed picture", "cmp"),
    {.id = T_FORMAT_CMP_1BIT,
     .name = "CMP (1-bit)",
     .description = "Compressed bilevel picture",
     .extensions = "cmp",
     .read = bilevel::read,
     .write = bilevel::write,
     .write_depths = depth_bit(1)},
    {.id = T_FORMAT_TIFF,
     .name = "TIFF",
     .description = "Tagged Image File Format",
     .extensions = "tif tiff",
     .read = tiff::read,
     .write = tiff::write,
     .write_depths = kDepths1_4_8_24,
     .holds_pages = tiff::is_container},
    {.id = T_FORMAT_TIFF_PACKBITS,
     .name = "TIFF (PackBits)",
     .description = "TIFF, run-length coded",
     .extensions = "tif tiff",
     .write = tiff::write,
     .write_depths = kDepths1_4_8_24,
     .holds_pages = tiff::is_container},
    {.id = T_FORMAT_TIFF_GROUP3,
     .name = "TIFF (Group 3)",
     .description = "TIFF, CCITT Group 3 one-dimensional",
     .extensions = "tif tiff",
     .write = tiff::write,
     .write_depths = depth_bit(1),
     .holds_pages = tiff::is_container},
    {.id = T_FORMAT_TIFF_GROUP3_2D,
     .name = "TIFF (Group 3 2-D)",
     .description = "TIFF, CCITT Group 3 two-dimensional",
     .extensions = "tif tiff",
     .write = tiff::write,
     .write_depths = depth_bit(1),
     .holds_pages = tiff::is_container},
    {.id = T_FORMAT_TIFF_GROUP4,
     .name = "TIFF (Group 4)",
     .description = "TIFF, CCITT Group 4",
     .extensions = "tif tiff",
     .write = tiff::write,
     .write_depths = depth_bit(1),
     .holds_pages = tiff::is_container},
    {.id = T_FORMAT_TIFF_LZW,
     .name = "TIFF (LZW)",
     .description = "TIFF, LZW",
     .extensions = "tif tiff",
     .write = tiff::write,
     .write_depths = kDepths1_4_8_24,
     .holds_pages = tiff::is_container},
    {.id = T_FORMAT_TIFF_DEFLATE,
     .name = "TIFF (Deflate)",
     .description = "TIFF, Deflate",
     .extensions = "tif tiff",
     .write = tiff::write,
     .write_depths = kDepths1_4_8_24,
     .holds_pages = tiff::is_container},
});

#ifdef TAVO_WRITERS
constexpr int32_t kWritten[] = {TAVO_WRITERS};
#else
constexpr std::span<const int32_t> kWritten;  // all
#endif

// Writers that the build file does not list (TAVO_WRITERS) are in no table, so that the linker
// leaves them out.
constexpr auto kFormats = [] {
  auto rows = kAllFormats;
  for (FormatRow& row : rows) {
    if (std::ranges::empty(kWritten) || std::ranges::count(kWritten, row.id) != 0) continue;
    row.write = nullptr;
    row.write_depths = 0;
  }
  return rows;
}();

static_assert(std::ranges::all_of(kFormats, [](const FormatRow& row) {
  return row.id > 0 && row.id < kMostIds;
}));

// A file that two probes would accept is reported as the earlier one; the order is part of what
// programs rely on.
constexpr ProbeRow kProbes[] = {
    {jpeg::probe_cmp, {T_FORMAT_CMP}},
    {bilevel::probe, {T_FORMAT_CMP_1BIT}},
    {tiff::probe, {T_FORMAT_TIFF}},
    {tga::probe, {T_FORMAT_TGA}},
    {bmp::probe, {T_FORMAT_BMP, T_FORMAT_BMP_OS2}},
    {pcx::probe, {T_FORMAT_PCX}},
    {cals::probe, {T_FORMAT_CALS}},
    {gif::probe, {T_FORMAT_GIF}},
    {wmf::probe, {T_FORMAT_WMF}},
    {eps::probe, {T_FORMAT_EPS, T_FORMAT_EPS_TEXT}},
    {jpeg::probe, {T_FORMAT_JPEG, T_FORMAT_JPEG_24}},
    {macpaint::probe, {T_FORMAT_MAC}},
    {gem::probe, {T_FORMAT_IMG}},
    {msp::probe, {T_FORMAT_MSP}},
    {macpaint::probe_bare, {T_FORMAT_MAC}},
    {ras::probe, {T_FORMAT_RAS}},
    {wpg::probe, {T_FORMAT_WPG}},
    {pict::probe, {T_FORMAT_PCT}},
    {png::probe, {T_FORMAT_PNG}},
    {pcd::probe, {T_FORMAT_PCD}},
};

}  // namespace

std::span<const FormatRow> formats() { return kFormats; }

const FormatRow* find_format(int32_t id) {
  for (const FormatRow& row : kFormats) {
    if (row.id == id) return &row;
  }
  return nullptr;
}

std::span<const ProbeRow> probes() { return kProbes; }

void enable(int32_t id, bool is_on) {
  uint8_t& bits = settings.formats_off[id / 8];
  const auto bit = static_cast<uint8_t>(1u << (id % 8));
  bits = static_cast<uint8_t>(is_on ? bits & ~bit : bits | bit);
}

bool is_enabled(int32_t id) { return (settings.formats_off[id / 8] >> (id % 8) & 1) == 0; }

bool is_enabled(io::Reader read) {
  return std::ranges::any_of(
      kFormats, [read](const FormatRow& row) { return row.read == read && is_enabled(row.id); });
}

}  // namespace tavo::pipeline
