// JPEG pictures in files: plain streams and this library's own CMP files.
#pragma once

#include <cstdint>

#include "base/byte_source.h"
#include "base/status.h"
#include "codec/jpeg/decoder.h"
#include "io/format.h"
#include "io/input_file.h"
#include "process/row_delivery.h"
#include "process/source_picture.h"

namespace tavo::jpeg {

// Values of T_DecompressFile's last argument: the order of colour rows for a record that has none.
// All but the first are blue first.
inline constexpr int32_t kOptionRgb = 0;
inline constexpr int32_t kOptionFile = 4;

// What surrounds a stream.
struct Container {
  int32_t format = T_FORMAT_JPEG;  // or T_FORMAT_CMP
  uint32_t stream_offset = 0;
  bool is_half_height = false;  // every row stands for two
  bool is_bottom_up = false;
  bool has_stamp = false;
  int32_t quality_value = 0;  // of a CMP file, as its header tells
  int32_t x_resolution = 0;   // dots per inch, 0: not told
  int32_t y_resolution = 0;
};

// Looks at the first bytes of a file or stream; kBadData when they belong to neither kind,
// kReadError when they are too few to tell. What a trailer says is not known then.
Status parse_container(std::span<const uint8_t> head, Container& container);
inline constexpr size_t kLargestContainerHead = 27;  // CMP: 24, and 3 that begin its stamp

// The same of a file of either kind that has just been opened.
Status read_container(io::InputFile& file, Container& container);

// Decodes one picture and delivers its rows, in pieces if the caller wants that: read_header(),
// reduce() if at all, start(), then deliver_all(), or deliver_row() until is_finished() and
// finish(). Source and record must stay until then.
class PictureDecoder {
 public:
  // `source` stands at the stream's start. The statuses of Decoder::read_header.
  Status read_header(ByteSource& source, const Container& container, uint32_t lines);

  const Decoder& decoder() const { return decoder_; }
  process::SourcePicture picture(int32_t bits_per_pixel, uint32_t order) const;

  // Before start(): the picture is to have so many eighths of its size, rounded up; 1, 2, 4 or 8.
  void reduce(uint32_t eighths) { eighths_ = eighths; }

  // Decides by the record and the request what rows are made, and prepares for them.
  Status start(BitmapHandle& bitmap, T_RowSink sink, int32_t bits_per_pixel, void* context,
               int32_t option);

  // Delivers all rows, of a stream that `source` reads from `file`, or the next one. The decoder's
  // outcome or the sink's answer.
  Status deliver_all(io::InputFile& file, const ByteSource& source);
  Status deliver_row();
  bool is_finished() const { return rows_left_ == 0; }
  Status finish();

 private:
  uint32_t whole_of(uint32_t count) const;

  Decoder decoder_;
  Container container_;
  uint32_t eighths_ = 8;  // of the picture's size, each way
  process::SourcePicture picture_;
  std::optional<process::RowDelivery> rows_;
  Buffer row_;              // of half-height pictures, which is delivered twice
  uint32_t rows_left_ = 0;  // of the stream
};

// Reads the head of the stream in an open file, with `source` to be decoded from next. kBadData
// also for a picture that no file of this size holds.
Status read_header(PictureDecoder& decoder, io::InputFile& file, ByteSource& source,
                   const Container& container);

Status probe_cmp(const io::ProbeInput& input, FILEINFO& info);
Status probe(const io::ProbeInput& input, FILEINFO& info);

// T_DecompressFile; `read` is the same with kOptionFile, `read_rgb` with kOptionRgb.
Status decompress(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
                  void* context, int32_t option);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
Status read_rgb(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
                void* context);

// The picture at 1, 2 or 4 eighths of its size, rounded up, for the price of little more than its
// entropy coding.
Status read_draft(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
                  void* context, uint32_t eighths);

}  // namespace tavo::jpeg
