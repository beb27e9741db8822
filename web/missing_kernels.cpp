// Kernels for other processors, which the tables of variants name: platform/wasm.cpp says that
// there are none of these, so that none of what stands here is ever run. A kernel that gets a
// variant for them, and which a page needs, wants a line here: the linker says so.
#include "base/crc32.h"
#include "codec/jpeg/color.h"
#include "codec/jpeg/idct.h"
#include "codec/jpeg/upsample.h"
#include "codec/row_filters.h"
#include "color/nearest_search.h"
#include "color/pixel_kernels.h"
#include "color/planes.h"
#include "dither/black_white.h"
#include "dither/wave.h"
#include "process/resize_kernels.h"
#include "process/rotate/turn_rows.h"
#include "process/smooth/kernels.h"
#include "process/smooth/means_kernels.h"

namespace tavo {

uint32_t crc32_by_products(uint32_t, std::span<const uint8_t>) { return 0; }

namespace jpeg {
const ColorConversion kColorAvx2 = {};
const Upsampling kUpsamplingAvx2 = {};
void inverse_transform_avx2(const int16_t*, const int16_t*, const uint16_t*, Extent, uint8_t*,
                            uint8_t*, size_t) {}
}  // namespace jpeg

namespace filters {
const Kernels kAvx2Kernels = {};
}  // namespace filters

namespace color {
const NearestSearch kNearestSearchAvx2 = {};
const BlackWhiteKernels kBlackWhiteAvx2 = {};
PixelKernel ssse3_kernel(int32_t, int32_t, bool) { return nullptr; }
PixelKernel avx2_kernel(int32_t, int32_t, bool) { return nullptr; }
uint32_t split_24_ssse3(const uint8_t*, uint32_t, uint8_t* const (&)[3]) { return 0; }
WaveKernel wave_kernel_avx2(WaveChoice, bool) { return nullptr; }
}  // namespace color

namespace process {
const ResizeKernels kResizeSsse3 = {};
const ResizeKernels kResizeAvx2 = {};
const ResizeKernels kResizeAvx512 = {};
const SmoothKernels kSmoothSsse3 = {}, kSmoothAvx2 = {};
const MeanKernels kMeansSsse3[3] = {}, kMeansAvx2[3] = {};
void mirror_triples_ssse3(const uint8_t*, uint8_t*, size_t) {}
}  // namespace process

}  // namespace tavo
