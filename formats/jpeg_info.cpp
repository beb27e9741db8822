#include "formats/jpeg_info.h"

#include "compress/coding_parameters.h"
#include "formats/jpeg.h"
#include "formats/jpeg_stamp.h"

namespace tavo::jpeg {
namespace {

// The first component's table is the luminance's. A progressive stream may define it later: DQT
// may stand in front of the scan that needs it, and reading ends at the first scan. The standard
// has no quantiser of 0 (ISO/IEC 10918-1, B.2.4.1).
void describe_quality(const Decoder& decoder, const Container& container, T_JPEGINFO& info) {
  const auto quantisers = decoder.quantisers(0);
  if (quantisers[0] == 0) return;  // no table yet
  info.Quality = compress::estimate_quality(quantisers);
  info.Factor = compress::estimate_value(quantisers);
  if (container.format != T_FORMAT_CMP) return;
  const Component& luminance = decoder.frame().components[0];
  info.Factor = compress::find_factor({.is_cmp = true,
                                       .is_gray = decoder.frame().count == 1,
                                       .is_half_height = container.is_half_height,
                                       .horizontal = luminance.h,
                                       .vertical = luminance.v,
                                       .value = container.quality_value});
}

// What the frame header (ISO/IEC 10918-1, B.2.2) and a DRI segment in front of the scan say.
void describe_frame(const Decoder& decoder, T_JPEGINFO& info) {
  const Frame& frame = decoder.frame();
  info.Components = static_cast<int32_t>(frame.count);
  for (size_t i = 0; i < frame.count; ++i) {
    info.HorizontalFactors[i] = frame.components[i].h;
    info.VerticalFactors[i] = frame.components[i].v;
  }
  info.Progressive = frame.is_progressive ? 1 : 0;
  info.RestartInterval = static_cast<int32_t>(decoder.restart_interval());
}

}  // namespace

Status read_info(const char* name, T_JPEGINFO& info) {
  io::InputFile file;
  Container container;
  TRY(file.open(name));
  TRY(read_container(file, container));
  ByteSource source(file);
  TRY(source.start(4096));
  PictureDecoder picture;
  TRY(read_header(picture, file, source, container));
  T_JPEGINFO told = {};
  told.Format = container.format;
  told.HalfHeight = container.is_half_height ? 1 : 0;
  describe_frame(picture.decoder(), told);
  describe_quality(picture.decoder(), container, told);
  StampPlace stamp;
  // A stamp that is damaged or of a kind unknown counts as none; the rest is told all the same.
  const Status found = find_stamp(file, container, stamp);
  if (found == kNoMemory) return found;
  if (found.ok()) {
    told.StampWidth = static_cast<int32_t>(stamp.width);
    told.StampHeight = static_cast<int32_t>(stamp.height);
    told.StampBits = static_cast<int32_t>(stamp.bits);
  }
  TRY(file.failure());
  info = told;
  return kOk;
}

}  // namespace tavo::jpeg
